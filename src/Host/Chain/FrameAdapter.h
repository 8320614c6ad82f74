#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/IFormatCodecVideo.h"
#include "Host/Chain/FrameConversion.h"
#include "Host/Chain/FullChroma.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <optional>
#include <string>

namespace Tarsel::Host {

/// Brings frames of one form into one that an effect takes, and its results back. Not synchronized.
class FrameAdapter {
public:
    /// Nothing where the effect takes the form as it is.
    static std::optional<FrameAdapter> Make(Proc::EffectTraits const& traits, PictureForm const& form);

    PictureForm const& GetOuter() const noexcept { return m_outer; }
    PictureForm const& GetInner() const noexcept { return m_inner; }

    /// A new frame: pixels converted where the format differs, the last column and row repeated where the
    /// size does, chroma samples where their resolution does. MemoryException, EffectException as
    /// SafeSwsContext.
    SP<Proc::IDataVideo> Adapt(Proc::IDataVideo const& frame);
    /// The picture that lay in the frame before Adapt: the added column and row cut off, in the format that
    /// it had. Where the format was changed for its chroma alone, a result of any size is brought back, and
    /// one of another format stays as it is. Throws as Adapt.
    SP<Proc::IDataVideo> Restore(SP<Proc::IDataVideo> const& result);
    /// What the effect said of frames of GetInner(), as it is said of those that Restore gives.
    void Restore(Conf::IFormatCodecVideo& format) const;

    /// "rgb24 641x480 as yuv444p 642x480 and back"; "" where what comes back is exact.
    std::string Describe() const;

private:
    FrameAdapter(PictureForm const& outer, PictureForm const& inner, std::optional<ChromaPair> chroma)
        : m_outer(outer), m_inner(inner), m_chroma(chroma) {}

    SP<Proc::IDataVideo> RestoreSize(SP<Proc::IDataVideo> const& result) const;
    SP<Proc::IDataVideo> RestoreChroma(SP<Proc::IDataVideo> const& result);

    PictureForm m_outer;
    PictureForm m_inner;
    /// For effects that change the size; m_inner then differs in the resolution of chroma alone.
    std::optional<ChromaPair> m_chroma;
    /// Of the frames that went in last.
    Conf::ColorSpace m_outerSpace;
    Proc::KeptScaler m_there;
    Proc::KeptScaler m_back;
};

} // namespace Tarsel::Host
