#include "Proc/Interfaces/Statistics.h"

namespace Tarsel::Proc::Statistics {

Core::Property MakeStatistics(StatisticInfo const& info) {
    Core::Property statistics("Statistics");
    statistics.CreateChildT("Name", info.name);
    statistics.CreateChildT("Category", std::int64_t{info.category});
    statistics.CreateChildT("MediaType", std::int64_t{info.mediaType});
    statistics.CreateChildT("ImplName", info.implName);
    statistics.CreateChildT("CounterA", static_cast<std::int64_t>(info.counterA));
    statistics.CreateChildT("Processed", static_cast<std::int64_t>(info.processed));
    return statistics;
}

} // namespace Tarsel::Proc::Statistics
