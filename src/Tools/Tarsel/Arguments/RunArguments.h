#pragma once

#include "Tools/Tarsel/Arguments/MediaArguments.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// What of a run is done: a part of the video, without audio, or all but the video, when its parts are there.
enum class Share : std::uint8_t { Whole, PartOfVideo, AllButVideo };

/// What "run" does, as its user writes it.
struct RunArguments {
    MediaArguments media;
    StepArguments steps;
    std::optional<double> at;
    std::string normalize;
    bool filtersOnly = false;
    Share share = Share::Whole;

    /// Adds INPUT, OUTPUT and the options to a verb's; this object has to outlive the parsing.
    void AddTo(CLI::App& command);
};

} // namespace Tarsel::Tools
