#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Arguments/EncoderArguments.h"
#include "Tools/Tarsel/Arguments/RangeArguments.h"
#include "Tools/Tarsel/Arguments/SequenceArguments.h"
#include "Tools/Tarsel/Arguments/StreamArguments.h"
#include "Tools/Tarsel/Console/RunReport.h"

#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// What every verb that makes a media file of another has on its command line.
struct MediaArguments {
    std::string input;
    std::string output;
    /// "" for that of the output's extension.
    std::string format;
    bool overwrite = false;
    StreamArguments streams;
    RangeArguments range;
    SequenceArguments sequence;
    std::string onResize = "scale";
    EncoderArguments video = EncoderArguments::ForVideo();
    std::string quality;
    EncoderArguments audio = EncoderArguments::ForAudio();
    std::optional<int> threads;
    /// "" for the usual one.
    std::string progress;
    /// "" for none.
    std::string log;
    std::string frameFacts;
    bool quiet = false;

    /// Adds INPUT, which is called so in its help, OUTPUT and the options to a verb's; this object has to
    /// outlive the parsing.
    void AddTo(CLI::App& command, std::string const& inputs);
    /// The last of these alone: threads, and what a run reports.
    void AddReportTo(CLI::App& command);
    ProgressForm GetProgressForm() const;
    /// Files, streams, range and encoders. UsageException for an encoder option that is not KEY=VALUE.
    Media::RunOptions MakeRunOptions() const;
};

} // namespace Tarsel::Tools
