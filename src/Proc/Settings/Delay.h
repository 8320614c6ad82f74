#pragma once

#include "Proc/Settings/SettingsOf.h"

#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

/// Echoes of sound. Empty without echoes, or when the scale is 0.
class TARSEL_API SettingsAudioEcho : public SettingsOf<SettingsAudioEcho> {
public:
    struct Echo {
        /// In milliseconds.
        std::int32_t delay = 0;
        /// Loudness as a fraction of the sound.
        double decay = 0;

        friend bool operator==(Echo const&, Echo const&) = default;
    };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioEcho() { SetDefaults(); }
    bool IsEmpty() const override;
    std::vector<Echo> const& GetEchos() const noexcept { return echos; }

    std::vector<Echo> echos;
    double inGain{};
    double outGain{};
    /// Multiplies all delays.
    float delayScale{};
};

/// Voices that follow the sound at a wavering distance. Empty without voices, or when the scale is 0.
class TARSEL_API SettingsAudioChorus : public SettingsOf<SettingsAudioChorus> {
public:
    struct Voice {
        /// In milliseconds.
        std::int32_t delay = 0;
        /// Loudness as a fraction of the sound.
        double decay = 0;
        /// Of the wavering, in Hz.
        double speed = 0;
        /// Of the wavering, in milliseconds.
        double depth = 0;

        friend bool operator==(Voice const&, Voice const&) = default;
    };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioChorus() { SetDefaults(); }
    bool IsEmpty() const override;

    std::vector<Voice> voices;
    double inGain{};
    double outGain{};
    /// Multiplies all decays.
    float decayScale{};
};

/// A small room. Never empty.
class TARSEL_API SettingsAudioReverb : public SettingsOf<SettingsAudioReverb> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioReverb() { SetDefaults(); }
    bool IsEmpty() const override;

    /// From 0 to 1: an echo after 10 to 50 milliseconds.
    float amount{};
};

} // namespace Tarsel::Proc
