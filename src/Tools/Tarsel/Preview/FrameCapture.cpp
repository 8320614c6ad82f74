#include "Tools/Tarsel/Preview/FrameCapture.h"

#include "Core/Throw.h"
#include "Media/Analyze.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// What was captured; outlives the stream, which the analysis owns.
struct Captured {
    std::vector<Moment> moments;
    std::int64_t frames = 0;
    /// Of the last frame that was read.
    std::int64_t end = 0;
    /// All frames that were asked for are there.
    bool isDone = false;
    std::stop_source stop;
};

class CaptureStream final : public Proc::IEffectStreamVideo {
public:
    CaptureStream(CaptureRequest const& request, Media::VideoStreamInfo const& stream, Captured& captured)
        : m_isFrameIndependent(request.isFrameIndependent), m_chains(request.makeChains(stream)),
          m_seen(m_chains.size(), INT64_MIN), m_captured(captured) {
        std::vector<std::int64_t> times = request.times;
        if (times.empty())
            times.push_back(stream.start);
        for (std::int64_t const time : times)
            captured.moments.push_back({time, decltype(Moment::frames)(m_chains.size())});
    }

    void Feed(SP<Proc::IDataVideo> const& frame) override {
        if (m_captured.isDone)
            return;
        ++m_captured.frames;
        m_captured.end = frame->GetTime() + std::max<std::int64_t>(frame->GetDuration(), 1);
        if (!m_isFrameIndependent)
            FeedAll(*frame);
        else if (SP<Proc::IDataVideo> const last = std::exchange(m_last, frame);
                 last && IsAsked(*last, *frame))
            FeedAll(*last);
        std::int64_t const from = m_captured.moments.back().time;
        bool const isOver = m_isFrameIndependent
                                ? frame->GetTime() > from
                                : std::ranges::all_of(m_seen, [&](auto time) { return time > from; });
        if (isOver) {
            Finish();
            m_captured.stop.request_stop();
        }
    }

    SP<Proc::IDataVideo> Take() override { return {}; }

    void End() override {
        if (m_captured.isDone)
            return;
        if (m_last)
            FeedAll(*m_last);
        Finish();
    }

private:
    /// Whether the frame is shown at one of the times, before the next one is.
    bool IsAsked(Proc::IDataVideo const& frame, Proc::IDataVideo const& next) {
        std::int64_t const from = std::exchange(m_isFirst, false) ? INT64_MIN : frame.GetTime();
        return std::ranges::any_of(m_captured.moments, [&](Moment const& moment) {
            return moment.time >= from && moment.time < next.GetTime();
        });
    }

    void FeedAll(Proc::IDataVideo const& frame) {
        for (std::size_t i = 0; i < m_chains.size(); ++i) {
            m_chains[i]->Feed(frame.Copy());
            TakeAll(i);
        }
    }

    void TakeAll(std::size_t chain) {
        while (SP<Proc::IDataVideo> const frame = m_chains[chain]->Take()) {
            m_seen[chain] = frame->GetTime();
            for (Moment& moment : m_captured.moments)
                if (!moment.frames[chain] || frame->GetTime() <= moment.time)
                    moment.frames[chain] = frame;
        }
    }

    void Finish() {
        m_last = {};
        for (std::size_t i = 0; i < m_chains.size(); ++i) {
            m_chains[i]->End();
            TakeAll(i);
        }
        m_captured.isDone = true;
    }

    bool const m_isFrameIndependent;
    std::vector<std::unique_ptr<Proc::IEffectStreamVideo>> m_chains;
    /// The time of the last frame out of each chain.
    std::vector<std::int64_t> m_seen;
    Captured& m_captured;
    /// The frame before, of which the next one tells how long it is shown.
    SP<Proc::IDataVideo> m_last;
    bool m_isFirst = true;
};

void CheckTimes(CaptureRequest const& request, Captured const& captured) {
    if (request.times.empty() || request.times.back() < captured.end)
        return;
    if (captured.frames == 1)
        Core::Throw<Media::OptionsException>(
            fmt::format("\"{}\" is an image, or has a single frame", request.input.string()),
            Media::TagSurplusOption("at"));
    Core::Throw<Media::OptionsException>(fmt::format(
        "There is no frame at {} s: \"{}\" ends at {} s", static_cast<double>(request.times.back()) / 1e6,
        request.input.string(), static_cast<double>(captured.end) / 1e6));
}

} // namespace

std::vector<Moment> CaptureFrames(CaptureRequest const& request, std::stop_token const& stop) {
    Captured captured;
    std::stop_callback const forward(stop, [&] { captured.stop.request_stop(); });
    Media::AnalyzeOptions options;
    options.input = request.input;
    options.makeVideoEffects = [&](Media::VideoStreamInfo const& stream) {
        return std::make_unique<CaptureStream>(request, stream, captured);
    };
    options.onProgress = request.onProgress;
    try {
        Media::Analyze(options, captured.stop.get_token());
    } catch (Media::InterruptedException const&) {
        if (!captured.isDone || stop.stop_requested())
            throw;
    }
    CheckTimes(request, captured);
    return std::move(captured.moments);
}

} // namespace Tarsel::Tools
