#pragma once

#include "Conf/ColorSpace.h"
#include "Host/FrameConversion.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <optional>
#include <string>

namespace Tarsel::Host {

/// Brings frames of one form into one that an effect takes, and its results back. For effects that keep the
/// picture's size. Not synchronised.
class FrameFit {
public:
    /// Nothing where the effect takes the form as it is.
    static std::optional<FrameFit> Make(Proc::EffectTraits const& traits, PictureForm const& form);

    PictureForm const& GetOuter() const noexcept { return m_outer; }
    PictureForm const& GetInner() const noexcept { return m_inner; }

    /// A new frame: pixels converted where the format differs, the last column and row repeated where the
    /// size does. MemoryException, EffectException as SafeSwsContext.
    SP<Proc::IDataVideo> Fit(Proc::IDataVideo const& frame);
    /// The picture that lay in the frame before Fit: the added column and row cut off, in the format that it
    /// had. Throws as Fit.
    SP<Proc::IDataVideo> Restore(SP<Proc::IDataVideo> const& result);

    /// "rgb24 641x480 as yuv444p 642x480 and back".
    std::string Describe() const;

private:
    FrameFit(PictureForm const& outer, PictureForm const& inner) : m_outer(outer), m_inner(inner) {}

    PictureForm m_outer;
    PictureForm m_inner;
    /// Of the frames that went in last.
    Conf::ColorSpace m_outerSpace;
    Proc::KeptScaler m_there;
    Proc::KeptScaler m_back;
};

} // namespace Tarsel::Host
