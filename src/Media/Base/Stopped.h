#pragma once

namespace Tarsel::Media {

/// Thrown inside a run when it has been told to stop; never leaves it.
struct Stopped {};

} // namespace Tarsel::Media
