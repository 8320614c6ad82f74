#pragma once

#include "Conf/PixColor.h"
#include "Conf/PixFmt.h"
#include "Conf/SampleInfo.h"
#include "Proc/Settings/SettingsOf.h"

#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

/// Converts frames to the nearest of the allowed pixel formats. Empty when none is named.
class TARSEL_API SettingsPixelFormatConverter : public SettingsOf<SettingsPixelFormatConverter> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsPixelFormatConverter() { SetDefaults(); }
    bool IsEmpty() const override;

    /// Allowed for the result.
    std::vector<Conf::PixFmt> formats;
    /// Alpha counts when the nearest format is looked for.
    bool hasAlpha{};
    /// Shows through where alpha is lost; its own alpha does not count.
    Conf::PixColor background;
    /// A conversion that loses anything is an error.
    bool refuseLoss{};
    /// Of a palette, at most; black is in it besides.
    std::int32_t colors{};
    /// Spreads the error of a palette over the neighboring pixels.
    bool dither{};
    /// RGB gets chroma of its own for every pixel; slower.
    bool accurate{};
};

/// Scales frames. Empty when neither width nor height is given.
class TARSEL_API SettingsResizer : public SettingsOf<SettingsResizer> {
public:
    /// What happens when the proportions of the frame are not those of width and height.
    enum class Fit : std::int32_t {
        /// The picture is distorted to exactly that size.
        Stretch,
        /// It becomes as large as fits; one side may come out smaller.
        Inside,
        /// The same, with bars of the background color up to that size.
        Pad,
        /// It fills that size; what reaches out is cut off evenly.
        Crop,
    };
    enum class Algorithm : std::int32_t {
        FastBilinear,
        Bilinear,
        Bicubic,
        Neighbor,
        Area,
        Gauss,
        Sinc,
        Lanczos,
        Spline
    };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsResizer() { SetDefaults(); }
    bool IsEmpty() const override;

    /// In pixels. A 0 follows from the other one and the frame's proportions.
    std::int32_t width{};
    std::int32_t height{};
    Fit fit{};
    Algorithm algorithm{};
    Conf::PixColor background;
};

/// Converts rate, format and channels of sound; its class id is IResample's. Empty when nothing is named.
class TARSEL_API SettingsResample : public SettingsOf<SettingsResample> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsResample() { SetDefaults(); }
    bool IsEmpty() const override;
    /// What comes out, with what is not named unknown, as IResample::Init takes it.
    Conf::SampleInfo GetOutput() const noexcept;

    /// SampleFormats::Unknown for the input's.
    Conf::SampleFormats format{};
    /// Samples a second; 0 for the input's.
    std::int32_t rate{};
    /// No channels for the input's.
    Conf::ChannelLayout layout;
};

} // namespace Tarsel::Proc
