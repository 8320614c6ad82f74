#pragma once

#include "Media/Read/VideoSource.h"

#include <cstdint>
#include <stop_token>

namespace Tarsel::Media {

/// Finds frames of a file by their numbers: decodes from the first one on, because packets alone don't tell
/// how many frames they hold. Goes forward only. One thread at a time.
class FrameCounter {
public:
    /// Of an opened input, which stays as it is. As VideoSource.
    FrameCounter(Demuxer const& input, std::stop_token stop);

    /// When the frame of that number, from 0, is shown, in microseconds of the file; where there is none, the
    /// end of the last one. InputException, Stopped.
    std::int64_t FindTime(std::int64_t number);
    /// The number of the first frame shown at that time or later; how many there are where none is. As
    /// FindTime.
    std::int64_t FindNumber(std::int64_t microseconds);
    /// How many frames there are, once one has not been found.
    std::int64_t GetNumber() const noexcept { return m_number; }

private:
    void Next();

    VideoSource m_source;
    /// Of the frame at hand, or behind the last one.
    std::int64_t m_number = -1;
    std::int64_t m_time = 0;
    bool m_hasEnded = false;
};

} // namespace Tarsel::Media
