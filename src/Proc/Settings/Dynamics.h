#pragma once

#include "Core/Property.h"
#include "Proc/Settings/SettingsOf.h"

#include <cstdint>
#include <iosfwd>

namespace Tarsel::Proc {

/// Makes loud sound less loud. Never empty. Levels and gains are factors of amplitude, times milliseconds.
class TARSEL_API SettingsAudioCompressor : public SettingsOf<SettingsAudioCompressor> {
public:
    /// Whether all channels are turned down by their average level or by that of the loudest.
    enum class LinkType : std::int32_t { Average, Maximum };
    enum class DetectionType : std::int32_t { Peak, Rms };

    /// Bounds of the level in that the filter takes.
    static constexpr float LEVELIN_MIN_VALUE = 0.015625F;
    static constexpr float LEVELIN_MAX_VALUE = 64.0F;

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioCompressor() { SetDefaults(); }
    bool IsEmpty() const override;

    float levelIn{};
    double threshold{};
    float ratio{};
    float attack{};
    float release{};
    float makeup{};
    float knee{};
    LinkType link{};
    DetectionType detection{};
    float mix{};
};

/// Makes quiet sound quieter. Never empty. Units as for the compressor.
class TARSEL_API SettingsAudioGate : public SettingsOf<SettingsAudioGate> {
public:
    enum class DetectionType : std::int32_t { Peak, Rms };
    enum class LinkType : std::int32_t { Average, Maximum };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioGate() { SetDefaults(); }
    bool IsEmpty() const override;

    float levelIn{};
    /// One minus the gain that is left below the threshold: 1 for silence there.
    float range{};
    float threshold{};
    float ratio{};
    float attack{};
    float release{};
    float makeup{};
    float knee{};
    DetectionType detection{};
    LinkType link{};
};

/// Cuts off sound below a level. Empty when the threshold is above −5 dB or the reduction is 0.
class TARSEL_API SettingsAudioNoiseGate : public SettingsOf<SettingsAudioNoiseGate> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioNoiseGate() { SetDefaults(); }
    bool IsEmpty() const override;

    /// In dB of full scale.
    double threshold{};
    /// In seconds.
    double attack{};
    double decay{};
    /// In dB.
    double softKnee{};
    /// Lowers all sound by 50 dB times this, in whole dB.
    float reduction{};
};

/// Property2Settings for the noise gate.
TARSEL_API SettingsAudioNoiseGate Property2SettingsNoiseGate(Core::Property const& property);

/// The filters' own words for these; the number for a value that is none.
TARSEL_API std::ostream& operator<<(std::ostream& stream, SettingsAudioCompressor::LinkType link);
TARSEL_API std::ostream& operator<<(std::ostream& stream, SettingsAudioCompressor::DetectionType detection);
TARSEL_API std::ostream& operator<<(std::ostream& stream, SettingsAudioGate::LinkType link);
TARSEL_API std::ostream& operator<<(std::ostream& stream, SettingsAudioGate::DetectionType detection);

} // namespace Tarsel::Proc
