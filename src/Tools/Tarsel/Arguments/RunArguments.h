#pragma once

#include "Tools/Tarsel/Arguments/MediaArguments.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// What "run" does, as its user writes it.
struct RunArguments {
    MediaArguments media;
    StepArguments steps;
    std::optional<double> at;
    std::string normalize;
    bool filtersOnly = false;

    /// Adds INPUT, OUTPUT and the options to a verb's; this object has to outlive the parsing.
    void AddTo(CLI::App& command);
};

} // namespace Tarsel::Tools
