#include "Core/Text.h"
#include "Core/Throw.h"
#include "Media/AudioReader.h"
#include "Media/ImageWriter.h"
#include "Tools/Tarsel/Arguments/FileArguments.h"
#include "Tools/Tarsel/Arguments/RangeArguments.h"
#include "Tools/Tarsel/Audio/LevelReport.h"
#include "Tools/Tarsel/Audio/Levels.h"
#include "Tools/Tarsel/Audio/Waveform.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/AudioWork.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

constexpr std::int64_t s_leastSide = 16;
constexpr std::int64_t s_mostSide = 8192;

struct PictureSize {
    std::uint32_t width;
    std::uint32_t height;
};

struct MeterArguments {
    std::string input;
    RangeArguments range;
    std::optional<double> interval;
    bool json = false;
    std::string picture;
    std::string size;
    bool overwrite = false;
};

/// "1280x320". UsageException.
PictureSize ParseSize(std::string const& text) {
    auto const isLegal = [](std::optional<std::int64_t> const& side) {
        return side && *side >= s_leastSide && *side <= s_mostSide;
    };
    std::size_t const sign = std::min(text.find('x'), text.size());
    auto const width = Core::TextToInt64(text.substr(0, sign));
    auto const height = Core::TextToInt64(text.substr(std::min(sign + 1, text.size())));
    if (!isLegal(width) || !isLegal(height))
        Core::Throw<UsageException>(
            fmt::format("--size: give WxH, such as 1280x320, each from {} to {}, not \"{}\"", s_leastSide,
                        s_mostSide, text));
    return {static_cast<std::uint32_t>(*width), static_cast<std::uint32_t>(*height)};
}

/// A lane of this height for each channel.
PictureSize ChooseSize(std::size_t channels) {
    constexpr std::size_t lane = 160;
    constexpr std::size_t most = 2048;
    return {1280, static_cast<std::uint32_t>(std::min(lane * channels, most))};
}

/// Levels by column, finer than the columns are.
LevelTrack MakeColumns(std::size_t channels, PictureSize const& size) {
    constexpr std::size_t rowsAColumn = 8;
    return {channels, 1, rowsAColumn * size.width};
}

void Meter(MeterArguments const& arguments, Context const& context) {
    std::optional<PictureSize> size;
    if (!arguments.size.empty())
        size = ParseSize(arguments.size);
    Media::ImageFileOptions const picture{arguments.picture, {arguments.input}, arguments.overwrite};
    bool const draws = !arguments.picture.empty();
    CheckIsAlone(arguments.picture, "--png " + arguments.picture);
    if (draws)
        Media::CheckImageFile(picture);

    AudioWork work(context, false);
    Media::AudioReader reader(arguments.input, context.stop, arguments.range.MakeRange());
    Conf::SampleInfo const format = reader.GetInfo().format;
    std::size_t const channels = format.layout.channels;
    double const interval = arguments.interval.value_or(ChooseInterval(reader.GetDuration()));
    if (!size)
        size = ChooseSize(channels);
    std::vector<LevelTrack> tracks{{channels, interval * format.rate}};
    if (draws)
        tracks.push_back(MakeColumns(channels, *size));

    LoudnessMeter loudness(format);
    while (auto const block = reader.Next()) {
        AddBlock(*block, tracks);
        loudness.Add(*block);
        work.ShowProgress(block->GetTime(), reader.GetDuration());
    }
    std::vector<std::string> notes = reader.GetNotes();
    if (draws)
        for (std::string& note :
             Media::WriteImage(DrawWaveform(tracks[1], size->width, size->height), picture))
            notes.push_back(std::move(note));
    work.Tell(notes);
    LevelReport const report{arguments.input, format, interval, tracks[0], loudness.Get()};
    WriteOutput(arguments.json ? LevelsToJson(report) : FormatLevels(report));
}

} // namespace

Verb AddMeterVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("meter", "Measure audio levels and loudness")->group("Verbs");
    auto const arguments = std::make_shared<MeterArguments>();
    AddInputOption(*command, arguments->input, "Audio, or video with audio (best stream), or \"-\"");
    arguments->range.AddTo(*command);
    AddSecondsOption(*command, "--interval", arguments->interval,
                     "Time per row; default: about 40 rows in all", {0.001, 86400});
    command->add_flag("--json", arguments->json, "Print JSON for programs");
    CLI::Option* const png =
        command->add_option("--png", arguments->picture, "Also draw the waveform to the image FILE")
            ->option_text("FILE");
    command->add_option("--size", arguments->size, "Size of that image, such as 1280x320")
        ->option_text("WxH")
        ->needs(png);
    command->add_flag("--overwrite", arguments->overwrite, "Replace that image if it exists");
    common.AddTo(*command);
    command->footer("Shows the peak and RMS level of each channel, per interval and overall. The\n"
                    "peak is the largest magnitude of a sample (not between samples); 0 dB is full\n"
                    "scale, and a full-scale sine has an RMS of -3.0 dB. Silence is -inf. Then the\n"
                    "loudness of all channels together (" +
                    std::string(s_loudnessStandard) + ").\n\n" + DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel meter song.mp3\n"
                    "  tarsel meter film.mp4 --interval 0.5 --png wave.png\n"
                    "  tarsel meter song.wav --json | jq '.whole.levels[].peakDb'");
    return {command, [arguments](Context const& context) { Meter(*arguments, context); }};
}

} // namespace Tarsel::Tools
