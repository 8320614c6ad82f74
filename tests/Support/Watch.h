#pragma once

#include "Support/Failure.h"

/// What happened inside, for tests: graphs that were made.
namespace Tarsel::Test {

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
