#pragma once

#include "Media/Input.h"
#include "Media/Run.h"
#include "Media/RunTimes.h"

#include <cstdint>
#include <functional>
#include <stop_token>

namespace Tarsel::Media {

struct AnalyzeOptions {
    Input input;
    /// Makes the work on the picture; not empty, and never gives null.
    MakeVideoEffects makeVideoEffects;
    /// As in RunOptions.
    StreamSelection streams = {};
    TimeRange range = {};
    OnResize onResize = OnResize::Scale;
    std::function<void(RunProgress const&)> onProgress;
    Ratio imageRate{};
};

struct AnalyzeResult {
    /// That went into the chain.
    std::int64_t frames = 0;
    RunTimes times;
};

/// Passes all pictures of the input through the chain, exactly those that Run would, and writes no file: for
/// effects that look at a whole film before they work on it. What the chain gives is dropped.
/// InputException, OptionsException, InterruptedException; exceptions of the chain pass
/// unchanged. Blocks until done; the chain runs on one thread of its own and is gone on return.
TARSEL_MEDIA_API AnalyzeResult Analyze(AnalyzeOptions const& options, std::stop_token stop = {});

} // namespace Tarsel::Media
