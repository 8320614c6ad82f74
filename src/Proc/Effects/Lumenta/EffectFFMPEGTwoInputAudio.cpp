#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputAudio.h"

#include "Conf/AVFormats.h"
#include "Conf/AudioTime.h"
#include "Conf/FormatCodecAudio.h"
#include "Core/Throw.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Effects/Lumenta/Graph/FilterError.h"
#include "Proc/Effects/Lumenta/Graph/GraphAudio.h"
#include "Proc/Effects/Lumenta/Graph/GraphOwners.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Proc/Wrappers/FrameFields.h"

#include <algorithm>
#include <optional>
#include <utility>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/common.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Proc {
namespace {

constexpr AVRational s_pairTimeUnit{1, 1000000};

/// `text` is what FFmpeg was given.
void CheckResult(int result, std::string const& text) {
    if (result < 0)
        ThrowFilterErrorOrMemory({"Proc/Effects/Lumenta/EffectFFMPEGTwoInputAudio",
                                  "void Tarsel::Proc::(anonymous namespace)::CheckResult(int)"},
                                 "Cannot process graph", result, {text, {}});
}

/// The ends have names, so that the description may be a chain.
std::string MakeGraphText(std::string const& description, std::string const& leftArgs,
                          std::string const& rightArgs) {
    return "abuffer@left=" + leftArgs + " [in_1];abuffer@right=" + rightArgs +
           " [in_2]; [in_1] asplit [left] [dry]; [left] [in_2] " + description +
           " [result]; [result] abuffersink@result=all_channel_counts=1; "
           "[dry] abuffersink@dry=all_channel_counts=1";
}

std::int64_t ToMicroseconds(std::int64_t time, AVFilterContext const* sink) {
    constexpr auto rounding = static_cast<AVRounding>(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX);
    return av_rescale_q_rnd(time, av_buffersink_get_time_base(sink), s_pairTimeUnit, rounding);
}

/// What comes out of the sink, without its first `skip` samples.
SP<IDataAudio> MakeBlock(AVFrame const& frame, int skip, AVFilterContext const* sink) {
    int const count = frame.nb_samples - skip;
    SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(GetFrameSampleInfo(frame), count);
    av_samples_copy(block->GetAVFrame()->extended_data, frame.extended_data, 0, skip, count,
                    frame.ch_layout.nb_channels, Conf::ToAVSampleFormat(frame.format));
    std::int64_t const time = ToMicroseconds(frame.pts, sink);
    block->SetTime(time == AV_NOPTS_VALUE ? time
                                          : av_sat_add64(time, Conf::GetDuration(frame.sample_rate, skip)));
    block->SetDuration(Conf::GetDuration(frame.sample_rate, count));
    return block;
}

} // namespace

EffectFFMPEGTwoInputAudio::EffectFFMPEGTwoInputAudio(std::string const& description,
                                                     std::string const& leftArgs,
                                                     std::string const& rightArgs)
    : m_text(MakeGraphText(description, leftArgs, rightArgs)), m_graph(MakeFilterGraph(nullptr)) {
    CheckResult(m_graph ? 0 : AVERROR(ENOMEM), m_text);
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    int const result = avfilter_graph_parse2(m_graph.get(), m_text.c_str(), &inputs, &outputs);
    UniqueInOut const openInputs(inputs);
    UniqueInOut const openOutputs(outputs);
    CheckResult(result, m_text);
    CheckResult(avfilter_graph_config(m_graph.get(), nullptr), m_text);
    m_left = avfilter_graph_get_filter(m_graph.get(), "abuffer@left");
    m_right = avfilter_graph_get_filter(m_graph.get(), "abuffer@right");
    m_result = avfilter_graph_get_filter(m_graph.get(), "abuffersink@result");
    m_dry = avfilter_graph_get_filter(m_graph.get(), "abuffersink@dry");
}

SP<EffectFFMPEGTwoInputAudio> EffectFFMPEGTwoInputAudio::Create(std::string const& description,
                                                                Conf::SampleInfo const& left,
                                                                Conf::SampleInfo const& right) {
    return new EffectFFMPEGTwoInputAudio(description, MakeAudioSourceArgs(left), MakeAudioSourceArgs(right));
}

SP<EffectFFMPEGTwoInputAudio>
EffectFFMPEGTwoInputAudio::Create(std::string const& description,
                                  SP<Conf::IFormatCodecAudio const> const& format) {
    return Create(description, format->GetSampleInfo(), format->GetSampleInfo());
}

void EffectFFMPEGTwoInputAudio::PushLeft(SP<IDataAudio const> const& data) {
    if (data)
        Push(m_left, data.get());
}

void EffectFFMPEGTwoInputAudio::PushRight(SP<IDataAudio const> const& data) {
    if (data)
        Push(m_right, data.get());
}

void EffectFFMPEGTwoInputAudio::EndLeft() {
    Push(m_left, nullptr);
}

void EffectFFMPEGTwoInputAudio::EndRight() {
    Push(m_right, nullptr);
}

/// No data is the end.
void EffectFFMPEGTwoInputAudio::Push(AVFilterContext* source, IDataAudio const* data) {
    std::optional<AVFrameWrapper> frame;
    if (data)
        frame.emplace(MakeSourceFrame(*data, m_text));
    int const result = av_buffersrc_write_frame(source, frame ? frame->Get() : nullptr);
    // A filter that has ended takes no more of the right audio.
    CheckResult(result == AVERROR_EOF && source == m_right ? 0 : result, m_text);
}

SP<IDataAudio> EffectFFMPEGTwoInputAudio::Pull() {
    SafeFrame frame;
    int const result = av_buffersink_get_frame(m_result, frame.Get());
    CollectDry();
    if (result == AVERROR(EAGAIN))
        return nullptr;
    if (result == AVERROR_EOF)
        return TakeRest();
    CheckResult(result, m_text);
    m_given += frame->nb_samples;
    return MakeBlock(*frame, 0, m_result);
}

/// Makes the left audio ready that the result has not had.
void EffectFFMPEGTwoInputAudio::CollectDry() {
    int result = 0;
    while (!m_dryEnded) {
        SafeFrame frame;
        result = av_buffersink_get_frame(m_dry, frame.Get());
        if (result < 0)
            break;
        m_rest.push_back(std::move(frame));
    }
    m_dryEnded = m_dryEnded || result == AVERROR_EOF;
    CheckResult(result == AVERROR(EAGAIN) || result == AVERROR_EOF ? 0 : result, m_text);

    while (!m_rest.empty()) {
        AVFrame const& first = *m_rest.front();
        std::int64_t const given =
            av_rescale(m_given, first.sample_rate, av_buffersink_get_sample_rate(m_result));
        m_skipped = std::clamp<std::int64_t>(given - m_dropped, 0, first.nb_samples);
        if (m_skipped < first.nb_samples)
            return;
        m_dropped += first.nb_samples;
        m_rest.pop_front();
    }
}

SP<IDataAudio> EffectFFMPEGTwoInputAudio::TakeRest() {
    if (m_rest.empty())
        return m_dryEnded ? ToResultForm(nullptr) : nullptr;
    SafeFrame const frame = std::move(m_rest.front());
    m_rest.pop_front();
    m_dropped += frame->nb_samples;
    SP<IDataAudio> block = MakeBlock(*frame, static_cast<int>(m_skipped), m_dry);
    m_skipped = 0;
    return ToResultForm(std::move(block));
}

/// Null for the end of the audio.
SP<IDataAudio> EffectFFMPEGTwoInputAudio::ToResultForm(SP<IDataAudio> block) {
    std::optional<SafeFrame> converted;
    if (block) {
        auto const format = MakeSP<Conf::FormatCodecAudio>();
        UpdateFormatBySink(m_result, *format);
        SwrCtxParams const params{block->GetSampleInfo(), format->GetSampleInfo()};
        if (params.from == params.to)
            return block;
        if (!m_converter)
            m_converter = SafeSwrContext(params);
        converted = m_converter.Convert(*block->GetAVFrame());
    } else if (m_converter) {
        converted = m_converter.Flush();
    }
    return converted ? MakeSP<DataAudioFF>(std::move(*converted)) : nullptr;
}

void EffectFFMPEGTwoInputAudio::UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) {
    UpdateFormatBySink(m_result, *format);
}

} // namespace Tarsel::Proc
