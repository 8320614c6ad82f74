#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Core/Property.h"
#include "Host/FrameFit.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Host {

/// One effect of a chain, driven as a stream whatever it offers, with what it cannot take converted around it
/// and what it hands out checked. Exceptions leave with the step's label under TagStep. Not synchronised.
class VideoStep {
public:
    /// `effect` is not null.
    VideoStep(SP<Proc::IOneInputEffectVideo> effect, std::string label);

    /// As IEffectStreamVideo, with the results of each operation to be taken before the next.
    void Feed(SP<Proc::IDataVideo> const& frame);
    SP<Proc::IDataVideo> Take();
    void End();

    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) const;
    Core::Property GetStatistic() const;
    /// What a user should know of what became of the frames so far: conversions, alpha and depth lost.
    std::vector<std::string> const& GetNotes() const noexcept { return m_notes; }

private:
    std::optional<FrameFit> MakeFit(PictureForm const& form) const;
    void FitTo(PictureForm const& form);
    void FeedEffect(SP<Proc::IDataVideo> const& frame);
    SP<Proc::IDataVideo> TakeFromEffect();
    void EndEffect();
    void Note(std::string const& text);
    void NoteLosses(Proc::IDataVideo const& result);

    SP<Proc::IOneInputEffectVideo> m_effect;
    /// The effect as a stream, and as one that tells about itself; null when it is none. They live as long
    /// as the effect.
    Proc::IEffectStreamVideo* m_stream;
    Proc::IEffectDetailsVideo const* m_details;
    std::string m_label;

    std::optional<FrameFit> m_fit;
    /// What went in last, and what came out of it last.
    PictureForm m_input;
    Conf::PixFmt m_output = Conf::PixFmt::None;
    std::deque<SP<Proc::IDataVideo>> m_ready;
    std::vector<std::string> m_notes;

    /// For effects driven by Process: the result of the last call, whether the rest is being asked for, and
    /// how many frames went in and came out of that.
    SP<Proc::IDataVideo> m_given;
    bool m_isEnding = false;
    std::size_t m_fed = 0;
    std::size_t m_takenAtEnd = 0;
};

} // namespace Tarsel::Host
