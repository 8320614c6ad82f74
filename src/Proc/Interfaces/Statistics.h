#pragma once

#include "Core/Api.h"
#include "Core/Property.h"

#include <cstdint>
#include <string>

namespace Tarsel::Proc::Statistics {

/// What an effect tells about its run.
struct StatisticInfo {
    /// Signature of the operation that tells it.
    std::string name;
    /// 7 for an effect.
    std::int32_t category = 0;
    /// As IEffect::GetInputFrameType.
    std::int32_t mediaType = 0;
    std::string implName;
    std::uint64_t counterA = 0;
    /// Frames or blocks handled.
    std::uint64_t processed = 0;
};

/// A container named "Statistics" with the children "Name", "Category", "MediaType", "ImplName", "CounterA"
/// and "Processed". Any thread.
TARSEL_API Core::Property MakeStatistics(StatisticInfo const& info);

} // namespace Tarsel::Proc::Statistics
