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
    if (!data && m_hasEnded)
        AddNotes();
    return data;
}

template <class Chain>
void NotedChain<Chain>::End() {
    m_chain.End();
    m_hasEnded = true;
}

template <class Chain>
void NotedChain<Chain>::AddNotes() {
    for (std::string& note : m_chain.GetNotes())
        if (std::ranges::find(m_notes, note) == m_notes.end()) // two passes, or two streams, say the same
            m_notes.push_back(std::move(note));
}

template class NotedChain<Host::VideoChain>;
template class NotedChain<Host::AudioChain>;

} // namespace Tarsel::Tools
