#pragma once

#include "Media/Codec/Encoders.h"

struct AVFrame;
struct AVStream;

namespace Tarsel::Media {

/// Whether alpha stands beside the packets of a stream of VP8 or VP9. Any thread.
bool HasSideAlpha(AVStream const& stream);

/// The light levels of HDR: what the display that the pictures were made on shows, and how bright they get.
/// Pure; any thread.

bool HasLightLevels(AVFrame const& frame) noexcept;

/// Gives the picture those of its stream where it has none of its own. MemoryException.
void AddLightLevels(AVStream const& from, AVFrame& to);

/// What tells the encoder those of the picture, for its streams; empty where there is nothing to tell, or the
/// encoder cannot be told.
EncoderOptions MakeLightOptions(AVCodec const& encoder, AVFrame const& frame);

/// How many threads one codec may use now, by the process's Core::ThreadBudget. 0, by which FFmpeg chooses
/// for this machine, where the budget has a thread for every processor. Decoder, effects and encoder may each
/// use that many: one that waits for another costs nothing, and with the budget split between them the
/// slowest would have too few.
int ChooseCodecThreads() noexcept;

} // namespace Tarsel::Media
