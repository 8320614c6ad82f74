#include "Conf/AudioTime.h"
#include "Conf/FormatCodecAudio.h"
#include "Core/Throw.h"
#include "Host/Plugin.h"
#include "Media/AudioWriter.h"
#include "Proc/Interfaces/IAudioGenerator.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Tools/Tarsel/Arguments/AudioArguments.h"
#include "Tools/Tarsel/Audio/AudioSource.h"
#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/AudioWork.h"

#include <CLI/CLI.hpp>
#include <boost/exception/get_error_info.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {
namespace {

constexpr double s_usualDuration = 5;

struct ToneArguments {
    AudioArguments audio;
    std::string source = "sine=frequency=440";
    std::optional<double> duration;
    std::optional<std::int32_t> rate;
    std::string layout;
    bool allowsFiles = false;
};

/// The filter of the graph that opens files or sockets, or "". Names may be quoted, in part too; words that
/// only look like names count as well.
std::string FindFileFilter(std::string const& graph) {
    static std::regex const names("\\b(amovie|movie|ametadata|asendcmd|sendcmd|azmq|zmq|arnndn|ladspa|lv2|"
                                  "sofalizer|flite)\\b|[:=]/");
    std::string const plain = std::regex_replace(graph, std::regex("['\\\\]"), "");
    std::smatch found;
    if (!std::regex_search(plain, found, names))
        return {};
    return found[1].matched ? found[1].str() : "an option";
}

/// UsageException with FFmpeg's words for a text that makes no audio.
SP<Proc::IAudioGenerator> MakeGenerator(std::string const& source, std::string const& plugin) {
    Host::Plugin const library(FindPlugin(plugin));
    try {
        return library.CreateAudioGenerator(source, {});
    } catch (Proc::EffectException const& failure) {
        int const* const error = boost::get_error_info<Proc::TagFFmpegError>(failure);
        Core::Throw<UsageException>(
            fmt::format("--source \"{}\" generates no audio: {}", source,
                        error != nullptr ? Proc::GetFFmpegErrorText(*error) : failure.what()));
    }
}

/// Empty for an empty name. UsageException.
std::optional<Conf::ChannelLayout> ParseLayout(std::string const& name) {
    if (name.empty())
        return std::nullopt;
    auto const layout = Conf::ChannelLayout::FromName(name);
    if (!layout)
        Core::Throw<UsageException>(
            fmt::format("--layout: give a channel layout such as mono, stereo or 5.1, not \"{}\"", name));
    return layout;
}

/// What the generator makes, where the user does not want something else.
Conf::SampleInfo ChooseFormat(Proc::IAudioGenerator& generator, ToneArguments const& arguments) {
    SP<Conf::IFormatCodecAudio> codec = MakeSP<Conf::FormatCodecAudio>();
    generator.UpdateFormatCodec(codec);
    Conf::SampleInfo format = codec->GetSampleInfo();
    format.rate = arguments.rate.value_or(format.rate);
    format.layout = ParseLayout(arguments.layout).value_or(format.layout);
    return format;
}

/// Filters that work in double precision need none in a file; 0 leaves others as they are.
int ChooseDepth(Conf::SampleFormats format) {
    return Conf::SampleFmtRecord::Find(format).size == sizeof(double) ? 32 : 0;
}

/// What the user should know of the file's end, at a time in microseconds; "" for one as it was asked for.
std::string DescribeEnd(ToneArguments const& arguments, AudioSource& source, bool hasEnded,
                        std::int64_t end) {
    if (hasEnded)
        return arguments.duration ? fmt::format("Ended the file after {} s, where the source ended.",
                                                static_cast<double>(end) / 1e6)
                                  : "";
    bool const isChosen = arguments.source != ToneArguments().source;
    if (arguments.duration || !isChosen || source.GetReady() == 0)
        return "";
    return fmt::format(
        "Ended the file after {} s, although the source continues: --duration sets another length.",
        s_usualDuration);
}

void MakeTone(ToneArguments const& arguments, Context const& context) {
    Media::AudioFileOptions options = arguments.audio.MakeOptions();
    if (std::string const filter = FindFileFilter(arguments.source);
        !filter.empty() && !arguments.allowsFiles)
        Core::Throw<UsageException>(
            fmt::format("--source: add --allow-files: {} may read or write files", filter));
    SP<Proc::IAudioGenerator> const generator = MakeGenerator(arguments.source, context.options.plugin);
    options.format = ChooseFormat(*generator, arguments);
    options.depth = ChooseDepth(options.format.format);
    AudioWork work(context, arguments.audio.quiet);
    Media::AudioWriter writer(options, context.stop);

    std::int32_t const rate = options.format.rate;
    std::int64_t const samples = std::llround(arguments.duration.value_or(s_usualDuration) * rate);
    AudioSource source([&] { return generator->Get(); }, options.format);
    Conf::AudioTime clock;
    std::int64_t left = samples;
    while (left > 0) {
        auto const block = source.Take(left);
        if (!block)
            break;
        block->SetTime(clock.GetTime());
        clock.AddSamples(rate, block->GetSampleCount());
        left -= block->GetSampleCount();
        writer.Write(*block);
        work.CheckStop(arguments.audio.output);
        work.ShowProgress(samples - left, samples);
    }
    if (generator->HasFailed())
        Core::Throw<Proc::EffectException>(fmt::format("--source \"{}\" failed after {:.3f} s",
                                                       arguments.source,
                                                       static_cast<double>(samples - left) / rate));
    std::vector<std::string> notes = writer.GetNotes();
    if (std::string note = DescribeEnd(arguments, source, left > 0, clock.GetTime()); !note.empty())
        notes.push_back(std::move(note));
    writer.Publish();
    work.Tell(notes);
}

} // namespace

Verb AddToneVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command = app.add_subcommand("tone", "Generate audio")->group("Verbs");
    auto const arguments = std::make_shared<ToneArguments>();
    arguments->audio.AddOutputTo(*command);
    command->add_option("--source", arguments->source, "FFmpeg filters, starting with an audio source")
        ->option_text("TEXT");
    AddSecondsOption(*command, "--duration", arguments->duration,
                     "Length; default: that of the source, at most 5", {1e-6, 1e6});
    command->add_option("--rate", arguments->rate, "Sample rate; default: that of the source")
        ->option_text("N")
        ->check(CheckWholeNumber(1000, 768000), "");
    command->add_option("--layout", arguments->layout, "Channel layout; default: that of the source")
        ->option_text("NAME");
    command->add_flag("--allow-files", arguments->allowsFiles, "Let filters of TEXT read and write files");
    arguments->audio.AddOptionsTo(*command);
    common.AddTo(*command);
    command->footer("TEXT defaults to \"sine=frequency=440\". If the source ends early, so does the\n"
                    "file. --rate and --layout convert the audio; better, set the format in TEXT:\n"
                    "\"sine=sample_rate=48000\".\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel tone a.wav --duration 10\n"
                    "  tarsel tone noise.flac --source anoisesrc=color=pink --layout stereo\n"
                    "  tarsel tone beep.wav --source \"sine=f=1000:d=0.2,volume=-6dB\"");
    return {command, [arguments](Context const& context) { MakeTone(*arguments, context); }};
}

} // namespace Tarsel::Tools
