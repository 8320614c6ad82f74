#pragma once

#include "Media/TimeRange.h"

#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// "2.5" (seconds), "1:02.5", "1:02:03.5" or "120f" (frames); nothing for other texts.
std::optional<Media::MediaTime> ParseMediaTime(std::string const& text);

/// The part of INPUT that a verb works on, as its user writes it.
struct RangeArguments {
    std::string from;
    std::string to;
    std::string duration;

    /// Adds the options to a verb's; this object has to outlive the parsing.
    void AddTo(CLI::App& command);
    Media::TimeRange MakeRange() const;
};

} // namespace Tarsel::Tools
