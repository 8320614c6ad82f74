#include "Media/VideoReader.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Base/Stopped.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/Interrupted.h"
#include "Media/Read/VideoSource.h"

#include <fmt/format.h>

#include <utility>

namespace Tarsel::Media {

namespace {

/// Of the times of two films, one of which may be in whole milliseconds, in microseconds.
constexpr std::int64_t s_rounding = 1000;

} // namespace

class VideoReading {
public:
    VideoReading(Input const& input, std::stop_token stop)
        : m_source(input, std::move(stop)), m_info(m_source.GetInfo()) {
        m_source.GetDemuxer().ForgetRead();
        m_shown = Next();
        m_following = Next();
        m_isStill = !m_following;
    }

    VideoSource const& GetSource() const noexcept { return m_source; }
    VideoStreamInfo const& GetInfo() const noexcept { return m_info; }

    std::int64_t GetDuration() const noexcept { return m_isStill ? 0 : m_source.GetDemuxer().GetDuration(); }

    SP<Proc::IDataVideo const> GetShownAt(std::int64_t microseconds) {
        while (m_following && m_following->GetTime() - m_info.start - s_rounding <= microseconds) {
            m_shown = std::move(m_following);
            m_following = Next();
        }
        return m_shown;
    }

private:
    SP<Proc::IDataVideo> Next() {
        auto frame = m_source.Next();
        return frame ? std::move(frame->data) : nullptr;
    }

    VideoSource m_source;
    VideoStreamInfo m_info;
    SP<Proc::IDataVideo> m_shown;
    /// Null at the end.
    SP<Proc::IDataVideo> m_following;
    bool m_isStill = false;
};

VideoReader::VideoReader(Input const& input, std::stop_token stop) {
    CheckInputPath(input.GetName());
    try {
        m_reading = std::make_unique<VideoReading>(input, std::move(stop));
    } catch (Stopped const&) {
        ThrowInterrupted(input.GetName());
    }
}

VideoReader::~VideoReader() = default;

VideoStreamInfo const& VideoReader::GetInfo() const noexcept {
    return m_reading->GetInfo();
}

std::int64_t VideoReader::GetDuration() const noexcept {
    return m_reading->GetDuration();
}

SP<Proc::IDataVideo const> VideoReader::GetShownAt(std::int64_t microseconds) {
    try {
        return m_reading->GetShownAt(microseconds);
    } catch (Stopped const&) {
        ThrowInterrupted(m_reading->GetSource().GetDemuxer().GetPath());
    }
}

std::vector<std::string> VideoReader::GetNotes() const {
    std::vector<std::string> notes = m_reading->GetSource().GetDemuxer().GetNotes();
    for (std::string& note : m_reading->GetSource().GetNotes())
        notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Media
