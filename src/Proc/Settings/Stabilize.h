#pragma once

#include "Core/Property.h"
#include "Proc/Settings/SettingsOf.h"

#include <cstdint>
#include <string>

namespace Tarsel::Proc {

/// Takes out camera shake in one pass. Empty until it is enabled.
class TARSEL_API SettingsEffectDeshake : public SettingsOf<SettingsEffectDeshake> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectDeshake() { SetDefaults(); }
    bool IsEmpty() const override;

    /// Of the motion search, in pixels.
    std::int32_t blockSize{};
    bool enabled{};
};

/// Takes out camera shake in two passes over a clip: the first writes what moved to a file, the second reads
/// it. Empty until it is enabled.
class TARSEL_API SettingsEffectStabilizer : public SettingsOf<SettingsEffectStabilizer> {
public:
    /// What is seen where the moved picture does not reach.
    enum class CropMode : std::int32_t { Black, Keep };
    /// How far to zoom in so that no border shows.
    enum class OptimalZoom : std::int32_t { None, Static, Dynamic };
    enum class Optimization : std::int32_t { Average, Gauss };
    enum class Interpolation : std::int32_t { None, Linear, Bilinear, Bicubic };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectStabilizer() { SetDefaults(); }
    bool IsEmpty() const override;

    bool enabled{};
    /// The first pass.
    bool detectionPass{};
    /// File between the passes; goes into the filter's text as it stands.
    std::string statisticsPath;
    /// Of the first pass.
    std::int32_t shakiness{};
    /// Of the second pass: frames to each side that the camera path is smoothed over.
    std::int32_t smoothing{};
    std::int32_t accuracy{};
    /// In pixels.
    std::int32_t stepSize{};
    /// In percent.
    std::int32_t zoom{};
    /// In hundredths.
    std::int32_t minContrast{};
    CropMode cropMode{};
    OptimalZoom optimalZoom{};
    Optimization optimization{};
    Interpolation interpolation{};
};

/// Property2Settings for these classes.
TARSEL_API SettingsEffectDeshake Property2SettingsDeshake(Core::Property const& property);
TARSEL_API SettingsEffectStabilizer Property2SettingsStabilizer(Core::Property const& property);

} // namespace Tarsel::Proc
