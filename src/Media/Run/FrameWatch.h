#pragma once

#include "Media/FrameFacts.h"

namespace Tarsel::Media {

struct InputStreams;
struct PlannedRun;

/// Has `tell` hear of everything that the run's encoders get, and tells it of the streams that are copied.
/// Before the run begins.
void WatchFrames(TellFrameFacts const& tell, InputStreams const& input, PlannedRun& run);

} // namespace Tarsel::Media
