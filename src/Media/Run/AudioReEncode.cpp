#include "Media/Run/AudioReEncode.h"

#include <utility>

namespace Tarsel::Media {

AudioReEncode::AudioReEncode(std::unique_ptr<AudioDecoder> decoder,
                             std::unique_ptr<Proc::IEffectStreamAudio> chain,
                             std::unique_ptr<AudioEncoder> encoder)
    : m_decoder(std::move(decoder)), m_chain(std::move(chain)), m_encoder(std::move(encoder)) {}

void AudioReEncode::Feed(AVPacket const& packet, TakePacket const& give) {
    m_decoder->Send(&packet);
    Work(give);
}

void AudioReEncode::End(TakePacket const& give) {
    m_decoder->Send(nullptr);
    Work(give);
    if (m_chain != nullptr) {
        m_chain->End();
        TakeAll(give);
    }
    m_encoder->End(give);
}

void AudioReEncode::Work(TakePacket const& give) {
    while (SP<Proc::IDataAudio> const block = m_decoder->Receive()) {
        if (m_chain == nullptr) {
            m_encoder->Encode(*block, give);
            continue;
        }
        m_chain->Feed(block);
        TakeAll(give);
    }
}

void AudioReEncode::TakeAll(TakePacket const& give) {
    while (SP<Proc::IDataAudio> const block = m_chain->Take())
        m_encoder->Encode(*block, give);
}

std::vector<std::string> AudioReEncode::GetNotes() const {
    std::vector<std::string> notes = m_decoder->GetNotes();
    for (std::string& note : m_encoder->GetNotes())
        notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Media
