#pragma once

#include "Conf/SampleInfo.h"
#include "Core/Throw.h"

#include <string_view>

namespace Tarsel::Proc {

/// What filters that hold audio back take of memory, in bytes, for values that they take: others they refuse
/// themselves.

/// A delay line of that many milliseconds for every channel. Filters that work in double are to be asked with
/// DoublePlanar.
double GetDelayLineBytes(Conf::SampleInfo const& info, double milliseconds) noexcept;

/// One swing of a slow wave of that many Hz, of numbers of that many bytes.
double GetWaveTableBytes(Conf::SampleInfo const& info, double frequency, double numberBytes) noexcept;

/// Throws EffectException, from `site`, when it is more than 1 GiB: that takes a host down rather than serve
/// it. `effect` begins the text. Any thread.
void RequireDelayMemory(double bytes, std::string_view effect, Core::Site const& site);

} // namespace Tarsel::Proc
