#pragma once

#include "Core/Property.h"
#include "Proc/Interfaces/IEffect.h"

#include <cstdint>
#include <string>

namespace Tarsel::Proc {

/// What an effect of this library tells in GetStatistic, whose signature is `name`, after so many frames or
/// blocks. Any thread.
Core::Property MakeEffectStatistics(std::string name, IEffect::FrameType type, std::uint64_t processed);

} // namespace Tarsel::Proc
