#pragma once

#include "Media/StreamChoice.h"

#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// What is wrong with a text that is to choose streams of a kind ("1", "language=fra"); "" for a right one.
std::string CheckStreamWhich(std::string const& text);

/// Which streams of INPUT a verb takes, as its user writes it.
struct StreamArguments {
    struct Kind {
        /// "1" or "language=fra"; "": all.
        std::string which;
        bool isLeftOut = false;
    };
    Kind video;
    Kind audio;
    Kind subtitles;

    /// Adds the options to a verb's; this object has to outlive the parsing.
    void AddTo(CLI::App& command);
    Media::StreamSelection MakeSelection() const;
};

} // namespace Tarsel::Tools
