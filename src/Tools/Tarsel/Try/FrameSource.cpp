#include "Tools/Tarsel/Try/FrameSource.h"

#include "Media/Analyze.h"
#include "Media/MediaExceptions.h"
#include "Media/VideoReader.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace Tarsel::Tools {
namespace {

using Frame = SP<Proc::IDataVideo>;

constexpr std::int64_t s_before = 1'000'000;
constexpr std::int64_t s_after = 500'000;
constexpr std::size_t s_mostBytes = 256U << 20U;
constexpr std::size_t s_mostFrames = 96;
constexpr std::size_t s_leastFrames = 6;

/// How many frames of that size are kept.
std::size_t CountKept(Proc::IDataVideo const& frame) {
    constexpr std::size_t bytesAPixel = 3;
    auto const info = frame.GetFrameInfo();
    std::size_t const bytes = std::max<std::size_t>(bytesAPixel * info.width * info.height, 1);
    return std::clamp(s_mostBytes / bytes, s_leastFrames, s_mostFrames);
}

/// Keeps the frames around a time, and asks for a stop when they are there.
class WindowStream final : public Proc::IEffectStreamVideo {
public:
    WindowStream(FrameWindow& window, std::int64_t offset, std::int64_t time, std::stop_source& stop)
        : m_window(window), m_offset(offset), m_time(time), m_stop(stop) {}

    void Feed(Frame const& frame) override {
        if (m_stop.stop_requested())
            return;
        frame->SetTime(frame->GetTime() + m_offset);
        std::size_t const most = CountKept(*frame);
        m_later += frame->GetTime() > m_time ? 1 : 0;
        m_window.frames.push_back(frame);
        if (m_window.frames.size() > most) {
            m_window.frames.erase(m_window.frames.begin());
            m_window.isFromStart = false;
        }
        if (frame->GetTime() > m_time + s_after || m_later > most / 3)
            m_stop.request_stop();
    }

    Frame Take() override { return {}; }
    void End() override {}

private:
    FrameWindow& m_window;
    std::int64_t m_offset;
    std::int64_t m_time;
    std::size_t m_later = 0;
    std::stop_source& m_stop;
};

/// The last frame that starts by the time, else the first one.
std::size_t FindShown(std::vector<Frame> const& frames, std::int64_t time) {
    auto const later =
        std::ranges::upper_bound(frames, time, {}, [](Frame const& frame) { return frame->GetTime(); });
    return later == frames.begin() ? 0 : static_cast<std::size_t>(later - frames.begin()) - 1;
}

} // namespace

FrameSource::FrameSource(std::filesystem::path path) : m_path(std::move(path)) {
    Media::VideoReader const reader(m_path);
    m_stream = reader.GetInfo();
    m_duration = reader.GetDuration();
}

bool FrameSource::Holds(std::int64_t time) const {
    std::vector<Frame> const& frames = m_window.frames;
    return !frames.empty() && time < frames.back()->GetTime() &&
           (m_window.isFromStart || time >= frames.front()->GetTime());
}

FrameWindow const& FrameSource::GetAt(std::int64_t time, bool neighbors, std::stop_token const& stop) {
    bool const isThere = time == m_center || (!neighbors && Holds(time));
    if (!isThere) {
        FrameWindow window = Read(time - s_before, time, stop);
        // A frame that is shown for long starts before.
        if (!window.isFromStart && (window.frames.empty() || window.frames.front()->GetTime() > time))
            window = Read(m_stream.start, time, stop);
        m_window = std::move(window);
        m_center = time;
    }
    m_window.shown = FindShown(m_window.frames, time);
    return m_window;
}

FrameWindow FrameSource::Read(std::int64_t from, std::int64_t time, std::stop_token const& stop) const {
    FrameWindow window;
    window.isFromStart = from <= m_stream.start;
    std::stop_source enough;
    std::stop_callback const forward(stop, [&] { enough.request_stop(); });
    Media::AnalyzeOptions options;
    options.input = m_path;
    if (!window.isFromStart)
        options.range.from = Media::MediaTime{from};
    std::int64_t const offset = window.isFromStart ? 0 : from;
    options.makeVideoEffects = [&](Media::VideoStreamInfo const&) {
        return std::make_unique<WindowStream>(window, offset, time, enough);
    };
    try {
        Media::Analyze(options, enough.get_token());
    } catch (Media::InterruptedException const&) {
        if (stop.stop_requested())
            throw;
    }
    return window;
}

} // namespace Tarsel::Tools
