#include "Media/Read/FrameCounter.h"

#include <utility>

namespace Tarsel::Media {

FrameCounter::FrameCounter(Demuxer const& input, std::stop_token stop)
    : m_source(input.Reopen(), std::move(stop)) {
    Next();
}

void FrameCounter::Next() {
    auto const frame = m_source.Next();
    m_hasEnded = !frame;
    m_time = frame ? frame->data->GetTime() : m_source.GetEnd();
    ++m_number;
}

std::int64_t FrameCounter::FindTime(std::int64_t number) {
    while (!m_hasEnded && m_number < number)
        Next();
    return m_time;
}

std::int64_t FrameCounter::FindNumber(std::int64_t microseconds) {
    while (!m_hasEnded && m_time < microseconds)
        Next();
    return m_number;
}

} // namespace Tarsel::Media
