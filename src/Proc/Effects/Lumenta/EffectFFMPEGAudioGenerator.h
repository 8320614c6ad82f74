#pragma once

#include "Conf/AudioTime.h"
#include "Conf/IFormatCodecAudio.h"
#include "Conf/SampleInfo.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/EffectFFMPEG.h"
#include "Proc/Interfaces/IDataAudio.h"

#include <string>

namespace Tarsel::Proc {

/// Audio out of a graph without an input: its description begins with a source of audio
/// ("sine=frequency=440") and leaves one output open. It runs on the caller's thread alone. Not synchronized:
/// the owner serializes calls.
class LUMENTA_API EffectFFMPEGAudioGenerator : public EffectFFMPEG,
                                               public Core::RefCounted<Core::IRefCountable> {
public:
    /// Builds the graph. What comes out is what the description makes: the info is named in errors only.
    /// Throws as EffectFFMPEG.
    static SP<EffectFFMPEGAudioGenerator> Create(std::string const& description,
                                                 Conf::SampleInfo const& info);
    /// The same by a format description.
    static SP<EffectFFMPEGAudioGenerator> Create(std::string const& description,
                                                 SP<Conf::IFormatCodecAudio const> const& format);

    /// The next block, or null when the source has come to its end or failed (HasFailed). Times run from 0 on
    /// by the samples handed out; no duration is set. EffectException for a sample format that is none of
    /// this host's; MemoryException.
    SP<IDataAudio> Get();
    /// Whether the last Get gave null because of a failure.
    bool HasFailed() const noexcept { return m_failed; }
    /// Sends a command to the filters of that name or type, or to "all". EffectException "Can't send command
    /// to filter" when there is none or it does not take the command; FFmpeg's number and words are attached.
    void SendCmd(std::string const& target, std::string const& command, std::string const& argument);
    /// Writes the graph's output format, rate and layout into the format.
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format);

private:
    EffectFFMPEGAudioGenerator(std::string const& description, std::string const& sourceArgs);

    Conf::AudioTime m_clock;
    bool m_failed = false;
};

} // namespace Tarsel::Proc
