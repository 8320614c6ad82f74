#include "Proc/Settings/Color.h"

#include "Proc/Settings/FieldTable.h"

#include <cmath>

namespace Tarsel::Proc {

namespace {

using Balance = SettingsEffectBalanceChroma;

template <auto Member>
consteval Field MakeShift(std::string_view key, std::string_view option, std::string_view help) {
    return MakeField<Member>({
        .key = key,
        .initial = 0,
        .minimum = -100,
        .maximum = 100,
        .unit = "hundredths",
        .help = help,
        .option = {.filter = "colorbalance", .option = option, .scale = 0.01},
    });
}

constexpr std::array s_balanceChromaFields{
    MakeShift<&Balance::redShadows>("red-shadows", "rs", "red in shadows; less is more cyan"),
    MakeShift<&Balance::greenShadows>("green-shadows", "gs", "green in shadows; less is more magenta"),
    MakeShift<&Balance::blueShadows>("blue-shadows", "bs", "blue in shadows; less is more yellow"),
    MakeShift<&Balance::redMidtones>("red-midtones", "rm", "red in midtones"),
    MakeShift<&Balance::greenMidtones>("green-midtones", "gm", "green in midtones"),
    MakeShift<&Balance::blueMidtones>("blue-midtones", "bm", "blue in midtones"),
    MakeShift<&Balance::redHighlights>("red-highlights", "rh", "red in highlights"),
    MakeShift<&Balance::greenHighlights>("green-highlights", "gh", "green in highlights"),
    MakeShift<&Balance::blueHighlights>("blue-highlights", "bh", "blue in highlights"),
};
constexpr SettingsTable s_balanceChroma =
    MakeTable("balance-chroma", s_balanceChromaFields,
              "color tint tone temperature white-balance grading shadows midtones highlights cast");

using Mixer = SettingsEffectColorChannelMixer;

/// Gain number `Index`; of the identity by default. Its key is the filter's.
template <std::size_t Index>
consteval Field MakeGain(std::string_view key, std::string_view help) {
    return MakeElement<&Mixer::gains, Index>({
        .key = key,
        .initial = Index % 5 == 0 ? 1.0 : 0.0,
        .minimum = -2,
        .maximum = 2,
        .help = help,
        .option = {"colorchannelmixer", key},
    });
}

constexpr std::array s_mixerFields{
    MakeGain<0>("rr", "share of red in the new red"),
    MakeGain<1>("rg", "share of green in the new red"),
    MakeGain<2>("rb", "share of blue in the new red"),
    MakeGain<3>("ra", "share of alpha in the new red"),
    MakeGain<4>("gr", "share of red in the new green"),
    MakeGain<5>("gg", "share of green in the new green"),
    MakeGain<6>("gb", "share of blue in the new green"),
    MakeGain<7>("ga", "share of alpha in the new green"),
    MakeGain<8>("br", "share of red in the new blue"),
    MakeGain<9>("bg", "share of green in the new blue"),
    MakeGain<10>("bb", "share of blue in the new blue"),
    MakeGain<11>("ba", "share of alpha in the new blue"),
    MakeGain<12>("ar", "share of red in the new alpha"),
    MakeGain<13>("ag", "share of green in the new alpha"),
    MakeGain<14>("ab", "share of blue in the new alpha"),
    MakeGain<15>("aa", "share of alpha in the new alpha"),
};
constexpr SettingsTable s_mixer =
    MakeTable("color-channel-mixer", s_mixerFields,
              "color matrix sepia grayscale swap red green blue alpha opacity mix");

using Blur = SettingsEffectBlur;
constexpr std::array s_algorithms{
    FieldWord("gaussian", Blur::Algorithm::Gaussian, "recursive approximation of a Gaussian"),
};
constexpr std::array s_relativeModes{
    FieldWord("absolute", Blur::RelativeMode::Absolute, "in pixels"),
    FieldWord("axis", Blur::RelativeMode::PerAxis, "in percent: sigma of the width, sigma-v of the height"),
    FieldWord("longer", Blur::RelativeMode::LongerSide, "in percent of the longer side"),
    FieldWord("shorter", Blur::RelativeMode::ShorterSide, "in percent of the shorter side"),
};

/// One number for both directions is what users mean by "sigma"; sigma-v, written after it, has the last
/// word on the vertical one.
consteval Field MakeSigma() {
    Field field = MakeField<&Blur::horizontalSigma>({
        .key = "sigma",
        .initial = 0.0,
        .maximum = 1024,
        .help = "standard deviation in both directions, in pixels or percent (see mode; cut to two digits)",
        .option = {"gblur", "sigma"},
    });
    field.set = [](Settings& settings, FieldValue const& value) {
        Blur& blur = static_cast<Blur&>(settings);
        blur.horizontalSigma = std::get<double>(value);
        blur.verticalSigma = blur.horizontalSigma;
    };
    return field;
}

constexpr std::array s_blurFields{
    MakeField<&Blur::algorithm>({
        .key = "algorithm",
        .initial = Blur::Algorithm::Gaussian,
        .help = "kind of blur",
        .words = s_algorithms,
    }),
    MakeSigma(),
    MakeField<&Blur::verticalSigma>({
        .key = "sigma-v",
        .initial = 0.0,
        .maximum = 1024,
        .help = "standard deviation in vertical direction (cut to two digits), where it is not that of "
                "sigma; with sigma=0 "
                "some versions of FFmpeg blur nothing",
        .option = {.filter = "gblur",
                   .option = "sigmaV",
                   .narrower = "the filter's -1, as sigma, is what sigma writes here"},
    }),
    MakeField<&Blur::steps>({
        .key = "steps",
        .initial = 1,
        .minimum = 1,
        .maximum = 6,
        .help = "more is closer to a Gaussian, and takes longer",
        .option = {"gblur", "steps"},
    }),
    MakeField<&Blur::planes>({
        .key = "planes",
        .initial = 15,
        .maximum = 15,
        .help = "sum of the planes to blur: 1 for the first, 2, 4, 8",
        .option = {"gblur", "planes"},
    }),
    MakeField<&Blur::pixelFormat>({
        .key = "pixel-format",
        .initial = Conf::PixFmt::None,
        .help = "format to blur in; none for that of the frames",
    }),
    MakeField<&Blur::relativeMode>({
        .key = "mode",
        .initial = Blur::RelativeMode::Absolute,
        .help = "what sigma and sigma-v are measured in",
        .words = s_relativeModes,
    }),
    MakeField<&Blur::horizontalFactor>({
        .key = "factor",
        .initial = 1.0,
        .maximum = 100,
        .help = "factor for a relative sigma; the product is cut to two digits",
    }),
    MakeField<&Blur::verticalFactor>({
        .key = "factor-v",
        .initial = 1.0,
        .maximum = 100,
        .help = "factor for a relative sigma-v; the product is cut to two digits",
    }),
};
constexpr SettingsTable s_blur =
    MakeTable("blur", s_blurFields, "soften smooth gaussian unsharp defocus haze privacy");

using ColorBalance = SettingsEffectColorBalance;

template <auto Member>
consteval Field MakeAmount(std::string_view key, std::string_view help) {
    return MakeField<Member>({.key = key, .initial = 0, .minimum = -100, .maximum = 100, .help = help});
}

constexpr std::array s_colorBalanceFields{
    MakeAmount<&ColorBalance::brightness>("brightness",
                                          "added to luma, 100 is all of its range: gray ends black at -100 "
                                          "and white at 100, other colors dark and pale"),
    MakeAmount<&ColorBalance::contrast>("contrast", "of luma: -100 makes all of it middle gray and leaves "
                                                    "the colors, 100 doubles it; above 0 in steps of 10"),
    MakeAmount<&ColorBalance::saturation>("saturation",
                                          "-100 removes the color, 100 triples it; above 0 in steps of 5"),
    MakeAmount<&ColorBalance::gamma>("gamma", "gamma 0.1 at -100, 10 (brighter) at 100; cut to two digits"),
    MakeAmount<&ColorBalance::redGamma>("red-gamma", "the same for red"),
    MakeAmount<&ColorBalance::greenGamma>("green-gamma", "the same for green"),
    MakeAmount<&ColorBalance::blueGamma>("blue-gamma", "the same for blue"),
    MakeField<&ColorBalance::gammaWeight>({
        .key = "gamma-weight",
        .initial = 100,
        .maximum = 100,
        .unit = "percent",
        .help = "less spares bright areas from gamma",
    }),
    MakeField<&ColorBalance::hue>({
        .key = "hue",
        .initial = 0,
        .minimum = -180,
        .maximum = 180,
        .unit = "degrees",
        .help = "rotates the hues",
    }),
};
constexpr SettingsTable s_colorBalance =
    MakeTable("color-balance", s_colorBalanceFields,
              "brightness contrast exposure saturation gamma hue vibrance lighten darken grayscale tint "
              "color black white desaturate vivid");

double GammaOf(std::int32_t raw) noexcept {
    return std::pow(10.0, raw / 100.0);
}

} // namespace

std::string const SettingsEffectBalanceChroma::CLASS_ID{s_balanceChroma.classId};

SettingsTable const& SettingsEffectBalanceChroma::GetTable() noexcept {
    return s_balanceChroma;
}

bool SettingsEffectBalanceChroma::IsEmpty() const {
    return *this == SettingsEffectBalanceChroma();
}

std::string const SettingsEffectColorChannelMixer::CLASS_ID{s_mixer.classId};

SettingsTable const& SettingsEffectColorChannelMixer::GetTable() noexcept {
    return s_mixer;
}

bool SettingsEffectColorChannelMixer::IsEmpty() const {
    return *this == SettingsEffectColorChannelMixer();
}

std::string const SettingsEffectBlur::CLASS_ID{s_blur.classId};

SettingsTable const& SettingsEffectBlur::GetTable() noexcept {
    return s_blur;
}

bool SettingsEffectBlur::IsEmpty() const {
    bool const isRelative = relativeMode != RelativeMode::Absolute;
    double const horizontal = horizontalSigma * (isRelative ? horizontalFactor : 1.0);
    double const vertical = verticalSigma * (isRelative ? verticalFactor : 1.0);
    bool const isBlurred = (planes & 15) != 0 && (horizontal != 0.0 || vertical != 0.0);
    return algorithm == Algorithm::Gaussian && pixelFormat == Conf::PixFmt::None && !isBlurred;
}

std::string const SettingsEffectColorBalance::CLASS_ID{s_colorBalance.classId};

SettingsTable const& SettingsEffectColorBalance::GetTable() noexcept {
    return s_colorBalance;
}

bool SettingsEffectColorBalance::IsEmpty() const {
    return !IsLumaChanged() && !IsChromaChanged();
}

double SettingsEffectColorBalance::GetFFContrast() const noexcept {
    return 1.0 + contrast / 100.0;
}

double SettingsEffectColorBalance::GetFFBrightness() const noexcept {
    return brightness / 100.0;
}

double SettingsEffectColorBalance::GetFFSaturation() const noexcept {
    return 1.0 + saturation / (saturation < 0 ? 100.0 : 50.0);
}

double SettingsEffectColorBalance::GetFFGamma() const noexcept {
    return GammaOf(gamma);
}

double SettingsEffectColorBalance::GetFFGammaRed() const noexcept {
    return GammaOf(redGamma);
}

double SettingsEffectColorBalance::GetFFGammaGreen() const noexcept {
    return GammaOf(greenGamma);
}

double SettingsEffectColorBalance::GetFFGammaBlue() const noexcept {
    return GammaOf(blueGamma);
}

double SettingsEffectColorBalance::GetFFGammaWeight() const noexcept {
    return gammaWeight / 100.0;
}

bool SettingsEffectColorBalance::IsLumaChanged() const noexcept {
    return brightness != 0 || contrast != 0 || IsSaturationSet() || IsGammaSet() || redGamma != 0 ||
           greenGamma != 0 || blueGamma != 0;
}

bool SettingsEffectColorBalance::IsChromaChanged() const noexcept {
    return hue != 0;
}

bool SettingsEffectColorBalance::IsSaturationSet() const noexcept {
    return saturation != 0;
}

bool SettingsEffectColorBalance::IsGammaSet() const noexcept {
    return gamma != 0;
}

} // namespace Tarsel::Proc
