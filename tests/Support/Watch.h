#pragma once

#include "Support/Failure.h"

#include <glog/logging.h>

#include <string>
#include <utility>
#include <vector>

/// What happened inside, for tests: log lines, graphs that were made.
namespace Tarsel::Test {

/// Verbose log lines while it lives.
class LogWatch : public google::LogSink {
public:
    explicit LogWatch(int verbosity);
    ~LogWatch() override;

    using google::LogSink::send;
    void send(google::LogSeverity, char const*, char const* file, int, google::LogMessageTime const&,
              char const* message, std::size_t length) override;

    /// "<file>: <text>", and forgets them.
    std::vector<std::string> Take() { return std::exchange(m_lines, {}); }

private:
    int const m_before = FLAGS_v;
    std::vector<std::string> m_lines;
};

/// While it lives, FFmpeg's messages go nowhere but into a count of the graphs this thread makes.
class FFmpegWatch {
public:
    FFmpegWatch();
    ~FFmpegWatch();
    static int GetGraphs() noexcept;
};

/// How many filter graphs `work` makes.
template <class Work>
int CountGraphs(Work&& work) {
    FFmpegWatch const watch;
    work();
    return FFmpegWatch::GetGraphs();
}

} // namespace Tarsel::Test
