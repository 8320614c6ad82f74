#include "Proc/Effects/Lumenta/AudioGeneratorFF.h"

namespace Tarsel::Proc {

AudioGeneratorFF::AudioGeneratorFF(std::string const& description, Conf::SampleInfo const& info)
    : m_generator(EffectFFMPEGAudioGenerator::Create(description, info)) {}

SP<IDataAudio> AudioGeneratorFF::Get() {
    return m_generator->Get();
}

void AudioGeneratorFF::SendCmd(std::string const& target, std::string const& command,
                               std::string const& argument) {
    m_generator->SendCmd(target, command, argument);
}

void AudioGeneratorFF::UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) {
    m_generator->UpdateFormatCodec(format);
}

} // namespace Tarsel::Proc
