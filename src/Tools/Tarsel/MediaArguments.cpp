#include "Tools/Tarsel/MediaArguments.h"

#include "Core/Text.h"
#include "Tools/Tarsel/EncoderOptions.h"
#include "Tools/Tarsel/Verb.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <functional>

namespace Tarsel::Tools {

void MediaArguments::AddTo(CLI::App& command) {
    command.add_option("INPUT", input, "Video, image or audio file to read")->required()->option_text(" ");
    command.add_option("OUTPUT", output, "File to write; its extension sets the container")
        ->required()
        ->option_text(" ");
    command.add_flag("--overwrite", overwrite, "Replace OUTPUT if it exists");
    command.add_option("--video-codec", videoCodec, "FFmpeg encoder for video, such as libx264")
        ->option_text("NAME");
    command.add_option("--video-option", videoOptions, "Option for that encoder, such as crf=18")
        ->option_text("KEY=VALUE")
        ->allow_extra_args(false);
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
    command.add_option("--audio-codec", audioCodec, "FFmpeg encoder for audio, such as flac")
        ->option_text("NAME");
    command.add_option("--audio-option", audioOptions, "Option for that encoder, such as b=192k")
        ->option_text("KEY=VALUE")
        ->allow_extra_args(false);
    command.add_option("--threads", threads, "Threads for all effects, and for each codec")
        ->option_text("N")
        ->check(CheckWholeNumber(1, 1024), "");
    command.add_flag("--quiet", quiet, "Print errors only");
}

Media::RunOptions MediaArguments::MakeRunOptions() const {
    Media::RunOptions options;
    options.input = input;
    options.output = output;
    options.overwrite = overwrite;
    options.videoEncoder = videoCodec;
    for (Media::Quality const each : Media::s_everyQuality)
        if (Media::GetQualityName(each) == quality)
            options.quality = each;
    options.videoEncoderOptions = ParseEncoderOptions(videoOptions, "--video-option", "crf=18");
    options.audioEncoder = audioCodec;
    options.audioEncoderOptions = ParseEncoderOptions(audioOptions, "--audio-option", "b=192k");
    return options;
}

} // namespace Tarsel::Tools
