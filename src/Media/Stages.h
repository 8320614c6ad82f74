#pragma once

#include <chrono>
#include <functional>
#include <stop_token>
#include <vector>

namespace Tarsel::Media {

/// Runs every stage on a thread of its own and returns when all have ended. The first exception of a stage or
/// of `onTick` asks `stop` to stop, and is thrown unchanged on the calling thread; a stage that ends with
/// Stopped just ends. `onTick` is called on the calling thread, once every `tick`, while stages run.
void RunStages(std::vector<std::function<void()>> const& stages, std::stop_source stop,
               std::function<void()> const& onTick, std::chrono::milliseconds tick);

} // namespace Tarsel::Media
