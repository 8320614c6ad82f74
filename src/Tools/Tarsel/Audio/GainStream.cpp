#include "Tools/Tarsel/Audio/GainStream.h"

#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Tools {
namespace {

Conf::SampleInfo ToDouble(Conf::SampleInfo format) {
    format.format = Conf::SampleFormats::DoublePlanar;
    return format;
}

} // namespace

GainStream::GainStream(std::unique_ptr<Proc::IEffectStreamAudio> effects, Conf::SampleInfo const& format,
                       double gain, double limit)
    : m_effects(std::move(effects)), m_format(ToDouble(format)), m_gain(gain) {
    if (limit > 0)
        m_limiter.emplace(m_format, limit);
}

void GainStream::Feed(SP<Proc::IDataAudio> const& block) {
    if (m_effects == nullptr) {
        Work(*block);
        return;
    }
    m_effects->Feed(block);
    TakeEffects();
}

void GainStream::End() {
    if (m_effects != nullptr) {
        m_effects->End();
        TakeEffects();
    }
    if (m_converter)
        if (auto rest = m_converter.Flush())
            Amplify(std::move(*rest));
    if (m_limiter)
        m_limiter->End();
}

void GainStream::TakeEffects() {
    while (SP<Proc::IDataAudio> const block = m_effects->Take())
        Work(*block);
}

/// In whatever format it comes.
void GainStream::Work(Proc::IDataAudio const& block) {
    Proc::SwrCtxParams const params{block.GetSampleInfo(), m_format};
    if (!m_converter || m_converter.GetParams() != params)
        m_converter = Proc::SafeSwrContext(params);
    if (auto frame = m_converter.Convert(*block.GetAVFrame()))
        Amplify(std::move(*frame));
}

void GainStream::Amplify(Proc::SafeFrame frame) {
    auto data = MakeSP<Proc::DataAudioFF>(std::move(frame));
    AVFrame const& samples = *data->GetAVFrame();
    for (int c = 0; c < samples.ch_layout.nb_channels; ++c)
        for (int i = 0; i < samples.nb_samples; ++i)
            reinterpret_cast<double*>(samples.extended_data[c])[i] *= m_gain;
    if (m_limiter)
        m_limiter->Feed(std::move(data));
    else
        m_ready.push_back(std::move(data));
}

SP<Proc::IDataAudio> GainStream::Take() {
    if (m_limiter)
        return m_limiter->Take();
    if (m_ready.empty())
        return nullptr;
    SP<Proc::IDataAudio> first = std::move(m_ready.front());
    m_ready.pop_front();
    return first;
}

} // namespace Tarsel::Tools
