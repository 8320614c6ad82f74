#include "Tools/Tarsel/Chain/NotedChain.h"

#include <algorithm>
#include <utility>

namespace Tarsel::Tools {

template <class Chain>
void NotedChain<Chain>::UpdateFormatCodec(SP<typename Chain::Format>& format) {
    m_chain.UpdateFormatCodec(format);
}

template <class Chain>
void NotedChain<Chain>::Feed(SP<Data> const& data) {
    m_chain.Feed(data);
}

template <class Chain>
SP<typename Chain::Data> NotedChain<Chain>::Take() {
    SP<Data> data = m_chain.Take();
    if (!data && std::exchange(m_hasEnded, false))
        Tell();
    return data;
}

template <class Chain>
void NotedChain<Chain>::End() {
    m_chain.End();
    m_hasEnded = true;
}

template <class Chain>
void NotedChain<Chain>::Tell() {
    // Two passes, or two streams, say the same.
    for (std::string& note : m_chain.GetNotes())
        if (std::ranges::find(m_news.notes, note) == m_news.notes.end())
            m_news.notes.push_back(std::move(note));
    for (Host::StepTime& time : m_chain.GetTimes())
        if (auto const known = std::ranges::find(m_news.times, time.label, &Host::StepTime::label);
            known != m_news.times.end())
            Host::Add(*known, time);
        else
            m_news.times.push_back(std::move(time));
}

template class NotedChain<Host::VideoChain>;
template class NotedChain<Host::AudioChain>;

} // namespace Tarsel::Tools
