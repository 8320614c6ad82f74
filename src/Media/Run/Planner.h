#pragma once

#include "Media/Container/OutputStreams.h"
#include "Media/Container/TextTrack.h"
#include "Media/Run/AudioReEncode.h"
#include "Media/Run/OpenedInput.h"
#include "Media/Run/VideoWork.h"
#include "Media/RunPlan.h"

#include <functional>
#include <memory>
#include <vector>

namespace Tarsel::Media {

/// What carries out the plan for a stream beside the video; nothing for those that are copied or dropped.
struct StreamWork {
    std::unique_ptr<AudioReEncode> audio;
    std::unique_ptr<TextTrack> text;
};

/// A plan, and what carries it out, ready to begin.
struct PlannedRun {
    RunPlan plan;
    /// Null: no pictures are worked on, all packets are copied or go through `streams`.
    std::unique_ptr<VideoWork> video;
    std::unique_ptr<VideoEncoder> videoEncoder;
    /// For each stream of the input.
    std::vector<StreamWork> streams;
    /// For the header.
    OutputStreams output;
};

/// Decides what becomes of every stream of the input, calls the makers of effects, and opens the encoders:
/// what these take, and what the container takes of them together, they alone tell. Pictures are worked on
/// until the first result; `onWait` is called meanwhile. Marks streams in `input` that are not wanted as to
/// be discarded. OptionsException, InputException, OutputException, Stopped; what effects throw.
PlannedRun PlanRun(CheckedOptions const& checked, OpenedInput& input, std::function<void()> const& onWait);

} // namespace Tarsel::Media
