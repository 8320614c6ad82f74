#include "Conf/AudioTime.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Media/AudioReader.h"
#include "Media/AudioWriter.h"
#include "Tools/Tarsel/Arguments/AudioArguments.h"
#include "Tools/Tarsel/Arguments/FileArguments.h"
#include "Tools/Tarsel/Audio/Levels.h"
#include "Tools/Tarsel/Audio/Mixer.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/AudioWork.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct MixArguments {
    AudioArguments audio;
    std::vector<std::string> inputs;
    std::vector<std::string> volumes;
};

/// "0.5" or "-6dB" as a linear factor. UsageException.
double ParseVolume(std::string const& text) {
    constexpr std::string_view unit = "dB";
    bool const isDecibels = text.ends_with(unit);
    std::string_view const number =
        std::string_view(text).substr(0, text.size() - (isDecibels ? unit.size() : 0));
    std::optional<double> const value = Core::TextToDouble(number);
    double const volume = isDecibels && value ? std::pow(10, *value / 20) : value.value_or(s_mostVolume + 1);
    if (!value || !std::isfinite(*value) || !(std::abs(volume) <= s_mostVolume))
        Core::Throw<UsageException>(
            fmt::format("--volume: give a factor from -{0} to {0}, or decibels up to {1:g}dB, not \"{2}\"",
                        s_mostVolume, ToDecibels(s_mostVolume), text));
    return volume;
}

/// Of factors that look like decibels.
std::vector<std::string> DescribeVolumes(MixArguments const& arguments) {
    constexpr double most = 4;
    std::vector<std::string> notes;
    for (std::string const& text : arguments.volumes)
        if (auto const factor = Core::TextToDouble(text); factor && (*factor < 0 || *factor > most))
            notes.push_back(fmt::format(
                "Write --volume {0}dB if you mean decibels: --volume {0} is a factor, which makes "
                "the audio {1:.1f} dB {2}{3}.",
                text, std::abs(ToDecibels(std::abs(*factor))), std::abs(*factor) < 1 ? "quieter" : "louder",
                *factor < 0 ? " and inverts it" : ""));
    return notes;
}

/// One for each input. UsageException.
std::vector<double> ParseVolumes(MixArguments const& arguments) {
    std::size_t const inputs = arguments.inputs.size();
    if (inputs < 2)
        Core::Throw<UsageException>("Name at least two INPUTs");
    if (arguments.volumes.empty())
        return std::vector<double>(inputs, 1);
    if (arguments.volumes.size() != inputs)
        Core::Throw<UsageException>(
            fmt::format("Give one --volume per INPUT, in the same order, or none: got {} for {} inputs",
                        arguments.volumes.size(), inputs));
    std::vector<double> volumes;
    for (std::string const& text : arguments.volumes)
        volumes.push_back(ParseVolume(text));
    return volumes;
}

/// The files of a mix, opened.
class Inputs {
public:
    Inputs(std::vector<std::string> const& files, std::stop_token const& stop) {
        for (std::string const& file : files)
            m_readers.push_back({file, std::make_unique<Media::AudioReader>(file, stop)});
    }

    Conf::SampleInfo ChooseFormat() const;
    /// What a file needs to hold all that is in them: format, of that of the mix, and depth.
    void ChooseDepth(Media::AudioFileOptions& options) const;
    /// The longest, in microseconds.
    std::int64_t GetDuration() const;
    std::vector<MixInput> MakeSources(Conf::SampleInfo const& format,
                                      std::vector<double> const& volumes) const;
    std::vector<std::string> GetNotes() const;

private:
    struct Input {
        std::string file;
        std::unique_ptr<Media::AudioReader> reader;
    };
    std::vector<Input> m_readers;
};

Conf::SampleInfo Inputs::ChooseFormat() const {
    std::vector<Conf::SampleInfo> formats;
    for (Input const& input : m_readers)
        formats.push_back(input.reader->GetInfo().format);
    return ChooseMixFormat(formats);
}

void Inputs::ChooseDepth(Media::AudioFileOptions& options) const {
    constexpr int leastDepth = 16;
    // Of real numbers, or of integers that real numbers of single precision hold.
    constexpr int realDepth = 24;
    bool isReal = false;
    options.depth = leastDepth;
    for (Input const& input : m_readers) {
        Media::AudioStreamInfo const& info = input.reader->GetInfo();
        options.depth = std::max(options.depth, info.depth);
        isReal = isReal || (Conf::IsReal(info.format.format) && info.depth > realDepth);
    }
    if (!isReal && options.depth > realDepth)
        options.format.format = Conf::SampleFormats::S32Planar;
}

std::int64_t Inputs::GetDuration() const {
    std::int64_t longest = 0;
    for (Input const& input : m_readers)
        longest = std::max(longest, input.reader->GetDuration());
    return longest;
}

std::vector<MixInput> Inputs::MakeSources(Conf::SampleInfo const& format,
                                          std::vector<double> const& volumes) const {
    std::vector<MixInput> sources;
    for (std::size_t i = 0; i < m_readers.size(); ++i)
        sources.push_back(
            {AudioSource([&reader = *m_readers[i].reader] { return reader.Next(); }, format), volumes[i]});
    return sources;
}

std::vector<std::string> Inputs::GetNotes() const {
    std::vector<std::string> notes;
    for (Input const& input : m_readers)
        for (std::string const& note : input.reader->GetNotes())
            notes.push_back(fmt::format("\"{}\": {}", input.file, note));
    return notes;
}

void Mix(MixArguments const& arguments, Context const& context) {
    std::vector<double> const volumes = ParseVolumes(arguments);
    Media::AudioFileOptions options = arguments.audio.MakeOptions();
    options.inputs.assign(arguments.inputs.begin(), arguments.inputs.end());
    AudioWork work(context, arguments.audio.quiet);
    Inputs const inputs(arguments.inputs, context.stop);
    Conf::SampleInfo const format = inputs.ChooseFormat();
    options.format = format;
    inputs.ChooseDepth(options);
    Media::AudioWriter writer(options, context.stop);

    Mixer mixer(format, inputs.MakeSources(format, volumes));
    Conf::AudioTime clock;
    while (auto const block = mixer.Next()) {
        block->SetTime(clock.GetTime());
        clock.AddSamples(format.rate, block->GetSampleCount());
        writer.Write(*block);
        work.CheckStop(arguments.audio.output);
        work.ShowProgress(clock.GetTime(), inputs.GetDuration());
    }
    std::vector<std::string> notes = DescribeVolumes(arguments);
    for (std::string& note : inputs.GetNotes())
        notes.push_back(std::move(note));
    writer.Publish();
    for (std::string& note : writer.GetNotes())
        notes.push_back(std::move(note));
    if (double const over = ToDecibels(mixer.GetPeak()); over > 0)
        notes.push_back(fmt::format("Clipped the mix, which reached {:.1f} dB above full scale: lower the "
                                    "volumes by as much to avoid it.",
                                    over));
    work.Tell(notes);
}

} // namespace

Verb AddMixVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command = app.add_subcommand("mix", "Mix audio files into one")->group("Verbs");
    auto const arguments = std::make_shared<MixArguments>();
    arguments->audio.AddOutputTo(*command);
    AddInputOption(*command, arguments->inputs, "Two or more audio files, or videos with audio");
    command->add_option("--volume", arguments->volumes, "Volume of an INPUT, such as 0.5 or -6dB; one each")
        ->option_text("V")
        ->allow_extra_args(false);
    arguments->audio.AddOptionsTo(*command);
    common.AddTo(*command);
    command->footer("All inputs start together. The mix is as long as the longest input and has the\n"
                    "highest sample rate, channel count and bit depth among them (compressed audio\n"
                    "counts as 16 bits). A video contributes its best audio stream. Only the mix\n"
                    "itself is clipped; a note says so. The default volume is 1; a negative factor\n"
                    "inverts the audio.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel mix out.wav voice.wav music.mp3 --volume 1 --volume -12dB\n"
                    "  tarsel mix out.flac left.wav right.wav --volume 0.5 --volume 0.5");
    return {command, [arguments](Context const& context) { Mix(*arguments, context); }};
}

} // namespace Tarsel::Tools
