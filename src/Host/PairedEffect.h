#pragma once

#include "Core/Api.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"

#include <cstdint>
#include <functional>

namespace Tarsel::Host {

/// The second frame for the first one that is shown at this time, in microseconds; null where there is none.
/// Asked once for each first frame, in the order in which these go in. The same object stands for the same
/// picture: what it holds does not change while it may be given again.
using SecondFrames = std::function<SP<Proc::IDataVideo const>(std::int64_t)>;

/// A two-input effect as one with one input, which can be a step of a VideoChain; its settings, progress and
/// statistics are those of `effect`, which it shares. Second frames go in with the first one's pixel format,
/// color space, time and duration, which such effects want; their size is their own. A first frame without a
/// second passes untouched, and one with a palette goes in as RGB, since nothing can be brought into its
/// format.
///
/// What comes back offers IEffectStreamVideo and, where `effect` does, IEffectDetailsVideo. What `effect`
/// holds back at the end of a stream is lost: its kind knows of no end. Beside the errors of `effect` and of
/// `seconds`, MemoryException and EffectException when a second frame cannot be converted. EffectException
/// here when either argument is empty. One thread at a time.
TARSEL_API SP<Proc::IOneInputEffectVideo> PairEffect(SP<Proc::ITwoInputEffectVideo> effect,
                                                     SecondFrames seconds);

} // namespace Tarsel::Host
