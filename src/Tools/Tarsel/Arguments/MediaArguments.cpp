#include "Tools/Tarsel/Arguments/MediaArguments.h"

#include "Tools/Tarsel/Arguments/FileArguments.h"
#include "Tools/Tarsel/Arguments/Options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

constexpr char const* s_scaleToFirst = "scale";
constexpr char const* s_failAtOther = "fail";

} // namespace

void MediaArguments::AddTo(CLI::App& command, std::string const& inputs) {
    AddInputOption(command, input, inputs + " to read, or \"-\"");
    AddOutputOption(command, output, "File, or \"-\"; its extension sets the container");
    AddFormatOptions(command, format, overwrite);
    streams.AddTo(command);
    range.AddTo(command);
    sequence.AddTo(command);
    video.AddTo(command);
    AddWordOption(command, "--on-resize", onResize, {s_scaleToFirst, s_failAtOther},
                  "Frames of another size than the first: scale, fail");
    std::vector<std::string> qualities;
    for (Media::Quality const each : Media::s_everyQuality)
        qualities.emplace_back(Media::GetQualityName(each));
    AddWordOption(command, "--quality", quality, qualities, fmt::format("{}", fmt::join(qualities, ", ")))
        ->option_text("LEVEL");
    audio.AddTo(command);
    AddReportTo(command);
}

void MediaArguments::AddReportTo(CLI::App& command) {
    AddThreadsOption(command, threads);
    std::vector<std::string> forms;
    for (ProgressWord const& each : s_progressWords)
        forms.emplace_back(each.word);
    AddWordOption(command, "--progress", progress, forms,
                  fmt::format("{}; default: bar on a terminal", fmt::join(forms, ", ")))
        ->option_text("FORM");
    command.add_option("--log", log, "Append FFmpeg's log to FILE")->option_text("FILE");
    command.add_option("--frame-facts", frameFacts, "Write time, format and hash of each frame to FILE")
        ->option_text("FILE");
    command.add_flag("--quiet", quiet, "Print errors only");
}

ProgressForm MediaArguments::GetProgressForm() const {
    auto const known = std::ranges::find(s_progressWords, progress, &ProgressWord::word);
    return known != s_progressWords.end() ? known->form : ProgressForm::Bar;
}

Media::RunOptions MediaArguments::MakeRunOptions() const {
    Media::RunOptions options;
    options.input = input;
    options.output = output;
    options.container = format;
    options.overwrite = overwrite;
    options.streams = streams.MakeSelection();
    options.range = range.MakeRange();
    options.imageRate = sequence.MakeRate();
    options.firstNumber = sequence.startNumber;
    options.onResize = onResize == s_failAtOther ? Media::OnResize::Fail : Media::OnResize::Scale;
    options.videoEncoder = video.name;
    for (Media::Quality const each : Media::s_everyQuality)
        if (Media::GetQualityName(each) == quality)
            options.quality = each;
    options.videoEncoderOptions = video.MakeOptions();
    options.audioEncoder = audio.name;
    options.audioEncoderOptions = audio.MakeOptions();
    return options;
}

} // namespace Tarsel::Tools
