#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Tarsel::Tools {

class Console;

/// Listens to FFmpeg's log while it lives: keeps the last warnings and errors, for the report of a failure,
/// and prints nothing unless it is told to. One object at a time; its operations may be called from any
/// thread.
class FFmpegLog {
public:
    /// `verbose` prints what FFmpeg itself would print by default. The console has to live longer.
    FFmpegLog(Console& console, bool verbose);
    FFmpegLog(FFmpegLog const&) = delete;
    FFmpegLog& operator=(FFmpegLog const&) = delete;
    /// FFmpeg prints for itself again.
    ~FFmpegLog();

    /// A failure is on its way out of the calling thread: of the lines kept, those of this thread are about
    /// it. The first such call decides; later lines change nothing.
    void MarkFailure();
    /// The lines about the failure, oldest first, "[filter] text": of the marked thread, or of all threads
    /// without a mark; the errors among them, or the warnings when there is no error.
    std::vector<std::string> GetFailureLines() const;

    /// Takes in one whole line at one of FFmpeg's levels.
    void Add(int level, std::string_view line);

private:
    struct Line {
        std::thread::id thread;
        int level;
        std::string text;
    };

    Console& m_console;
    bool const m_verbose;
    mutable std::mutex m_mutex;
    std::deque<Line> m_lines;
    bool m_marked = false;
};

} // namespace Tarsel::Tools
