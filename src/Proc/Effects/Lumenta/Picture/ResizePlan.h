#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"
#include "Proc/Settings/Format.h"

#include <optional>

namespace Tarsel::Proc {

/// What a resizing does with frames of one form.
struct ResizePlan {
    /// Of the result: that of the input, but RGBA for palettes and 16-bit RGB for XYZ, whose values cannot be
    /// mixed.
    Conf::PixFmt format = Conf::PixFmt::None;
    /// Of the result.
    Conf::FrameInfo info;
    /// The part of the input that is scaled, and where it lies in the result.
    PictureRegion source;
    PictureRegion target;
    /// The size that was asked for is not whole in chroma samples, and was not met.
    bool isRounded = false;

    bool IsCropped(Conf::FrameInfo const& input) const noexcept {
        return source.width != input.width || source.height != input.height;
    }
    bool IsPadded() const noexcept { return target.width != info.width || target.height != info.height; }

    friend bool operator==(ResizePlan const&, ResizePlan const&) = default;
};

/// The plan for such frames; nothing where they pass untouched, which is when they have the size already.
/// EffectException naming the legal range for a side that would become too long. Pure; any thread.
///
/// What is shown keeps its proportions. To stretch changes the shape of the pixels: where it is known it
/// comes out changed the other way. All else gives square pixels; where the shape is not known, pixels are
/// taken for square and it stays unknown. So 720x576 with pixels of 16:15 becomes 1024x768 of 1:1 for
/// width=1024. A side that follows from the other one is rounded to the nearest.
///
/// Results, and the parts that are cut out or framed, are whole in chroma samples: sizes that were asked for
/// are rounded down, but not below one sample; places in the middle are rounded to the left and up.
std::optional<ResizePlan> PlanResize(SettingsResizer const& settings, Conf::PixFmt format,
                                     Conf::FrameInfo const& input);

} // namespace Tarsel::Proc
