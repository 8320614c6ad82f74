#pragma once

#include "Core/RefCount.h"
#include "Media/Progress.h"
#include "Media/StreamInfo.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

namespace Tarsel::Tools {

/// Which frames of a video to take, and what to make of them.
struct CaptureRequest {
    std::filesystem::path input;
    /// In microseconds of the file, ascending; empty: the first frame.
    std::vector<std::int64_t> times;
    /// Makes the chains that all frames pass, at least one; called once.
    std::function<std::vector<std::unique_ptr<Proc::IEffectStreamVideo>>(Media::VideoStreamInfo const&)>
        makeChains;
    /// No chain's frames depend on other frames, or on when they come: it need not see those that nobody
    /// asked for.
    bool isFrameIndependent = false;
    std::function<void(Media::RunProgress const&)> onProgress;
};

/// What is shown at one of the times.
struct Moment {
    std::int64_t time = 0;
    /// One for each chain; null where the chain gives no frames.
    std::vector<SP<Proc::IDataVideo>> frames;
};

/// Reads the video from its start to the last of the times, through all chains at once: what comes out is
/// that of a run. The last frame that starts by a time is shown then; the first one before its start.
/// Media::OptionsException when the video is over by one of the times; as Media::Analyze otherwise. Blocks;
/// any thread.
std::vector<Moment> CaptureFrames(CaptureRequest const& request, std::stop_token const& stop);

} // namespace Tarsel::Tools
