#include "Tools/Tarsel/LoggedLane.h"

#include "Tools/Tarsel/FFmpegLog.h"

#include <algorithm>
#include <utility>

namespace Tarsel::Tools {
namespace {

template <class Work>
auto MarkingFailures(FFmpegLog& log, Work const& work) {
    try {
        return work();
    } catch (...) {
        log.MarkFailure();
        throw;
    }
}

} // namespace

template <class Chain>
void LoggedLane<Chain>::UpdateFormatCodec(SP<typename Chain::Format>& format) {
    MarkingFailures(m_log, [&] { m_chain.UpdateFormatCodec(format); });
}

template <class Chain>
void LoggedLane<Chain>::Feed(SP<Data> const& data) {
    MarkingFailures(m_log, [&] { m_chain.Feed(data); });
}

template <class Chain>
SP<typename Chain::Data> LoggedLane<Chain>::Take() {
    SP<Data> data = MarkingFailures(m_log, [&] { return m_chain.Take(); });
    if (!data && m_hasEnded)
        AddNotes();
    return data;
}

template <class Chain>
void LoggedLane<Chain>::End() {
    MarkingFailures(m_log, [&] { m_chain.End(); });
    m_hasEnded = true;
}

template <class Chain>
void LoggedLane<Chain>::AddNotes() {
    for (std::string& note : m_chain.GetNotes())
        if (std::ranges::find(m_notes, note) == m_notes.end()) // two passes, or two streams, say the same
            m_notes.push_back(std::move(note));
}

template class LoggedLane<Host::VideoChain>;
template class LoggedLane<Host::AudioChain>;

} // namespace Tarsel::Tools
