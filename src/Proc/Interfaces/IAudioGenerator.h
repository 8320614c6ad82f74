#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Conf/SampleInfo.h"
#include "Proc/Interfaces/IDataAudio.h"

#include <string>

namespace Tarsel::Proc {

/// Audio that is made, not read: a graph of filters that begins with a source. The slot order is binary
/// contract. Not synchronized: the owner serializes calls.
class TARSEL_API IAudioGenerator : public Core::IRefCountable {
public:
    ~IAudioGenerator() override;
    /// The next block, or null when the source has come to its end or failed. It is the caller's. Times run
    /// from 0 on by the samples handed out, in microseconds; no duration is set. EffectException for a sample
    /// format that this host does not know; MemoryException.
    virtual SP<IDataAudio> Get() = 0;
    /// Whether the last Get gave null because of a failure.
    virtual bool HasFailed() const noexcept = 0;
    /// Sends a command to the filters of that name or type, or to "all". EffectException when there is none
    /// or it does not take the command.
    virtual void SendCmd(std::string const& target, std::string const& command,
                         std::string const& argument) = 0;
    /// Writes the format, rate and layout of the blocks into the format.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) = 0;
};

/// What a plug-in may export beside `Registrator`, under the name `CreateAudioGenerator`: sets `generator` to
/// a new one for the description, a filter text ("sine=frequency=440"), and hands out its one reference. What
/// comes out is what the description makes; the info is named in errors only. EffectException for a
/// description that makes no audio, and `generator` is untouched.
using AudioGeneratorCreator = void (*)(SP<IAudioGenerator>& generator, std::string const& description,
                                       Conf::SampleInfo const& info);

} // namespace Tarsel::Proc
