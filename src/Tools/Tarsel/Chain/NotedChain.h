#pragma once

#include "Host/AudioChain.h"
#include "Host/VideoChain.h"

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {

/// What users learn of chains that have ended: what they note, and what their steps took.
struct ChainNews {
    /// Each once.
    std::vector<std::string> notes;
    /// Summed up by label.
    std::vector<Host::StepTime> times;
};

ChainNews Sum(std::deque<ChainNews> const& news);

/// A chain of effects that tells at the end of the stream what is new. `Chain` is Host::VideoChain or
/// Host::AudioChain.
template <class Chain>
class NotedChain final : public Proc::IEffectStream<typename Chain::Data> {
public:
    using Data = typename Chain::Data;

    /// Adds to `news`, which have to live longer.
    explicit NotedChain(ChainNews& news) : m_news(news) {}

    Chain& GetChain() noexcept { return m_chain; }
    void UpdateFormatCodec(SP<typename Chain::Format>& format);

    void Feed(SP<Data> const& data) override;
    SP<Data> Take() override;
    void End() override;

private:
    void Tell();

    ChainNews& m_news;
    bool m_hasEnded = false;
    Chain m_chain;
};

extern template class NotedChain<Host::VideoChain>;
extern template class NotedChain<Host::AudioChain>;

using NotedVideoChain = NotedChain<Host::VideoChain>;
using NotedAudioChain = NotedChain<Host::AudioChain>;

} // namespace Tarsel::Tools
