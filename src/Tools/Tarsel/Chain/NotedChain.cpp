#include "Tools/Tarsel/Chain/NotedChain.h"

#include <algorithm>
#include <utility>

namespace Tarsel::Tools {
namespace {

void Add(ChainNews& sum, ChainNews const& news) {
    // Two passes, or two streams, say the same.
    for (std::string const& note : news.notes)
        if (std::ranges::find(sum.notes, note) == sum.notes.end())
            sum.notes.push_back(note);
    for (Host::StepTime const& time : news.times)
        if (auto const known = std::ranges::find(sum.times, time.label, &Host::StepTime::label);
            known != sum.times.end())
            Host::Add(*known, time);
        else
            sum.times.push_back(time);
}

} // namespace

ChainNews Sum(std::deque<ChainNews> const& news) {
    ChainNews sum;
    for (ChainNews const& each : news)
        Add(sum, each);
    return sum;
}

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
    Add(m_news, {m_chain.GetNotes(), m_chain.GetTimes()});
}

template class NotedChain<Host::VideoChain>;
template class NotedChain<Host::AudioChain>;

} // namespace Tarsel::Tools
