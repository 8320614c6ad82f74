#pragma once

#include "Proc/Settings/SettingsOf.h"

#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

/// Bands of one octave, louder or quieter. Empty without bands, or when the factor is 0.
class TARSEL_API SettingsAudioEqualizer : public SettingsOf<SettingsAudioEqualizer> {
public:
    struct BandEq {
        /// Of the middle, in Hz.
        std::int32_t frequency = 0;
        /// In dB.
        double gain = 0;

        friend bool operator==(BandEq const&, BandEq const&) = default;
    };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsAudioEqualizer() { SetDefaults(); }
    bool IsEmpty() const override;

    std::vector<BandEq> bands;
    /// Multiplies the gains of all bands.
    float factor{};
};

} // namespace Tarsel::Proc
