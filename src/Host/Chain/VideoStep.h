#pragma once

#include "Host/Chain/ChainStep.h"
#include "Host/Chain/FrameAdapter.h"
#include "Host/StepTimes.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/IEffectDetails.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace Tarsel::Host {

/// One effect of a chain, driven as a stream whatever it offers, with what it cannot take converted around it
/// and what it hands out checked. Exceptions leave with the step's label under TagStep. Not synchronized.
class VideoStep final : public ChainStep<VideoMedium> {
public:
    /// `effect` is not null. SettingsException for times that the effect cannot follow.
    VideoStep(SP<Proc::IOneInputEffectVideo> effect, std::string label, StepTimes times = {});

    void Feed(SP<Proc::IDataVideo> const& frame) override;
    SP<Proc::IDataVideo> Take() override;
    void End() override;

    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) const override;
    /// How frames of this form are brought into one that the effect takes; nothing where they go in as they
    /// are. Throws as Describe of the effect.
    std::optional<FrameAdapter> MakeAdapter(PictureForm const& form) const;

private:
    void CheckTimes() const;
    void AskEffect(SP<Conf::IFormatCodecVideo>& format) const;
    void MoveValues(std::int64_t time);
    void LeaveRange();
    SP<Proc::IDataVideo> FitIntoRange(SP<Proc::IDataVideo> result);
    void FitTo(PictureForm const& form);
    template <class Convert>
    SP<Proc::IDataVideo> Timed(Convert const& convert);
    SP<Proc::IDataVideo> TakeRestored();
    void NoteLosses(Proc::IDataVideo const& result);
    void NoteMixedFields(Proc::IDataVideo const& result);
    void NoteRounding(Proc::IDataVideo const& result);
    bool ChangesAlpha() const;

    /// The effect as one that tells about itself; null when it is none. Lives as long as the effect.
    Proc::IEffectDetailsVideo const* m_details;

    StepTimes m_times;
    /// Whether the effect has had frames since it last ended; and the last of them, where times are limited.
    bool m_isInside = false;
    SP<Proc::IDataVideo const> m_untouched;
    Proc::KeptScaler m_back;

    std::optional<FrameAdapter> m_adapter;
    /// The settings for which the adapter was chosen: an effect that does nothing needs none.
    std::unique_ptr<Proc::Settings> m_fitted;
    /// What went in last, and what came out of it last.
    PictureForm m_input;
    Conf::PixFmt m_output = Conf::PixFmt::None;
    bool m_isInterlaced = false;
    bool m_mixesFields = false;
    std::deque<SP<Proc::IDataVideo>> m_ready;
};

} // namespace Tarsel::Host
