#pragma once

#include "Core/RefCount.h"
#include "Media/StreamInfo.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <vector>

namespace Tarsel::Tools {

/// Neighboring frames of a video, as a run gives them to effects, at the times of the file in microseconds.
struct FrameWindow {
    std::vector<SP<Proc::IDataVideo>> frames;
    /// Of the one that is shown at the time that was asked for.
    std::size_t shown = 0;
    /// Whether the first one is that of the video.
    bool isFromStart = false;
};

/// The frames around a time of a video. Keeps those it gave last, so that frames near them take no reading.
/// One thread at a time.
class FrameSource {
public:
    /// Media::InputException where there is no video.
    explicit FrameSource(std::filesystem::path path);

    Media::VideoStreamInfo const& GetStream() const noexcept { return m_stream; }
    /// In microseconds; 0: not known, or a still picture.
    std::int64_t GetDuration() const noexcept { return m_duration; }

    /// The frame that is shown then: the last one that starts by the time, the first one before its start.
    /// With `neighbors`, up to a second before it and half a second after it, too, fewer of large ones;
    /// otherwise some may be there. The frames are not to be changed, and the result holds until the next
    /// call. As Media::Analyze.
    FrameWindow const& GetAt(std::int64_t time, bool neighbors, std::stop_token const& stop);

private:
    FrameWindow Read(std::int64_t from, std::int64_t time, std::stop_token const& stop) const;
    bool Holds(std::int64_t time) const;

    std::filesystem::path m_path;
    Media::VideoStreamInfo m_stream;
    std::int64_t m_duration = 0;
    FrameWindow m_window;
    /// For which time it was read.
    std::int64_t m_center = INT64_MIN;
};

} // namespace Tarsel::Tools
