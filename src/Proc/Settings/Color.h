#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Settings/SettingsOf.h"

#include <array>
#include <cstdint>

namespace Tarsel::Proc {

/// Shifts colors apart in shadows, midtones and highlights; all values in hundredths, from −100 to 100.
/// Empty when all are 0.
class TARSEL_API SettingsEffectBalanceChroma : public SettingsOf<SettingsEffectBalanceChroma> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectBalanceChroma() { SetDefaults(); }
    bool IsEmpty() const override;

    std::int32_t redShadows{};
    std::int32_t greenShadows{};
    std::int32_t blueShadows{};
    std::int32_t redMidtones{};
    std::int32_t greenMidtones{};
    std::int32_t blueMidtones{};
    std::int32_t redHighlights{};
    std::int32_t greenHighlights{};
    std::int32_t blueHighlights{};
};

/// Makes each channel of a sum of all four. Empty when it is the identity.
class TARSEL_API SettingsEffectColorChannelMixer : public SettingsOf<SettingsEffectColorChannelMixer> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectColorChannelMixer() { SetDefaults(); }
    bool IsEmpty() const override;

    /// What red, green, blue and alpha give to red, then to green, blue and alpha.
    std::array<double, 16> gains{};
};

/// Gaussian blur. Empty when both sigmas are 0 or no plane is named, and no pixel format is asked for.
class TARSEL_API SettingsEffectBlur : public SettingsOf<SettingsEffectBlur> {
public:
    enum class Algorithm : std::int32_t { Gaussian = 1 };
    /// What the sigmas are: pixels, or percent of a side.
    enum class RelativeMode : std::int32_t { Absolute, PerAxis, LongerSide, ShorterSide };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectBlur() { SetDefaults(); }
    explicit SettingsEffectBlur(Algorithm kind) : SettingsEffectBlur() { algorithm = kind; }
    bool IsEmpty() const override;

    Algorithm algorithm{};
    /// The filter blurs nothing, vertically either, where the horizontal sigma is 0.
    double horizontalSigma{};
    double verticalSigma{};
    std::int32_t steps{};
    /// Bit n for plane n.
    std::int32_t planes{};
    /// In which to blur; none for that of the frames.
    Conf::PixFmt pixelFormat{};
    RelativeMode relativeMode{};
    /// By which the sigmas of the relative modes are multiplied.
    double horizontalFactor{};
    double verticalFactor{};
};

/// Brightness, contrast, saturation, gamma and hue. The raw values are a user's: whole numbers, 0 for no
/// change, −100 and 100 for the ends of what is useful. Empty when neither luma nor chroma is changed.
class TARSEL_API SettingsEffectColorBalance : public SettingsOf<SettingsEffectColorBalance> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectColorBalance() { SetDefaults(); }
    bool IsEmpty() const override;

    std::int32_t brightness{};
    std::int32_t contrast{};
    std::int32_t saturation{};
    std::int32_t gamma{};
    std::int32_t redGamma{};
    std::int32_t greenGamma{};
    std::int32_t blueGamma{};
    /// Percent of the gamma that bright areas get; 100 by default.
    std::int32_t gammaWeight{};
    /// In degrees.
    std::int32_t hue{};

    /// The values as the filter "eq" takes them. Contrast: 0 (gray) to 2, linear, 1 for 0.
    double GetFFContrast() const noexcept;
    /// −1 to 1, linear, added to samples of 0 to 1.
    double GetFFBrightness() const noexcept;
    /// 0 (no color) to 1 below 0, 1 to 3 above it, each linear.
    double GetFFSaturation() const noexcept;
    /// 0.1 to 10: ten to the power of a hundredth of the raw value, so that v and −v undo each other.
    double GetFFGamma() const noexcept;
    double GetFFGammaRed() const noexcept;
    double GetFFGammaGreen() const noexcept;
    double GetFFGammaBlue() const noexcept;
    /// 0 to 1.
    double GetFFGammaWeight() const noexcept;

    /// Whether "eq" has anything to do. The gamma weight alone changes nothing.
    bool IsLumaChanged() const noexcept;
    /// Whether the hue is turned.
    bool IsChromaChanged() const noexcept;
    bool IsSaturationSet() const noexcept;
    bool IsGammaSet() const noexcept;
};

} // namespace Tarsel::Proc
