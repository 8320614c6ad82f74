#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"
#include "Core/Api.h"

#include <cstdint>

struct AVPixFmtDescriptor;

/// What the values of pixels mean, and what they mean once they were converted. Pure; any thread.
/// CoreException for formats that do not exist.
namespace Tarsel::Conf::Color {

/// What the components of a format stand for, with or without alpha.
enum class Model : std::uint8_t { Gray, Yuv, Rgb, Palette, Xyz };

TARSEL_API Model ModelOf(PixFmt format);
TARSEL_API Model ModelOf(AVPixFmtDescriptor const& format) noexcept;

/// Whether the format is one of red, green and blue at heart: palettes and XYZ too, for they become RGB where
/// they are worked on.
TARSEL_API bool IsRgbLike(PixFmt format);

/// Whether each component, alpha too, has a plane of its own in memory, in samples of whole bytes.
TARSEL_API bool HasPlanePerComponent(PixFmt format);

/// The format in which pixels of `format` are worked on: itself, or where they are indices or share bytes,
/// the nearest one of whole samples.
TARSEL_API PixFmt Workable(PixFmt format);

/// The format itself, and RGBA for a palette, which nothing but the quantizer writes.
TARSEL_API PixFmt WithoutPalette(PixFmt format) noexcept;

/// A format of pixels and what they mean.
struct Form {
    PixFmt format = PixFmt::None;
    ColorSpace space;

    friend bool operator==(Form const&, Form const&) = default;
};

/// The same without a "j" format, whose range is said beside its twin.
TARSEL_API Form WithoutFixedRange(Form const& form);

/// Whether the same values are the same colors in both, as far as range and matrix tell.
TARSEL_API bool MeansTheSame(Form const& a, Form const& b);

/// Who is to get a picture that was converted.
enum class For : std::uint8_t {
    /// The next effect: nothing is said that nobody said before, so that the way back leads where it began.
    Effect,
    /// One effect, before the picture is converted back: YUV of full range keeps most of RGB.
    RoundTrip,
    /// A file, and so players: RGB says that it is, and YUV that was made of it says which.
    Encoder,
};

/// What the values mean once pixels `from` are of format `to`.
///
/// RGB is of full range, and its matrix is RGB's. YUV made of RGB is of limited range, gray of full; its
/// matrix is that of the primaries, else that of HD, which players assume.
///
/// For effects a matrix still noted comes before that of the primaries, and one that nobody named (and counts
/// as BT.601) stays without name both ways; where the matrix of the YUV that RGB was made of stood for
/// primaries that nobody named, they are named, for they tell the way back. YUV and gray keep the range they
/// really have, which is said where it would not be understood. For encoders a range that nobody named
/// becomes what is usual in `to`.
TARSEL_API ColorSpace After(Form const& from, PixFmt to, For whom);

} // namespace Tarsel::Conf::Color
