#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"

#include "Conf/AVFormats.h"
#include "Core/Throw.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Effects/Lumenta/Graph/FilterError.h"
#include "Proc/Effects/Lumenta/Graph/GraphInput.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/AVFrameWrapper.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/common.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Proc {
namespace {

constexpr char const* s_videoGraphFile = "Proc/Effects/Lumenta/EffectFFMPEGVideo";
constexpr AVRational s_frameTimeUnit{1, 1000000};

/// Filters that give another number of frames than they take. Found anywhere in a description, an option's
/// value included.
constexpr std::array<std::string_view, 2> s_rateChangers{"framerate", "minterpolate"};

bool ChangesRate(std::string_view description) {
    return std::any_of(s_rateChangers.begin(), s_rateChangers.end(), [&](std::string_view name) {
        return description.find(name) != std::string_view::npos;
    });
}

} // namespace

EffectFFMPEGVideo::EffectFFMPEGVideo(std::string const& description, std::string const& sourceArgs,
                                     std::shared_ptr<Core::WorkPool> pool)
    : EffectFFMPEG(Video, description, sourceArgs, std::move(pool)), m_changesRate(ChangesRate(description)) {
}

SP<EffectFFMPEGVideo> EffectFFMPEGVideo::Create(std::string const& description, AVPixelFormat pixelFormat,
                                                Conf::FrameInfo const& info, Ratio const& frameRate,
                                                std::shared_ptr<Core::WorkPool> pool) {
    return new EffectFFMPEGVideo(description,
                                 MakeVideoSourceArgs(static_cast<Conf::PixFmt>(pixelFormat), info, frameRate),
                                 std::move(pool));
}

SP<EffectFFMPEGVideo> EffectFFMPEGVideo::Create(std::string const& description,
                                                SP<Conf::IFormatCodecVideo const> const& format,
                                                std::shared_ptr<Core::WorkPool> pool) {
    return Create(description, Conf::ToAVPixelFormat(format->GetPixelFormat()), format->GetFrameInfo(),
                  (*format)[Conf::IFormatCodecVideo::TAG_FPS].GetRatio(), std::move(pool));
}

void EffectFFMPEGVideo::Process(SP<IDataVideo>& data) {
    if (!data) {
        if (m_changesRate && !m_queue.empty()) {
            data = std::move(m_queue.front());
            m_queue.pop_front();
        }
        return;
    }
    std::int64_t const time = data->GetTime();
    std::int64_t const duration = data->GetDuration();
    Push(*data,
         {s_videoGraphFile, "virtual void Tarsel::Proc::EffectFFMPEGVideo::Process(SP<IDataVideo> &)"});
    m_failed = true; // should it fail: what stayed in the graph would come out for the next frame
    while (SP<IDataVideo> out = GetOutFrame())
        m_queue.push_back(std::move(out));
    m_failed = false;
    if (m_queue.empty()) {
        data = nullptr;
        return;
    }
    data = std::move(m_queue.front());
    m_queue.pop_front();
    if (!m_changesRate) {
        data->SetTime(time);
        data->SetDuration(duration);
    }
}

void EffectFFMPEGVideo::Feed(SP<IDataVideo> const& data) {
    Push(*data, Core::Site::Here());
    if (!m_changesRate && !IsInMicroseconds())
        m_spans.push_back({data->GetTime(), data->GetDuration()});
}

void EffectFFMPEGVideo::Push(IDataVideo& data, Core::Site const& site) {
    AVFrame const& source = Details::GetAVFrameRef(data.GetAVFrame());
    RequireFrameFor(*m_source, data, source, "Frame", GetDescription());
    if (m_inputFormat == Conf::PixFmt::None)
        m_inputFormat = data.GetPixelFormat();

    Conf::FrameInfo const info = data.GetFrameInfo();
    std::int64_t const duration = data.GetDuration();
    AVFrameWrapper frame = MakeSourceFrame(source);
    frame.SetSize(info.width, info.height);
    frame.SetTime(data.GetTime());
    frame.SetDuration(duration);
    int const result = av_buffersrc_add_frame_flags(m_source, frame.Get(), AV_BUFFERSRC_FLAG_KEEP_REF);
    if (result < 0)
        ThrowFilterErrorOrMemory(site, s_feedingFailed, result, {GetDescription(), {}});
    Conf::FrameInfo const stated = GetStatedInfo(data, source);
    m_input = {duration, source.colorspace, static_cast<int>(stated.aspectNum),
               static_cast<int>(stated.aspectDen), source.opaque};
}

SP<IDataVideo> EffectFFMPEGVideo::GetOutFrame() {
    SafeFrame frame;
    int const result = av_buffersink_get_frame(m_sink, frame.Get());
    if (result == AVERROR(EAGAIN))
        return nullptr;
    if (result != 0)
        FailToDrain(result, {s_videoGraphFile,
                             "SP<IDataVideo> Tarsel::Proc::EffectFFMPEGVideo::GetOutFrame(AVFrame *)"});
    return Finish(std::move(frame));
}

SP<IDataVideo> EffectFFMPEGVideo::Take() {
    if (!m_next)
        m_next = Pull();
    if (!m_next || (!m_changesRate && IsInMicroseconds())) {
        // Filters that make frames of their own may leave out how long the input was.
        if (m_next && m_next->GetDuration() == 0)
            m_next->SetDuration(m_input.duration);
        return std::exchange(m_next, nullptr);
    }
    // Such filters pass on the durations of what went in, and in its units.
    SP<IDataVideo> following = Pull();
    if (m_changesRate || m_spans.empty())
        SetDurationByStep(*m_next, following.get());
    else
        SetDurationBySpan(*m_next, following.get());
    return std::exchange(m_next, std::move(following));
}

bool EffectFFMPEGVideo::IsInMicroseconds() const {
    return av_cmp_q(av_buffersink_get_time_base(m_sink), s_frameTimeUnit) == 0;
}

/// Up to the frame after it or, while that is not known, as long as the last one that was.
void EffectFFMPEGVideo::SetDurationByStep(IDataVideo& data, IDataVideo const* following) {
    if (following && following->GetTime() > data.GetTime() && data.GetTime() != AV_NOPTS_VALUE)
        m_step = av_sat_sub64(following->GetTime(), data.GetTime());
    data.SetDuration(m_step > 0 ? m_step : m_input.duration);
}

/// Up to the next part of the frame that went in, or to that frame's end.
void EffectFFMPEGVideo::SetDurationBySpan(IDataVideo& data, IDataVideo* following) {
    constexpr std::int64_t unknown = std::numeric_limits<std::int64_t>::max();
    std::int64_t const time = data.GetTime();
    while (m_spans.size() > 1 && m_spans[1].time <= time)
        m_spans.pop_front();
    std::int64_t const next = m_spans.size() > 1 ? m_spans[1].time : unknown;
    std::int64_t const stated = av_sat_add64(m_spans.front().time, m_spans.front().duration);
    // Parts are spread up to the next frame, though there be a gap before it.
    std::int64_t end = stated > time ? std::min(stated, next) : next;
    if (following) {
        // A frame that is alone has all its parts at its beginning.
        if (following->GetTime() == time && end != unknown)
            following->SetTime(time + (end - time) / 2);
        if (following->GetTime() > time && following->GetTime() < next)
            end = following->GetTime();
    }
    if (time != AV_NOPTS_VALUE && end != unknown)
        m_step = end - time;
    data.SetDuration(m_step > 0 ? m_step : m_input.duration);
}

SP<IDataVideo> EffectFFMPEGVideo::Pull() {
    SafeFrame frame;
    int const result = av_buffersink_get_frame(m_sink, frame.Get());
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
        return nullptr;
    if (result != 0)
        FailToDrain(result, Core::Site::Here());
    // Unknown times and durations are no numbers to scale.
    constexpr auto rounding = static_cast<AVRounding>(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX);
    AVRational const unit = av_buffersink_get_time_base(m_sink);
    frame->pts = av_rescale_q_rnd(frame->pts, unit, s_frameTimeUnit, rounding);
    SetFrameDuration(*frame, av_rescale_q_rnd(GetFrameDuration(*frame), unit, s_frameTimeUnit, rounding));
    return Finish(std::move(frame));
}

void EffectFFMPEGVideo::FailToDrain(int error, Core::Site const& site) {
    m_failed = true;
    ThrowFilterErrorOrMemory(site, s_feedingFailed, error, {GetDescription(), {}});
}

void EffectFFMPEGVideo::End() {
    int const result = av_buffersrc_add_frame_flags(m_source, nullptr, 0);
    if (result < 0)
        ThrowFilterErrorOrMemory(Core::Site::Here(), s_feedingFailed, result, {GetDescription(), {}});
}

SP<IDataVideo> EffectFFMPEGVideo::Finish(SafeFrame frame) {
    if (frame->colorspace == AVCOL_SPC_UNSPECIFIED)
        frame->colorspace = static_cast<AVColorSpace>(m_input.matrix);
    frame->sample_aspect_ratio = {m_input.aspectNum, m_input.aspectDen};
    if (static_cast<Conf::PixFmt>(frame->format) != m_inputFormat)
        frame = m_conversion.Apply(std::move(frame), m_input.opaque);
    Conf::FrameInfo const info = GetFrameInfo(*frame);
    std::int64_t const time = frame->pts;
    std::int64_t const duration = GetFrameDuration(*frame);
    SP<IDataVideo> data = MakeSP<DataVideoFF>(std::move(frame), info);
    data->SetTime(time);
    data->SetDuration(duration);
    return data;
}

void EffectFFMPEGVideo::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    m_conversion.UpdateFormatCodec(*m_sink, *format);
}

} // namespace Tarsel::Proc
