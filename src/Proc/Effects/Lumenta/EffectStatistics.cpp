#include "Proc/Effects/Lumenta/EffectStatistics.h"

#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/Statistics.h"

#include <utility>

namespace Tarsel::Proc {

Core::Property MakeEffectStatistics(std::string name, IEffect::FrameType type, std::uint64_t processed) {
    constexpr std::int32_t effectCategory = 7; // see StatisticInfo
    Statistics::StatisticInfo info;
    info.name = std::move(name);
    info.category = effectCategory;
    info.mediaType = type;
    info.implName = ImplNames::FFMPEG;
    info.processed = processed;
    return Statistics::MakeStatistics(info);
}

} // namespace Tarsel::Proc
