#pragma once

#include "Conf/DisplayMatrix.h"
#include "Core/Matrix3x3.h"
#include "Core/Property.h"
#include "Proc/Settings/SettingsOf.h"

#include <cstdint>
#include <functional>

namespace Tarsel::Proc {

/// Base of the settings that only turn and mirror.
class TARSEL_API SettingsEffectTransform : public Settings {
public:
    /// Whether both are of one class and equal in all fields of its table; `transform` does not count.
    friend TARSEL_API bool operator==(SettingsEffectTransform const& a, SettingsEffectTransform const& b);

    /// The host's animation of the orientation: progress from 0 to 1 in, transform and opacity out. Carried
    /// along, not used by the effects here.
    std::function<void(double, Core::Matrix3x3&, double&)> transform;
};

/// Mirrors pictures.
class TARSEL_API SettingsEffectFlip : public SettingsOf<SettingsEffectFlip, SettingsEffectTransform> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectFlip() { SetDefaults(); }
    SettingsEffectFlip(bool leftRight, bool topBottom) : horizontal(leftRight), vertical(topBottom) {}
    bool IsEmpty() const override;

    bool horizontal{};
    bool vertical{};
};

/// Turns pictures by quarters, clockwise.
class TARSEL_API SettingsEffectTranspose
    : public SettingsOf<SettingsEffectTranspose, SettingsEffectTransform> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectTranspose() { SetDefaults(); }
    explicit SettingsEffectTranspose(std::int32_t quarterTurns) : step(quarterTurns) {}
    bool IsEmpty() const override;
    /// A quarter turn more or less; the step ends up in 0 to 3, whatever it was.
    void AddAngle90() noexcept;
    void SubAngle90() noexcept;

    /// Quarter turns.
    std::int32_t step{};
};

/// Bakes a display matrix into the pixels.
class TARSEL_API SettingsEffectDisplayMatrix
    : public SettingsOf<SettingsEffectDisplayMatrix, SettingsEffectTransform> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectDisplayMatrix() { SetDefaults(); }
    explicit SettingsEffectDisplayMatrix(Conf::DisplayMatrix const& orientation) : matrix(orientation) {}
    bool IsEmpty() const override;

    Conf::DisplayMatrix matrix;
};

/// Property2Settings for these classes.
TARSEL_API SettingsEffectFlip Property2SettingsFlip(Core::Property const& property);
TARSEL_API SettingsEffectTranspose Property2SettingsTranspose(Core::Property const& property);

} // namespace Tarsel::Proc
