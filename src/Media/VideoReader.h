#pragma once

#include "Core/RefCount.h"
#include "Media/Api.h"
#include "Media/Input.h"
#include "Media/Run.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Media {

class VideoReading;

/// The pictures of a film beside another one, by time: what would be seen of it now. Goes forward only; reads
/// and decodes on the thread that asks. One thread at a time.
class TARSEL_MEDIA_API VideoReader {
public:
    /// Opens the file and decodes its first picture. InputException when there is none; InterruptedException.
    explicit VideoReader(Input const& input, std::stop_token stop = {});
    VideoReader(VideoReader const&) = delete;
    VideoReader& operator=(VideoReader const&) = delete;
    ~VideoReader();

    /// Its copyObstacle is empty.
    VideoStreamInfo const& GetInfo() const noexcept;
    /// As the file states it, in microseconds; 0 when not known, and for a still picture.
    std::int64_t GetDuration() const noexcept;
    /// The picture that is shown `microseconds` after the film's start (VideoStreamInfo::start), the first
    /// one before that, and the last one after the end; a still picture serves for all times. For a time
    /// before one that was asked for already, the picture that was shown then. Never null, and the same
    /// object as long as it is the same picture, as it is stored: upright only if the film has no orientation
    /// tag. It is not to be changed. Times that containers round, to milliseconds at worst, meet the picture
    /// that was meant. InputException when the file cannot be read further; InterruptedException.
    SP<Proc::IDataVideo const> GetShownAt(std::int64_t microseconds);
    /// What the user should know of the reading so far, one sentence each.
    std::vector<std::string> GetNotes() const;

private:
    std::unique_ptr<VideoReading> m_reading;
};

} // namespace Tarsel::Media
