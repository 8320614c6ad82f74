#include "Proc/Effects/Lumenta/ResampleFF.h"

#include "Core/Throw.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Effects/Lumenta/EffectStatistics.h"
#include "Proc/Interfaces/IPreset.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/CastSettings.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Wrappers/AVFrameWrapper.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <utility>

namespace Tarsel::Proc {

namespace {

constexpr char const* s_file = "Proc/Effects/Lumenta/ResampleFF";

constexpr EffectTraits s_traits{.summary = "converts rate, format and channels of sound",
                                .depth = Keeps::Sometimes,
                                .size = Keeps::Sometimes,
                                .frameIndependent = false,
                                // The filter between two rates, from 8 kHz on.
                                .delayTime = 5000};

std::string GetText(SwrCtxParams const& params) {
    return params.from == params.to ? "" : SoundText(params.from) + " -> " + SoundText(params.to);
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
        Core::Throw<EffectException>({s_file, "virtual void Tarsel::Proc::ResampleFF::InitByFormat(const "
                                              "SP<const Conf::IFormatCodecAudio> &)"},
                                     "There is no format to convert sound to");
    Init(output->GetSampleInfo());
}

Core::Property ResampleFF::GetSettings() const {
    std::lock_guard const lock(m_lock);
    Core::Property property = Settings2Property(m_settings);
    property.SetChildT(IPreset::KEY_TYPE_ID, ImplNames::FFMPEG);
    return property;
}

void ResampleFF::SetSettings(Core::Property const& settings) {
    Apply(Property2Settings<SettingsResample>(settings));
}

void ResampleFF::SetSettings(Settings const& settings) {
    Apply(CastSettings<SettingsResample>(settings, m_settings));
}

void ResampleFF::Apply(SettingsResample const& settings) {
    std::lock_guard const lock(m_lock);
    m_settings = settings;
}

void ResampleFF::Reset() {
    std::lock_guard const lock(m_lock);
    m_converter = {};
    m_ready.clear();
}

std::int32_t ResampleFF::GetInputFrameType() const {
    return AudioFrames;
}

Core::Property ResampleFF::GetStatistic() const {
    std::lock_guard const lock(m_lock);
    Core::Property property = MakeEffectStatistics(
        "virtual Core::Property Tarsel::Proc::ResampleFF::GetStatistic() const", AudioFrames, m_blocks);
    property.SetChildT("Options", GetText(m_converter.GetParams()));
    return property;
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

void ResampleFF::Feed(SP<IDataAudio> const& data) {
    std::lock_guard const lock(m_lock);
    if (!data)
        Core::Throw<EffectException>(
            {s_file, "virtual void Tarsel::Proc::ResampleFF::Feed(const SP<IDataAudio> &)"},
            "A null block cannot be fed");
    SwrCtxParams const params = GetParams(data->GetSampleInfo());
    if (params != m_converter.GetParams())
        FinishStream();
    if (params.from == params.to) {
        m_ready.push_back(data);
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
    ++m_blocks;
}

SP<IDataAudio> ResampleFF::Take() {
    std::lock_guard const lock(m_lock);
    if (m_ready.empty())
        return nullptr;
    SP<IDataAudio> data = std::move(m_ready.front());
    m_ready.pop_front();
    return data;
}

void ResampleFF::End() {
    std::lock_guard const lock(m_lock);
    FinishStream();
}

EffectTraits const& ResampleFF::GetTraits() const noexcept {
    return s_traits;
}

std::string ResampleFF::Describe(Conf::IFormatCodecAudio const& format) const {
    std::lock_guard const lock(m_lock);
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
        m_ready.emplace_back(MakeSP<DataAudioFF>(std::move(*block)));
}

} // namespace Tarsel::Proc
