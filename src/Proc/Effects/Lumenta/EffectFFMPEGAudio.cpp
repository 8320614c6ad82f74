#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"

#include "Conf/AVFormats.h"
#include "Conf/AudioTime.h"
#include "Core/Throw.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Effects/Lumenta/Graph/FilterError.h"
#include "Proc/Effects/Lumenta/Graph/GraphAudio.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <algorithm>
#include <cstdint>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Proc {
namespace {

constexpr char const* s_audioGraphFile = "Proc/Effects/Lumenta/EffectFFMPEGAudio";
constexpr AVRational s_blockTimeUnit{1, 1000000};

} // namespace

EffectFFMPEGAudio::EffectFFMPEGAudio(std::string const& description, std::string const& sourceArgs)
    : EffectFFMPEG(Audio, description, sourceArgs) {}

SP<EffectFFMPEGAudio> EffectFFMPEGAudio::Create(std::string const& description,
                                                Conf::SampleInfo const& info) {
    return new EffectFFMPEGAudio(description, MakeAudioSourceArgs(info));
}

SP<EffectFFMPEGAudio> EffectFFMPEGAudio::Create(std::string const& description,
                                                SP<Conf::IFormatCodecAudio const> const& format) {
    return Create(description, format->GetSampleInfo());
}

void EffectFFMPEGAudio::WarmUp(Conf::SampleInfo const& info, std::int64_t samples) {
    constexpr std::int64_t most = 16384;
    SafeFrame out;
    while (samples > 0) {
        auto const count = static_cast<int>(std::min(samples, most));
        SP<DataAudioFF> const silence = DataAudioFF::CreateBySampleCount(info, count);
        AVFrame const& frame = *silence->GetAVFrame();
        av_samples_set_silence(frame.extended_data, 0, count, frame.ch_layout.nb_channels,
                               Conf::ToAVSampleFormat(frame.format));
        silence->SetTime(AV_NOPTS_VALUE);
        Push(*silence, Core::Site::Here());
        int result = 0;
        while ((result = av_buffersink_get_frame(m_sink, out.Get())) == 0)
            av_frame_unref(out.Get());
        if (result != AVERROR(EAGAIN))
            ThrowFilterErrorOrMemory(Core::Site::Here(), s_feedingFailed, result, {GetDescription(), {}});
        samples -= count;
    }
}

void EffectFFMPEGAudio::Process(SP<IDataAudio>& data) {
    if (!data)
        return;
    SafeFrame frame; // before the block goes in: else its result would come out for the next one
    Core::Site const site{s_audioGraphFile,
                          "void Tarsel::Proc::EffectFFMPEGAudio::Process(SP<IDataAudio> &)"};
    Push(*data, site);
    int const result = av_buffersink_get_frame(m_sink, frame.Get());
    if (result != 0) {
        m_failed = result != AVERROR(EAGAIN);
        if (result == AVERROR(ENOMEM))
            ThrowNoFilterMemory(site, {GetDescription(), {}});
        data = nullptr;
        return;
    }
    SP<IDataAudio> out = MakeSinkBlock(*frame);
    out->SetTime(data->GetTime());
    out->SetDuration(data->GetDuration());
    data = std::move(out);
}

void EffectFFMPEGAudio::Feed(SP<IDataAudio> const& data) {
    Push(*data, Core::Site::Here());
}

void EffectFFMPEGAudio::Push(IDataAudio const& data, Core::Site const& site) {
    AVFrameWrapper frame = MakeSourceFrame(data, GetDescription());
    int const result = av_buffersrc_add_frame_flags(m_source, frame.Get(), AV_BUFFERSRC_FLAG_KEEP_REF);
    if (result < 0)
        ThrowFilterError(site, s_feedingFailed, result, {GetDescription(), {}});
}

SP<IDataAudio> EffectFFMPEGAudio::Take() {
    SafeFrame frame;
    int const result = av_buffersink_get_frame(m_sink, frame.Get());
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
        return nullptr;
    if (result != 0) {
        m_failed = true;
        ThrowFilterErrorOrMemory(Core::Site::Here(), s_feedingFailed, result, {GetDescription(), {}});
    }
    SP<IDataAudio> data = MakeSinkBlock(*frame);
    constexpr auto rounding = static_cast<AVRounding>(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX);
    data->SetTime(
        av_rescale_q_rnd(frame->pts, av_buffersink_get_time_base(m_sink), s_blockTimeUnit, rounding));
    data->SetDuration(Conf::GetDuration(frame->sample_rate, frame->nb_samples));
    return data;
}

void EffectFFMPEGAudio::End() {
    int const result = av_buffersrc_add_frame_flags(m_source, nullptr, 0);
    if (result < 0)
        ThrowFilterErrorOrMemory(Core::Site::Here(), s_feedingFailed, result, {GetDescription(), {}});
}

void EffectFFMPEGAudio::UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) {
    UpdateFormatBySink(m_sink, *format);
}

} // namespace Tarsel::Proc
