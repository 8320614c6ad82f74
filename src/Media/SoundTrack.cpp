#include "Media/SoundTrack.h"

#include <utility>

namespace Tarsel::Media {

SoundTrack::SoundTrack(std::unique_ptr<SoundDecoder> decoder, std::unique_ptr<Proc::IEffectStreamAudio> lane,
                       std::unique_ptr<SoundEncoder> encoder)
    : m_decoder(std::move(decoder)), m_lane(std::move(lane)), m_encoder(std::move(encoder)) {}

void SoundTrack::Feed(AVPacket const& packet, TakePacket const& give) {
    m_decoder->Send(&packet);
    Work(give);
}

void SoundTrack::End(TakePacket const& give) {
    m_decoder->Send(nullptr);
    Work(give);
    if (m_lane != nullptr) {
        m_lane->End();
        TakeAll(give);
    }
    m_encoder->End(give);
}

void SoundTrack::Work(TakePacket const& give) {
    while (SP<Proc::IDataAudio> const block = m_decoder->Receive()) {
        if (m_lane == nullptr) {
            m_encoder->Encode(*block, give);
            continue;
        }
        m_lane->Feed(block);
        TakeAll(give);
    }
}

void SoundTrack::TakeAll(TakePacket const& give) {
    while (SP<Proc::IDataAudio> const block = m_lane->Take())
        m_encoder->Encode(*block, give);
}

std::vector<std::string> SoundTrack::GetNotes() const {
    std::vector<std::string> notes = m_decoder->GetNotes();
    for (std::string& note : m_encoder->GetNotes())
        notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Media
