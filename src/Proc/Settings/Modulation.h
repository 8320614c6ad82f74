#pragma once

#include "Proc/Settings/SettingsOf.h"

#include <cstdint>
#include <iosfwd>

namespace Tarsel::Proc {

/// Overdrives sound. Never empty.
class TARSEL_API SettingsAudioDistortion : public SettingsOf<SettingsAudioDistortion> {
public:
    /// The curve samples go through.
    enum class Mode : std::int32_t { Tanh, Wrap, Cube, Sine, SoftClip };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioDistortion() { SetDefaults(); }
    bool IsEmpty() const override;

    Mode mode{};
    /// All three from 0 to 1; gain and tone count for the soft clipper alone.
    float amount{};
    float gain{};
    float tone{};
};

/// Mixes sound with itself at a sweeping distance. Never empty.
class TARSEL_API SettingsAudioFlanger : public SettingsOf<SettingsAudioFlanger> {
public:
    /// Of the sweep.
    enum class ShapeType : std::int32_t { Sinusoidal, Triangular };
    enum class InterpolationType : std::int32_t { Linear, Quadratic };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioFlanger() { SetDefaults(); }
    bool IsEmpty() const override;

    /// In milliseconds.
    float delay{};
    float depth{};
    /// In percent.
    float regen{};
    /// Fraction of the delayed sound in the result.
    float width{};
    /// In Hz.
    float speed{};
    /// In percent.
    float phase{};
    ShapeType shape{};
    InterpolationType interp{};
};

/// Lets the pitch waver. Never empty.
class TARSEL_API SettingsAudioVibrato : public SettingsOf<SettingsAudioVibrato> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioVibrato() { SetDefaults(); }
    bool IsEmpty() const override;

    /// In Hz.
    float frequency{};
    /// From 0 to 1.
    float depth{};
};

/// The filter's own words for these; the number for a value that is none.
TARSEL_API std::ostream& operator<<(std::ostream& stream, SettingsAudioFlanger::ShapeType shape);
TARSEL_API std::ostream& operator<<(std::ostream& stream, SettingsAudioFlanger::InterpolationType interp);

} // namespace Tarsel::Proc
