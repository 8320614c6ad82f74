#pragma once

#include "Conf/PixColor.h"
#include "Proc/Settings/SettingsOf.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Draws the edges of the picture. Never empty.
class TARSEL_API SettingsEffectEdgeDetect : public SettingsOf<SettingsEffectEdgeDetect> {
public:
    enum class Mode : std::int32_t { Default, Wires, ColorMix };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectEdgeDetect() { SetDefaults(); }
    bool IsEmpty() const override;

    Mode mode{};
    /// Of the gradient: an edge begins above the high threshold and goes on above the low one.
    double lowThreshold{};
    double highThreshold{};
};

/// Makes a relief of the picture. Never empty.
class TARSEL_API SettingsEffectEmboss : public SettingsOf<SettingsEffectEmboss> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectEmboss() { SetDefaults(); }
    bool IsEmpty() const override;

    /// In pixels.
    std::int32_t horizontalOffset{};
    std::int32_t verticalOffset{};
    /// Without it the picture comes out gray.
    bool keepColor{};
};

/// Turns channels into their negative. Empty when no channel is named.
class TARSEL_API SettingsEffectNegateVideo : public SettingsOf<SettingsEffectNegateVideo> {
public:
    /// Bits of `channels`.
    enum Channel : std::uint32_t { Red = 1, Green = 2, Blue = 4, Alpha = 8 };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectNegateVideo() { SetDefaults(); }
    bool IsEmpty() const override;

    std::uint32_t channels{};
};

/// Reduces the picture to few colors. Never empty.
class TARSEL_API SettingsEffectPosterize : public SettingsOf<SettingsEffectPosterize> {
public:
    static constexpr std::int32_t MOST_COLORS = 65536;

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectPosterize() { SetDefaults(); }
    bool IsEmpty() const override;

    /// Up to MOST_COLORS, 256 with a palette, and the number of the frame's pixels.
    std::int32_t colorCount{};
    /// Frames come out with a palette.
    bool palette{};
    std::int32_t seed{};
    /// Belongs to the host: it is compared like the others and changes nothing in the picture.
    float hostValue{};
};

/// Puts a border of one color around the picture. Empty when all four sides are 0.
class TARSEL_API SettingsEffectBorder : public SettingsOf<SettingsEffectBorder> {
public:
    /// What the sizes of the four sides are measured in.
    enum class SizeType : std::uint32_t {
        Pixels,
        /// Left and right in widths, top and bottom in heights of the picture.
        OwnSize,
        Width,
        Height,
        ShorterSide,
        LongerSide,
    };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectBorder() { SetDefaults(); }
    bool IsEmpty() const override;

    SizeType sizeType{};
    /// For SizeType::Pixels.
    std::uint32_t leftPixels{};
    std::uint32_t rightPixels{};
    std::uint32_t topPixels{};
    std::uint32_t bottomPixels{};
    /// For the others: 0.1 is a tenth of that size.
    double leftFraction{};
    double rightFraction{};
    double topFraction{};
    double bottomFraction{};
    Conf::PixColor color;
};

} // namespace Tarsel::Proc
