#pragma once

#include "Media/Codec/AudioDecoder.h"
#include "Media/Codec/AudioEncoder.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// The work on one audio stream: its packets are decoded, pass the chain, and are encoded. One thread at a
/// time.
class AudioReEncode {
public:
    /// Without a chain the audio is encoded as it was.
    AudioReEncode(std::unique_ptr<AudioDecoder> decoder, std::unique_ptr<Proc::IEffectStreamAudio> chain,
                  std::unique_ptr<AudioEncoder> encoder);

    AudioEncoder const& GetEncoder() const noexcept { return *m_encoder; }
    AudioEncoder& GetEncoder() noexcept { return *m_encoder; }

    /// Takes a packet of the input's stream; `give` gets what is encoded by then, with times in the encoder's
    /// time base. As AudioDecoder, AudioEncoder and the chain throw.
    void Feed(AVPacket const& packet, TakePacket const& give);
    /// No more packets: the rest, and what the chain adds behind it.
    void End(TakePacket const& give);

    std::vector<std::string> GetNotes() const;

private:
    void Work(TakePacket const& give);
    void TakeAll(TakePacket const& give);

    std::unique_ptr<AudioDecoder> m_decoder;
    std::unique_ptr<Proc::IEffectStreamAudio> m_chain;
    std::unique_ptr<AudioEncoder> m_encoder;
};

} // namespace Tarsel::Media
