#include "Proc/Interfaces/TimeToProgress.h"

#include <utility>

namespace Tarsel::Proc {

TimeToProgress::TimeToProgress(std::int64_t start, std::int64_t end, Function function)
    : m_start(start), m_end(end), m_function(std::move(function)) {}

double TimeToProgress::Linear(std::int64_t current, std::int64_t start, std::int64_t end) noexcept {
    return (static_cast<double>(current) - static_cast<double>(start)) /
           (static_cast<double>(end) - static_cast<double>(start));
}

} // namespace Tarsel::Proc
