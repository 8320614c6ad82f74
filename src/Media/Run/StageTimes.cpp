#include "Media/Run/StageTimes.h"

#include <algorithm>
#include <ctime>

#include <sys/resource.h>

namespace Tarsel::Media {
namespace {

double GetProcessorSeconds() noexcept {
    constexpr double nano = 1e-9;
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + nano * static_cast<double>(time.tv_nsec);
}

double ToSeconds(std::chrono::nanoseconds time) noexcept {
    return std::chrono::duration<double>(time).count();
}

} // namespace

StageTimes::StageTimes() noexcept : m_processorAtBegin(GetProcessorSeconds()) {}

void StageTimes::Enter() noexcept {
    m_mostInFlight = std::max<int>(m_mostInFlight, ++m_inFlight);
}

RunTimes StageTimes::Get() const noexcept {
    constexpr std::int64_t kibi = 1024;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return {.wall = ToSeconds(std::chrono::steady_clock::now() - m_begin),
            .processor = GetProcessorSeconds() - m_processorAtBegin,
            .reading = ToSeconds(reading),
            .effects = ToSeconds(effects),
            .writing = ToSeconds(writing),
            .audio = ToSeconds(audio),
            .mostInFlight = m_mostInFlight,
            .peakMemory = kibi * usage.ru_maxrss};
}

} // namespace Tarsel::Media
