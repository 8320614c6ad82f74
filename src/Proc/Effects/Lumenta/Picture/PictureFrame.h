#pragma once

#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Frames for effects that work on pixels by themselves. Any thread, as long as no other writes the same
/// frames.

/// A part of a picture, in pixels.
struct PictureRegion {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(PictureRegion const&, PictureRegion const&) = default;
};

/// What is known of the frame's pixel format. CoreException for none.
Conf::PixFmtDescription const& DescriptionOf(AVFrame const& frame);

/// Another reference to the frame of `data`, of the size and colors that `data` states. EffectException from
/// `site` where there are not as many pixels, or none at all.
SafeFrame OpenPicture(IDataVideo const& data, Core::Site const& site);

/// A reference to a part of the frame, which lies in it; x and y are whole in chroma samples.
SafeFrame ViewRegion(AVFrame const& frame, PictureRegion const& region);

/// Copies a picture to that place of another of the same format, where it fits; x and y as above.
void CopyInto(AVFrame const& picture, AVFrame& whole, std::uint32_t x, std::uint32_t y);

} // namespace Tarsel::Proc
