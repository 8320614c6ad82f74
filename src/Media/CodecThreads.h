#pragma once

namespace Tarsel::Media {

/// How many threads one codec may use now, by the process's Core::ThreadBudget. 0, by which FFmpeg chooses
/// for this machine, where the budget has a thread for every processor. Decoder, effects and encoder may each
/// use that many: one that waits for another costs nothing, and with the budget split between them the
/// slowest would have too few.
int ChooseCodecThreads() noexcept;

} // namespace Tarsel::Media
