#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Host/EffectChain.h"
#include "Host/StepTimes.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <functional>
#include <string>
#include <string_view>

namespace Tarsel::Host {

class VideoStep;

struct TARSEL_API VideoMedium {
    using Effect = Proc::IOneInputEffectVideo;
    using Data = Proc::IDataVideo;
    using Format = Conf::IFormatCodecVideo;
    using Step = VideoStep;
    /// What a datum is called.
    static constexpr std::string_view s_datum = "frame";
};

extern template class EffectChain<VideoMedium>;

/// Video effects one after the other, as one stream: nothing that a step holds back is lost. Steps that offer
/// IEffectStreamVideo are driven by it, others by Process (whatever they still hold at the end is asked for
/// with null frames). Around steps that say what frames they take (EffectTraits) others are converted there
/// and back. A step that breaks its contract throws EffectException. Notes tell which steps dropped alpha or
/// depth, and around which frames were converted. Not synchronized.
class TARSEL_API VideoChain final : public EffectChain<VideoMedium> {
public:
    using MakeEffect = std::function<SP<Effect>()>;

    VideoChain();
    ~VideoChain() override;

    /// Up to how many threads work on frames, each on a frame of its own, where effects allow it (see
    /// Append): those of the pool (Core::WorkPool) and the caller's. 1 to begin with: all is done by the
    /// caller. Holds for effects appended later.
    void SetThreads(int threads) noexcept { m_threads = threads; }

    using EffectChain::Append;
    /// The same for an effect of which there can be more: `another` makes one of its class each time,
    /// whatever its settings, which follow those of `effect`. Where the traits say that a result depends on
    /// one frame and comes at once, several frames are worked on at a time, by effects made so, while
    /// `effect` itself sees none. Results, their order and the failures are those of a single thread; a
    /// result or a failure may come after a later frame was fed. As many frames are on their way as there are
    /// threads, and two. A host may set other settings between frames. A null `another` stands for none.
    ///
    /// `times` say when the effect works: frames of other times pass untouched, those that it still holds
    /// come out before them, and what it makes has the form of what went in (EffectException for one that
    /// changes the size). Values that move are set by the time of each frame. SettingsException where they
    /// are not legal, or the effect needs other frames than the present one and is to fade or to move.
    /// EffectException for a null effect, and later for one that is not made.
    void Append(SP<Effect> const& effect, std::string label, MakeEffect another, StepTimes times = {});

private:
    int m_threads = 1;
};

} // namespace Tarsel::Host
