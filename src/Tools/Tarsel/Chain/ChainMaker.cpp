#include "Tools/Tarsel/Chain/ChainMaker.h"

#include "Conf/FormatCodecAudio.h"
#include "Conf/FormatCodecVideo.h"
#include "Core/ThreadBudget.h"
#include "Host/FFmpegMessages.h"
#include "Host/StepPlan.h"
#include "Proc/Settings/Format.h"
#include "Tools/Tarsel/Chain/Palettes.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// Adds what is to be said of steps that leave what comes to them as it is, "step 2 (flip) does nothing;
/// ...", once each. Whether all steps do. `format` is that of the input.
template <class Effect, class Format>
bool NoteIdle(std::vector<Step<Effect>> const& steps, SP<Format> format, std::vector<std::string>& notes) {
    bool areAllIdle = true;
    for (Step<Effect> const& step : steps) {
        Host::StepPlan<Format> plan;
        try {
            Host::FFmpegMessages::Trial const trial;
            plan = Host::PlanStep(step.effect, *format, step.times);
        } catch (std::exception const&) {
            return false; // the work itself will say so
        }
        if (plan.idle.empty())
            areAllIdle = false;
        else if (std::string note = fmt::format("{} {}.", step.label, plan.idle);
                 std::ranges::find(notes, note) == notes.end())
            notes.push_back(std::move(note));
        format = std::move(plan.output);
    }
    return areAllIdle;
}

} // namespace

std::unique_ptr<Proc::IEffectStreamVideo> ChainMaker::Make(Media::VideoStreamInfo const& stream,
                                                           std::vector<VideoStep> const& effects) {
    auto chain = std::make_unique<NotedVideoChain>(m_video.emplace_back());
    Host::VideoChain& steps = chain->GetChain();
    steps.SetThreads(Core::ThreadBudget::Get());
    if (!stream.orientation.GetOrientation())
        m_video.emplace_back().notes.emplace_back(
            "Dropped the input's orientation tag, which is neither a mirroring nor a "
            "quarter turn: the effects used the frames as stored.");
    for (VideoStep const& step : ListSteps(stream, effects))
        steps.Append(step.effect, step.label, step.another, step.times);
    return chain;
}

std::vector<VideoStep> ChainMaker::ListSteps(Media::VideoStreamInfo const& stream,
                                             std::vector<VideoStep> const& effects) const {
    std::vector<VideoStep> steps;
    if (auto const turn = MakeTurn(stream))
        steps.push_back({turn, s_turnLabel, [this, stream] { return MakeTurn(stream); }});
    steps.insert(steps.end(), effects.begin(), effects.end());
    if (m_palettes)
        steps.push_back(*m_palettes);
    return steps;
}

SP<Conf::IFormatCodecVideo> MakeFormat(Media::VideoStreamInfo const& stream) {
    SP<Conf::IFormatCodecVideo> format =
        MakeSP<Conf::FormatCodecVideo>(stream.format, stream.frame, stream.frameRate);
    format->SetColorSpace(stream.space);
    if (stream.orientation != Conf::DisplayMatrix::s_default)
        format->SetDisplayMatrix(stream.orientation);
    return format;
}

SP<Conf::IFormatCodecAudio> MakeFormat(Media::AudioStreamInfo const& stream) {
    return MakeSP<Conf::FormatCodecAudio>(stream.format);
}

void ChainMaker::FitTo(Media::RunOptions const& options) {
    if (HoldsOnlyPalettes(options))
        m_palettes = MakePaletteStep(m_effects, {}, Media::KeepsClearColors(options));
}

SP<Proc::IOneInputEffectVideo> ChainMaker::MakeTurn(Media::VideoStreamInfo const& stream) const {
    auto const orientation = stream.orientation.GetOrientation();
    return orientation && *orientation != 1 ? MakeOrientationEffect(m_effects, stream.orientation) : nullptr;
}

bool ChainMaker::NoteIdleSteps(Media::VideoStreamInfo const& stream, std::vector<VideoStep> const& steps) {
    SP<Conf::IFormatCodecVideo> format = MakeFormat(stream);
    if (auto const turn = MakeTurn(stream))
        turn->UpdateFormatCodec(format);
    return NoteIdle(steps, std::move(format), m_video.emplace_back().notes);
}

bool ChainMaker::HasToTurn(Media::VideoStreamInfo const& stream) {
    auto const orientation = stream.orientation.GetOrientation();
    return !stream.copyObstacle.empty() && orientation && *orientation != 1;
}

std::unique_ptr<Proc::IEffectStreamVideo> ChainMaker::MakeForReEncoding(Media::VideoStreamInfo const& stream,
                                                                        std::vector<VideoStep> const& steps) {
    if (HasToTurn(stream))
        m_video.emplace_back().notes.emplace_back(
            "Turned the frames upright, as the orientation tag says: re-encoded video has no such tag.");
    return Make(stream, steps);
}

std::vector<AudioStep> ChainMaker::MakeStepsFor(Media::AudioStreamInfo const& stream,
                                                std::vector<AskedStep> const& steps) const {
    std::vector<AskedStep> meant;
    std::ranges::copy_if(steps, std::back_inserter(meant), [&](AskedStep const& step) {
        return Media::Includes(step.audio, stream.number, stream.language);
    });
    return MakeAudioSteps(m_effects, meant);
}

Media::AudioEffects ChainMaker::MakeAudio(Media::AudioStreamInfo const& stream,
                                          std::vector<AskedStep> const& steps) {
    auto const effects = MakeStepsFor(stream, steps);
    if (effects.empty())
        return {};
    if (NoteIdle(effects, MakeFormat(stream), m_audio.emplace_back().notes))
        return {};
    auto chain = std::make_unique<NotedAudioChain>(m_audio.emplace_back());
    int depth = 0;
    for (AudioStep const& step : effects) {
        // A format that is named is wanted; others are what an effect reckons in.
        auto const* const resample =
            dynamic_cast<Proc::SettingsResample const*>(&step.effect->GetSettingsBase());
        if (resample != nullptr && resample->format != Conf::SampleFormats::Unknown)
            depth = 8 * Conf::SampleFmtRecord::Find(resample->format).size;
        chain->GetChain().Append(step.effect, step.label, step.another, step.times);
    }
    SP<Conf::IFormatCodecAudio> format = MakeFormat(stream);
    chain->UpdateFormatCodec(format);
    return {std::move(chain), format->GetSampleInfo(), depth};
}

std::vector<std::string> ChainMaker::GetNotes() const {
    std::vector<std::string> notes = Sum(m_video).notes;
    for (std::string& note : Sum(m_audio).notes)
        if (std::ranges::find(notes, note) == notes.end())
            notes.push_back(std::move(note));
    for (std::string& note : m_palettes ? DescribePalettes(*m_palettes) : std::vector<std::string>())
        notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Tools
