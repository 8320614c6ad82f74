#include "Proc/Interfaces/IEffectDetails.h"

namespace Tarsel::Proc {

// Out of line: type information lives in this library alone, so that dynamic_cast finds it from any other.
IEffectDetails::~IEffectDetails() = default;

IEffectDetailsVideo::~IEffectDetailsVideo() = default;

IEffectDetailsAudio::~IEffectDetailsAudio() = default;

} // namespace Tarsel::Proc
