#pragma once

#include "Media/Run.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>

namespace Tarsel::Media {

struct AnalyzeOptions {
    std::filesystem::path input;
    /// Makes the work on the picture; not empty, and never gives null.
    MakeVideoEffects makeVideoEffects;
    /// As in RunOptions.
    std::function<void(RunProgress const&)> onProgress;
};

/// Passes all pictures of the input through the chain, exactly those that Run would, and writes no file: for
/// effects that look at a whole film before they work on it. What the chain gives is dropped. Returns the
/// number of pictures. InputException, OptionsException, InterruptedException; exceptions of the chain pass
/// unchanged. Blocks until done; the chain runs on one thread of its own and is gone on return.
TARSEL_MEDIA_API std::int64_t Analyze(AnalyzeOptions const& options, std::stop_token stop = {});

} // namespace Tarsel::Media
