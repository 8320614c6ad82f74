#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Media/Run.h"
#include "Proc/Interfaces/FiltersOnly.h"
#include "Proc/Settings/Format.h"
#include "Tools/Tarsel/Chain/ChainMaker.h"
#include "Tools/Tarsel/Chain/MotionFiles.h"
#include "Tools/Tarsel/Chain/Normalizer.h"
#include "Tools/Tarsel/Chain/Palettes.h"
#include "Tools/Tarsel/Chain/References.h"
#include "Tools/Tarsel/Chain/Steps.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/MediaArguments.h"
#include "Tools/Tarsel/Verbs/MediaWork.h"
#include "Tools/Tarsel/Verbs/TimeReport.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct RunArguments {
    MediaArguments media;
    StepArguments steps;
    std::optional<double> at;
    bool filtersOnly = false;
    bool time = false;
    std::string normalize;
};

/// Whether the pixel formats of its results were asked for.
bool NamesFormats(Proc::IOneInputEffectVideo const& effect) {
    auto const* const settings =
        dynamic_cast<Proc::SettingsPixelFormatConverter const*>(&effect.GetSettingsBase());
    return settings != nullptr && !settings->formats.empty();
}

/// What the user wants done, as chains for a run.
class Work {
public:
    /// Everything that can be wrong with the arguments alone throws here, before any file is opened.
    Work(RunArguments const& arguments, Context const& context, std::stop_token stop);
    Work(Work const&) = delete;
    Work& operator=(Work const&) = delete;

    Media::RunOptions const& GetOptions() const noexcept { return m_options; }
    void ReportTo(MediaWork& media);
    /// Once the run is over.
    std::vector<std::string> GetNotes() const;
    TimeReport MakeTimeReport(Media::RunResult const& result) const;

private:
    ChainMaker& GetMaker();
    void CheckFiles(MediaArguments const& media) const;
    std::unique_ptr<Proc::IEffectStreamVideo> MakeChain(Media::VideoStreamInfo const& stream);

    Context const& m_context;
    std::stop_token m_stop;
    Media::RunOptions m_options;
    /// Only where there is something to do: copying takes no plug-in.
    std::optional<ChainMaker> m_maker;
    References m_references;
    /// Whether the options alone want the picture encoded. Otherwise it is copied as it is where that can be,
    /// unless a step does something.
    bool m_encodesPicture = false;
    bool m_makesPalettes = false;
    std::vector<VideoStep> m_pictureSteps;
    std::vector<AskedStep> m_audioSteps;
    std::optional<Normalizer> m_normalizer;
};

Work::Work(RunArguments const& arguments, Context const& context, std::stop_token stop)
    : m_context(context), m_stop(std::move(stop)), m_options(arguments.media.MakeRunOptions()) {
    m_options.at = arguments.at;
    SortedSteps steps;
    if (!arguments.steps.IsEmpty())
        steps = SortSteps(GetMaker().GetEffects(), ReadSteps(arguments.steps));
    if (!steps.picture.empty())
        m_pictureSteps = MakePictureSteps(GetMaker().GetEffects(), steps.picture, m_references);
    CheckFiles(arguments.media);
    m_encodesPicture =
        !m_options.videoEncoder.empty() || !m_options.videoEncoderOptions.empty() || m_options.at;
    m_options.mayLackVideo = m_pictureSteps.empty() && !m_encodesPicture;
    m_options.keepsEffectFormat = !m_pictureSteps.empty() && NamesFormats(*m_pictureSteps.back().effect);
    m_options.makeVideoEffects = [this](Media::VideoStreamInfo const& stream) { return MakeChain(stream); };

    m_audioSteps = std::move(steps.audio);
    if (!m_audioSteps.empty()) {
        (void)MakeAudioSteps(GetMaker().GetEffects(), m_audioSteps); // for what they refuse
        for (AskedStep const& step : m_audioSteps)
            m_options.audioWork.push_back(step.audio);
        m_options.makeAudioEffects = [this](Media::AudioStreamInfo const& stream) {
            return GetMaker().MakeAudio(stream, m_audioSteps);
        };
    }
    if (!arguments.normalize.empty()) {
        m_normalizer.emplace(ParseLoudnessTarget(arguments.normalize), m_options.input, m_options.range,
                             m_options.makeAudioEffects, m_stop);
        m_options.makeAudioEffects = [this](Media::AudioStreamInfo const& stream) {
            return m_normalizer->Make(stream);
        };
    }
    m_makesPalettes = HoldsOnlyPalettes(m_options);
}

void Work::ReportTo(MediaWork& media) {
    media.Attach(m_options, m_normalizer ? 2 : 1);
    if (m_normalizer)
        m_normalizer->ReportTo(media.ShowProgress(0, 2));
}

/// Files that steps read or write are not among those that the run writes.
void Work::CheckFiles(MediaArguments const& media) const {
    std::vector<std::filesystem::path> files = m_references.GetPaths();
    std::error_code error;
    for (std::filesystem::path const& reference : files)
        for (std::string const& written : {media.output, media.log, media.frameFacts})
            if (std::filesystem::equivalent(reference, written, error))
                Core::Throw<UsageException>(
                    fmt::format("Choose another output: \"{}\" is the reference of a step", written));
    files.push_back(m_options.input);
    files.push_back(m_options.output);
    CheckMotionFiles(m_pictureSteps, files);
}

ChainMaker& Work::GetMaker() {
    if (!m_maker)
        m_maker.emplace(LoadEffects(m_context.options.plugin));
    return *m_maker;
}

std::unique_ptr<Proc::IEffectStreamVideo> Work::MakeChain(Media::VideoStreamInfo const& stream) {
    bool const hasWork = !m_pictureSteps.empty() && !GetMaker().NoteIdleSteps(stream, m_pictureSteps);
    bool const isEncoded = m_encodesPicture || hasWork || (m_options.quality && !stream.isCover);
    bool const isCopied = stream.copyObstacle.empty() && !isEncoded;
    if (isCopied || !(isEncoded || m_makesPalettes || ChainMaker::HasToTurn(stream)))
        return nullptr;
    ChainMaker& maker = GetMaker();
    maker.FitTo(m_options);
    m_references.Open(maker.GetEffects(), stream.start, m_stop);
    return isEncoded ? maker.Make(stream, m_pictureSteps) : maker.MakeForReEncoding(stream, m_pictureSteps);
}

std::vector<std::string> Work::GetNotes() const {
    std::vector<std::string> notes = m_maker ? m_maker->GetNotes() : std::vector<std::string>();
    for (std::string& note : DescribeMotionFiles(m_pictureSteps))
        notes.push_back(std::move(note));
    for (std::string& note : m_references.GetNotes())
        notes.push_back(std::move(note));
    for (std::string& note : m_normalizer ? m_normalizer->GetNotes() : std::vector<std::string>())
        notes.push_back(std::move(note));
    return notes;
}

TimeReport Work::MakeTimeReport(Media::RunResult const& result) const {
    TimeReport report{result.framesOut, result.times, {}, {}, Core::ThreadBudget::Get(), true};
    if (m_maker) {
        report.steps = m_maker->GetVideoTimes();
        report.audioSteps = m_maker->GetAudioTimes();
    }
    return report;
}

void RunMedia(RunArguments const& arguments, Context const& context) {
    Proc::SetFiltersOnly(arguments.filtersOnly);
    MediaWork media(arguments.media, context);
    Work work(arguments, context, context.stop);
    work.ReportTo(media);
    Media::RunResult const result = Media::Run(work.GetOptions(), context.stop);
    bool const isForPrograms = arguments.media.GetProgressForm() == ProgressForm::Json;
    TimeReport const times = work.MakeTimeReport(result);
    media.Tell(result, work.GetNotes(), arguments.time && isForPrograms ? TimesToJson(times) : "");
    if (arguments.time && !isForPrograms)
        WriteOutput(FormatTimes(times));
}

} // namespace

Verb AddRunVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command = app.add_subcommand("run", "Apply effects to video or audio")->group("Verbs");
    auto const arguments = std::make_shared<RunArguments>();
    arguments->media.AddTo(*command, "Video, image or audio file");
    AddStepOptions(*command, arguments->steps);
    AddAtOption(*command, arguments->at);
    command
        ->add_option("--normalize", arguments->normalize, "Bring audio to a loudness, such as -16LUFS,-1dBTP")
        ->option_text("LUFS[,dBTP]");
    AddFiltersOnlyFlag(*command, arguments->filtersOnly);
    command->add_flag("--time", arguments->time, "Print where the time went");
    common.AddTo(*command);
    command->footer("EFFECT is \"NAME KEY=VALUE...\"; a flag alone means 1, as in \"flip horizontal\".\n"
                    "NAME@2.5-7 works from second 2.5 to 7, KEY=0..20@1-3 moves from 0 to 20.\n"
                    "\"tarsel list\" shows names and keys. Video effects get frames turned upright, as\n"
                    "the orientation tag says; audio effects apply to every audio stream, or to one,\n"
                    "as in \"audio:1/reverb\" and \"audio:fra/reverb\". Streams of a kind are numbered\n"
                    "from 0. Subtitles, chapters and metadata are copied. So are video and audio that\n"
                    "no effect changes, if OUTPUT can hold their codecs and no encoder option is\n"
                    "given. An effect on two inputs takes the second from reference=FILE, an image,\n"
                    "or a video that starts with INPUT. --from and --to take a part of INPUT, exact\n"
                    "to the frame and to the sample, which begins at 0 in OUTPUT.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel run in.mp4 out.mp4 -e \"flip horizontal=1\" -e \"transpose step=1\"\n"
                    "  tarsel run in.mov out.mkv -e \"transpose step=2\" --video-codec ffv1\n"
                    "  tarsel run in.mp4 image.png -e \"flip vertical=1\" --at 2.5\n"
                    "  tarsel run film.mkv scene.mkv --from 1:02:03.5 --duration 250f\n"
                    "  tarsel run left.mp4 out.mp4 -e \"midequalizer reference=right.mp4\"\n"
                    "  tarsel run in.mp4 out.mp4 -e \"compressor ratio=4\" -e \"flip horizontal=1\"\n"
                    "  tarsel run film.mkv film.mp4 --audio language=fra --no-subtitles\n"
                    "  tarsel run song.wav song.mp3 -e \"reverb\"\n"
                    "  tarsel run in.mp4 out.gif -e \"resize width=320\"");
    return {command, [arguments](Context const& context) { RunMedia(*arguments, context); }};
}

} // namespace Tarsel::Tools
