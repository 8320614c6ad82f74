#pragma once

#include "Media/SoundDecoder.h"
#include "Media/SoundEncoder.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// The work on one sound stream: its packets are decoded, pass the lane, and are encoded. One thread at a
/// time.
class SoundTrack {
public:
    /// Without a lane the sound is encoded as it was.
    SoundTrack(std::unique_ptr<SoundDecoder> decoder, std::unique_ptr<Proc::IEffectStreamAudio> lane,
               std::unique_ptr<SoundEncoder> encoder);

    SoundEncoder const& GetEncoder() const noexcept { return *m_encoder; }
    SoundEncoder& GetEncoder() noexcept { return *m_encoder; }

    /// Takes a packet of the input's stream; `give` gets what is encoded by then, with times in the encoder's
    /// time base. As SoundDecoder, SoundEncoder and the lane throw.
    void Feed(AVPacket const& packet, TakePacket const& give);
    /// No more packets: the rest, and what the lane adds behind it.
    void End(TakePacket const& give);

    std::vector<std::string> GetNotes() const;

private:
    void Work(TakePacket const& give);
    void TakeAll(TakePacket const& give);

    std::unique_ptr<SoundDecoder> m_decoder;
    std::unique_ptr<Proc::IEffectStreamAudio> m_lane;
    std::unique_ptr<SoundEncoder> m_encoder;
};

} // namespace Tarsel::Media
