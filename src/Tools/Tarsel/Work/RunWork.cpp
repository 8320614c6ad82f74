#include "Tools/Tarsel/Work/RunWork.h"

#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Proc/Settings/Format.h"
#include "Tools/Tarsel/Arguments/Options.h"
#include "Tools/Tarsel/Chain/MotionFiles.h"
#include "Tools/Tarsel/Chain/Palettes.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// Whether the pixel formats of its results were asked for.
bool NamesFormats(Proc::IOneInputEffectVideo const& effect) {
    auto const* const settings =
        dynamic_cast<Proc::SettingsPixelFormatConverter const*>(&effect.GetSettingsBase());
    return settings != nullptr && !settings->formats.empty();
}

/// A step that has times did nothing if none of what came lay in them.
void NoteUnused(std::vector<std::pair<std::string, Host::StepTimes>> const& steps,
                std::vector<Host::StepTime> const& spent, std::vector<std::string>& notes) {
    for (auto const& [label, times] : steps)
        for (Host::StepTime const& each : spent)
            if (each.label == label && each.count == 0 && times.IsLimited())
                notes.push_back(MakeSentence(
                    fmt::format("{} did nothing: the input has nothing {}", label, Host::Describe(times))));
}

} // namespace

RunWork::RunWork(RunArguments const& arguments, Context const& context, StepListener listener)
    : m_context(context), m_listener(std::move(listener)), m_options(arguments.media.MakeRunOptions()),
      m_share(arguments.share) {
    m_options.at = arguments.at;
    SortedSteps steps;
    if (!arguments.steps.IsEmpty())
        steps = SortSteps(GetMaker().GetEffects(), ReadSteps(arguments.steps));
    if (m_share == Share::AllButVideo)
        steps.picture.clear();
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
            return MakeAudio(stream);
        };
    }
    auto const loudness =
        arguments.normalize.empty() ? std::nullopt : std::optional(ParseLoudnessTarget(arguments.normalize));
    if (loudness && m_share != Share::PartOfVideo) {
        m_options.input = Media::Input(m_options.input.GetName(), Media::Passes::Several);
        m_normalizer.emplace(*loudness, m_options.input, m_options.range, m_options.makeAudioEffects,
                             m_context.stop);
        m_options.makeAudioEffects = [this](Media::AudioStreamInfo const& stream) {
            return m_normalizer->Make(stream);
        };
    }
    m_makesPalettes = HoldsOnlyPalettes(m_options);
}

void RunWork::ReportTo(MediaWork& media) {
    media.Attach(m_options, m_normalizer ? 2 : 1);
    if (m_normalizer)
        m_normalizer->ReportTo(media.ShowProgress(0, 2));
}

void RunWork::ReportTo(ShowPass const& show) {
    int const passes = m_normalizer ? 2 : 1;
    m_options.onProgress = [show, passes](Media::RunProgress const& progress) {
        show(progress, passes - 1, passes);
    };
    if (m_normalizer)
        m_normalizer->ReportTo(
            [show, passes](Media::RunProgress const& progress) { show(progress, 0, passes); });
}

bool RunWork::WritesMotion() const {
    return std::ranges::any_of(m_pictureSteps, WritesMotionFile);
}

/// Files that steps read or write are not among those that the run writes.
void RunWork::CheckFiles(MediaArguments const& media) const {
    std::vector<std::filesystem::path> files = m_references.GetPaths();
    std::error_code error;
    for (std::filesystem::path const& reference : files)
        for (std::string const& written : {media.output, media.log, media.frameFacts})
            if (std::filesystem::equivalent(reference, written, error))
                Core::Throw<UsageException>(
                    fmt::format("Choose another output: \"{}\" is the reference of a step", written));
    files.push_back(m_options.input.GetName());
    files.push_back(m_options.output);
    for (std::string const& written : {media.log, media.frameFacts})
        if (!written.empty())
            files.emplace_back(written);
    CheckMotionFiles(m_pictureSteps, files);
}

ChainMaker& RunWork::GetMaker() {
    if (!m_maker)
        m_maker.emplace(LoadEffects(m_context.options.plugin));
    return *m_maker;
}

std::unique_ptr<Proc::IEffectStreamVideo> RunWork::MakeChain(Media::VideoStreamInfo const& stream) {
    bool const hasWork = !m_pictureSteps.empty() && !GetMaker().NoteIdleSteps(stream, m_pictureSteps);
    bool const isEncoded = m_encodesPicture || hasWork || (m_options.quality && !stream.isCover);
    bool const isCopied = stream.copyObstacle.empty() && !isEncoded;
    if (isCopied || !(isEncoded || m_makesPalettes || ChainMaker::HasToTurn(stream)))
        return nullptr;
    ChainMaker& maker = GetMaker();
    maker.FitTo(m_options);
    m_references.Open(maker.GetEffects(), stream.start, m_context.stop);
    std::vector<VideoStep> steps = m_pictureSteps;
    if (m_listener.onVideo) {
        m_listener.onVideo(stream, maker.ListSteps(stream, steps));
        std::erase_if(steps, WritesMotionFile);
    }
    return isEncoded ? maker.Make(stream, steps) : maker.MakeForReEncoding(stream, steps);
}

Media::AudioEffects RunWork::MakeAudio(Media::AudioStreamInfo const& stream) {
    Media::AudioEffects effects = GetMaker().MakeAudio(stream, m_audioSteps);
    if (m_listener.onAudio && effects.chain != nullptr)
        m_listener.onAudio(stream, GetMaker().MakeStepsFor(stream, m_audioSteps));
    return effects;
}

std::vector<std::string> RunWork::GetNotes() const {
    std::vector<std::string> notes = m_maker ? m_maker->GetNotes() : std::vector<std::string>();
    for (std::string& note : DescribeMotionFiles(m_pictureSteps))
        notes.push_back(std::move(note));
    for (std::string& note : m_references.GetNotes())
        notes.push_back(std::move(note));
    if (m_maker && !m_listener.onVideo && m_share != Share::PartOfVideo) {
        std::vector<std::pair<std::string, Host::StepTimes>> steps;
        for (VideoStep const& step : m_pictureSteps)
            steps.emplace_back(step.label, step.times);
        NoteUnused(steps, m_maker->GetVideoTimes(), notes);
        steps.clear();
        for (AskedStep const& step : m_audioSteps)
            steps.emplace_back(step.label, step.step.times);
        NoteUnused(steps, m_maker->GetAudioTimes(), notes);
    }
    for (std::string& note : m_normalizer ? m_normalizer->GetNotes() : std::vector<std::string>())
        notes.push_back(std::move(note));
    for (std::string& note : m_options.input.GetNotes())
        notes.push_back(std::move(note));
    return notes;
}

TimeReport RunWork::MakeTimeReport(Media::RunResult const& result) const {
    TimeReport report{result.framesOut, result.times, {}, {}, Core::ThreadBudget::Get(), true};
    if (m_maker) {
        report.steps = m_maker->GetVideoTimes();
        report.audioSteps = m_maker->GetAudioTimes();
    }
    return report;
}

} // namespace Tarsel::Tools
