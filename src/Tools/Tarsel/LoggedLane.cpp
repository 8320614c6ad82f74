#include "Tools/Tarsel/LoggedLane.h"

#include "Tools/Tarsel/FFmpegLog.h"

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
    return MarkingFailures(m_log, [&] { return m_chain.Take(); });
}

void LoggedLane::End() {
    MarkingFailures(m_log, [&] { m_chain.End(); });
    for (std::string& note : m_chain.GetNotes())
        m_notes.push_back(std::move(note));
}

} // namespace Tarsel::Tools
