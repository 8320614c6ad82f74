#pragma once

#include "Core/Property.h"
#include "Proc/Settings/SettingsOf.h"

#include <array>
#include <cstdint>

namespace Tarsel::Proc {

/// Makes whole frames of interlaced ones. Never empty.
class TARSEL_API SettingsDeinterlace : public SettingsOf<SettingsDeinterlace> {
public:
    /// Frames or fields out; with or without the check between the lines of other fields.
    enum class FrameMode : std::uint32_t { Frame, Field, FrameNoSpatial, FieldNoSpatial };
    /// Which frames are worked on.
    enum class DeinterlaceMode : std::uint32_t { All, Interlaced };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsDeinterlace() { SetDefaults(); }
    bool IsEmpty() const override;

    FrameMode frameMode{};
    DeinterlaceMode deinterlaceMode{};
};

/// Denoises in space and time, luma and chroma apart. A strength of 0 does not mean none: the filter derives
/// it from the other strengths (4, 3, 6 and 4.5 when all are 0). So these settings are never empty.
class TARSEL_API SettingsEffectDenoiseChromaLuma : public SettingsOf<SettingsEffectDenoiseChromaLuma> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectDenoiseChromaLuma() { SetDefaults(); }
    bool IsEmpty() const override;

    double lumaSpatial{};
    double chromaSpatial{};
    double lumaTemporal{};
    double chromaTemporal{};
};

/// Denoises by thresholding block DCTs. Empty when sigma is 0.
class TARSEL_API SettingsEffectDenoiseDCT : public SettingsOf<SettingsEffectDenoiseDCT> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectDenoiseDCT() { SetDefaults(); }
    bool IsEmpty() const override;

    /// Standard deviation of the noise, in 8-bit steps.
    double sigma{};
    /// Pixels by which blocks overlap; 0 leaves it to the filter, which takes the most there is.
    std::int32_t overlap{};
    /// log2 of the block size, 3 or 4; 0 leaves it to the filter.
    std::int32_t blockSizeExponent{};
};

/// Denoises by overcomplete wavelets. A strength of 0 beside one that is not leaves that strength to the
/// filter, which takes 1; empty when both are 0.
class TARSEL_API SettingsEffectDenoiseOvercompleteWavelet
    : public SettingsOf<SettingsEffectDenoiseOvercompleteWavelet> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectDenoiseOvercompleteWavelet() { SetDefaults(); }
    bool IsEmpty() const override;

    std::int32_t depth{};
    double lumaStrength{};
    double chromaStrength{};
};

/// Adds noise. Empty when the strength is 0.
class TARSEL_API SettingsEffectNoiseVideo : public SettingsOf<SettingsEffectNoiseVideo> {
public:
    /// Distribution of the noise; the filter's own is Gaussian.
    enum class Method : std::int32_t { Default, Gaussian, Uniform };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectNoiseVideo() { SetDefaults(); }
    SettingsEffectNoiseVideo(std::int32_t noiseStrength, Method distribution) : SettingsEffectNoiseVideo() {
        strength = noiseStrength;
        method = distribution;
    }
    bool IsEmpty() const override;

    Method method{};
    /// 1 and above: the same noise every time. Below: the filter's own seed.
    std::int32_t seed{};
    std::int32_t strength{};
};

/// Removes grain, plane by plane. Empty when all modes are 0.
class TARSEL_API SettingsEffectRemoveGrain : public SettingsOf<SettingsEffectRemoveGrain> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectRemoveGrain() { SetDefaults(); }
    bool IsEmpty() const override;
    /// The mode of plane 0 to 3; std::out_of_range for any other.
    std::int32_t GetMode(int plane) const { return modes.at(static_cast<std::size_t>(plane)); }

    std::array<std::int32_t, 4> modes{};
};

/// Property2Settings for these classes.
TARSEL_API SettingsDeinterlace Property2SettingsDeinterlace(Core::Property const& property);
TARSEL_API SettingsEffectDenoiseChromaLuma Property2SettingsChromaLuma(Core::Property const& property);

} // namespace Tarsel::Proc
