#pragma once

#include "Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator.h"
#include "Proc/Interfaces/IAudioGenerator.h"

#include <string>

namespace Tarsel::Proc {

/// EffectFFMPEGAudioGenerator for hosts that do not know that class.
class AudioGeneratorFF final : public Core::RefCounted<IAudioGenerator> {
public:
    /// Throws as EffectFFMPEGAudioGenerator::Create.
    AudioGeneratorFF(std::string const& description, Conf::SampleInfo const& info);

    SP<IDataAudio> Get() override;
    bool HasFailed() const noexcept override { return m_generator->HasFailed(); }
    void SendCmd(std::string const& target, std::string const& command, std::string const& argument) override;
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) override;

private:
    SP<EffectFFMPEGAudioGenerator> m_generator;
};

} // namespace Tarsel::Proc
