#pragma once

#include "Host/AudioChain.h"
#include "Host/VideoChain.h"

#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {

/// A chain of effects that tells at the end of the stream what it notes. `Chain` is Host::VideoChain or
/// Host::AudioChain.
template <class Chain>
class NotedChain final : public Proc::IEffectStream<typename Chain::Data> {
public:
    using Data = typename Chain::Data;

    /// What is new is added to `notes`, which have to live longer.
    explicit NotedChain(std::vector<std::string>& notes) : m_notes(notes) {}

    Chain& GetChain() noexcept { return m_chain; }
    void UpdateFormatCodec(SP<typename Chain::Format>& format);

    void Feed(SP<Data> const& data) override;
    SP<Data> Take() override;
    void End() override;

private:
    void AddNotes();

    std::vector<std::string>& m_notes;
    bool m_hasEnded = false;
    Chain m_chain;
};

extern template class NotedChain<Host::VideoChain>;
extern template class NotedChain<Host::AudioChain>;

using NotedVideoChain = NotedChain<Host::VideoChain>;
using NotedAudioChain = NotedChain<Host::AudioChain>;

} // namespace Tarsel::Tools
