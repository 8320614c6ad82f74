#pragma once

#include "Tools/Tarsel/Work/Context.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// The work of a verb on audio as its user meets it: progress on a terminal, notes at the end. One object at
/// a time, on one thread.
class AudioWork {
public:
    /// `quiet`: neither progress nor notes. The context has to live longer.
    AudioWork(Context const& context, bool quiet);

    /// Media::InterruptedException once a stop was asked for: `output` is not finished.
    void CheckStop(std::string const& output) const;
    /// So much of all is done, both in microseconds; an `all` of 0 is not known. May be called often.
    void ShowProgress(std::int64_t done, std::int64_t all);
    /// Ends the progress and prints the notes.
    void Tell(std::vector<std::string> const& notes);

private:
    using Clock = std::chrono::steady_clock;

    Context const& m_context;
    bool m_quiet;
    Clock::time_point m_begin = Clock::now();
    Clock::time_point m_shown = m_begin;
};

} // namespace Tarsel::Tools
