#include "Proc/Effects/Lumenta/Effects/ResampleFF.h"

#include "Core/Throw.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/AVFrameWrapper.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <utility>

namespace Tarsel::Proc {

namespace {

constexpr EffectTraits s_resampleTraits{.summary = "converts the rate, format and channels of audio",
                                        .depth = Keeps::Sometimes,
                                        .size = Keeps::Sometimes,
                                        .frameIndependent = false,
                                        // The filter between two rates, from 8 kHz on.
                                        .delayTime = 5000};

std::string GetText(SwrCtxParams const& params) {
    return params.from == params.to ? "" : AudioText(params.from) + " -> " + AudioText(params.to);
}

} // namespace

SP<ResampleFF> ResampleFF::Create(SP<IEffectFactory const> const&, SP<IFactoryDataAudio const> const&) {
    return MakeSP<ResampleFF>();
}

void ResampleFF::Init(Conf::SampleInfo const& output) {
    SettingsResample settings;
    settings.format = output.format;
    settings.rate = output.rate == Conf::SampleInfo{}.rate ? settings.rate : output.rate;
    settings.layout = output.layout;
    for (Field const& field : settings.GetFields()) // by their text, which is checked
        WriteFieldText(settings, field, ReadFieldText(settings, field));
    Apply(settings);
}

void ResampleFF::InitByFormat(SP<Conf::IFormatCodecAudio const> const& output) {
    if (!output)
        Core::Throw<EffectException>("There is no format to convert audio to");
    Init(output->GetSampleInfo());
}

void ResampleFF::AddStatistics(Core::Property& property) const {
    property.SetChildT("Options", GetText(m_converter.GetParams()));
}

void ResampleFF::Process(SP<IDataAudio>& data) {
    std::lock_guard const lock(m_lock);
    if (data)
        Feed(data);
    else
        FinishStream();
    data = Take();
}

void ResampleFF::UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) {
    std::lock_guard const lock(m_lock);
    SwrCtxParams const params = GetParams(format->GetSampleInfo());
    if (params.from == params.to)
        return;
    if (Conf::IsKnown(params.from) && params != m_converter.GetParams())
        SafeSwrContext{params};
    format->SetSampleInfo(params.to);
}

void ResampleFF::Work(SP<IDataAudio> const& data) {
    SwrCtxParams const params = GetParams(data->GetSampleInfo());
    if (params != m_converter.GetParams())
        FinishStream();
    if (params.from == params.to) {
        m_stream.Pass(data);
        return;
    }
    if (!m_converter || params != m_converter.GetParams())
        m_converter = SafeSwrContext(params);
    if (data->GetSampleCount() == 0)
        return;
    AVFrameWrapper block(data->GetAVFrame());
    block.SetTime(data->GetTime());
    block.SetDuration(data->GetDuration());
    MakeReady(m_converter.Convert(*block.Get()));
    Count();
}

EffectTraits const& ResampleFF::GetTraits() const noexcept {
    return s_resampleTraits;
}

std::string ResampleFF::DescribeWork(Conf::IFormatCodecAudio const& format) const {
    return GetText(GetParams(format.GetSampleInfo()));
}

/// What is not asked for stays as it comes.
SwrCtxParams ResampleFF::GetParams(Conf::SampleInfo const& input) const {
    Conf::SampleInfo const asked = m_settings.GetOutput();
    Conf::SampleInfo output = input;
    if (asked.format != Conf::SampleFormats::Unknown)
        output.format = asked.format;
    if (asked.rate > 0)
        output.rate = asked.rate;
    if (asked.layout.channels > 0)
        output.layout = asked.layout;
    return {input, output};
}

void ResampleFF::FinishStream() {
    if (m_converter)
        MakeReady(m_converter.Flush());
}

void ResampleFF::MakeReady(std::optional<SafeFrame> block) {
    if (block)
        m_stream.Pass(MakeSP<DataAudioFF>(std::move(*block)));
}

template <>
struct EffectOver<SettingsResample> {
    using Interface = IOneInputEffectAudio;
    using Type = ResampleFF;
};
template EffectCreator GetCreator<SettingsResample>();

} // namespace Tarsel::Proc
