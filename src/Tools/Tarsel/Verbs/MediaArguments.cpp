#include "Tools/Tarsel/Verbs/MediaArguments.h"

#include "Core/Text.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace Tarsel::Tools {

void MediaArguments::AddTo(CLI::App& command, std::string const& inputs) {
    command.add_option("INPUT", input, inputs + " to read")->required()->option_text(" ");
    command.add_option("OUTPUT", output, "File to write; its extension sets the container")
        ->required()
        ->option_text(" ");
    command.add_flag("--overwrite", overwrite, "Replace OUTPUT if it exists");
    video.AddTo(command);
    std::vector<std::string> qualities;
    for (Media::Quality const each : Media::s_everyQuality)
        qualities.emplace_back(Media::GetQualityName(each));
    std::string const legal = Core::Utils::ToString(qualities, ", ", std::identity());
    auto const checkQuality = [qualities, legal](std::string const& text) {
        return std::ranges::find(qualities, text) != qualities.end()
                   ? ""
                   : fmt::format("give one of {}, not \"{}\"", legal, text);
    };
    command.add_option("--quality", quality, legal)->option_text("LEVEL")->check(checkQuality, "");
    audio.AddTo(command);
    AddThreadsOption(command, threads);
    command.add_flag("--quiet", quiet, "Print errors only");
}

Media::RunOptions MediaArguments::MakeRunOptions() const {
    Media::RunOptions options;
    options.input = input;
    options.output = output;
    options.overwrite = overwrite;
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
