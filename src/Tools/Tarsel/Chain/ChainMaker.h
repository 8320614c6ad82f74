#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Conf/IFormatCodecVideo.h"
#include "Media/Run.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Chain/NotedChain.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// What the step is called that turns frames upright.
constexpr char const* s_turnLabel = "turning upright";

/// The format in which a stream's frames or blocks come to a chain. Any thread.
SP<Conf::IFormatCodecVideo> MakeFormat(Media::VideoStreamInfo const& stream);
SP<Conf::IFormatCodecAudio> MakeFormat(Media::AudioStreamInfo const& stream);

/// Makes chains of effects for media files. Effects on pictures stand behind one that turns the picture
/// upright: they work on what viewers see.
class ChainMaker {
public:
    explicit ChainMaker(Effects effects) : m_effects(std::move(effects)) {}

    /// A chain of the effects, which belong to it from now on, on as many threads as the budget has. The
    /// maker has to live longer.
    std::unique_ptr<Proc::IEffectStreamVideo> Make(Media::VideoStreamInfo const& stream,
                                                   std::vector<VideoStep> const& effects);
    /// The steps of such a chain: between turning upright, where that is needed, and palettes (FitTo) those
    /// that were asked for.
    std::vector<VideoStep> ListSteps(Media::VideoStreamInfo const& stream,
                                     std::vector<VideoStep> const& effects) const;
    /// The steps that are meant for an audio stream, made for it.
    std::vector<AudioStep> MakeStepsFor(Media::AudioStreamInfo const& stream,
                                        std::vector<AskedStep> const& steps) const;
    /// Notes which of the steps leave the pictures as they are, and what would make them work. Whether all
    /// do.
    bool NoteIdleSteps(Media::VideoStreamInfo const& stream, std::vector<VideoStep> const& steps);
    /// Whether a stream that no effects are wanted for needs a chain all the same: it cannot be copied, and
    /// loses the tag by which viewers would turn it.
    static bool HasToTurn(Media::VideoStreamInfo const& stream);
    /// A chain for pictures that were to be copied and cannot be, and a note about it.
    std::unique_ptr<Proc::IEffectStreamVideo> MakeForReEncoding(Media::VideoStreamInfo const& stream,
                                                                std::vector<VideoStep> const& steps);
    /// A chain of effects of its own for an audio stream; none where all of them leave it as it is. Notes
    /// which of them do.
    Media::AudioEffects MakeAudio(Media::AudioStreamInfo const& stream, std::vector<AskedStep> const& steps);
    /// Chains that are made from now on end in palettes where the output holds nothing else (.gif). Throws as
    /// Media::FindVideoFormats.
    void FitTo(Media::RunOptions const& options);
    Effects const& GetEffects() const noexcept { return m_effects; }
    /// What the user should know of the work of the chains, once they have ended.
    std::vector<std::string> GetNotes() const;
    /// What the steps took. As GetNotes.
    std::vector<Host::StepTime> GetVideoTimes() const { return Sum(m_video).times; }
    std::vector<Host::StepTime> GetAudioTimes() const { return Sum(m_audio).times; }

private:
    /// The orientation in which effects get the pictures; null for that in which they are stored.
    SP<Proc::IOneInputEffectVideo> MakeTurn(Media::VideoStreamInfo const& stream) const;

    Effects m_effects;
    std::optional<VideoStep> m_palettes;
    /// One each for what is planned and for each chain, in their order: chains work on threads of their own.
    std::deque<ChainNews> m_video;
    std::deque<ChainNews> m_audio;
};

} // namespace Tarsel::Tools
