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

LoggedLane::LoggedLane(FFmpegLog& log, std::vector<std::string>& notes) : m_log(log), m_notes(notes) {}

void LoggedLane::Feed(SP<Proc::IDataVideo> const& frame) {
    MarkingFailures(m_log, [&] { m_chain.Feed(frame); });
}

SP<Proc::IDataVideo> LoggedLane::Take() {
    SP<Proc::IDataVideo> frame = MarkingFailures(m_log, [&] { return m_chain.Take(); });
    if (!frame && m_hasEnded)
        AddNotes();
    return frame;
}

void LoggedLane::End() {
    MarkingFailures(m_log, [&] { m_chain.End(); });
    m_hasEnded = true;
}

void LoggedLane::AddNotes() {
    for (std::string& note : m_chain.GetNotes())
        if (std::ranges::find(m_notes, note) == m_notes.end()) // two passes say the same
            m_notes.push_back(std::move(note));
}

} // namespace Tarsel::Tools
