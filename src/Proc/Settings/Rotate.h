#pragma once

#include "Conf/PixColor.h"
#include "Proc/Settings/SettingsOf.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Turns pictures by any angle. Empty when the angle is 0.
class TARSEL_API SettingsEffectRotate : public SettingsOf<SettingsEffectRotate> {
public:
    /// Size of the result. Any other number counts as Keep.
    enum class SizeMode : std::int32_t {
        /// That of the input.
        Keep,
        /// outputWidth and outputHeight.
        Given,
        /// The largest rectangle of the input's proportions that lies inside the turned picture.
        Crop,
        /// The box around the turned picture.
        Pad,
    };

    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectRotate() { SetDefaults(); }
    bool IsEmpty() const override;

    /// In degrees, clockwise.
    double angle{};
    SizeMode sizeMode{};
    /// In pixels. The effect overwrites them in its own copy when it computes the size.
    std::int32_t outputWidth{};
    std::int32_t outputHeight{};
    bool bilinear{};
    /// Of the area that the turned picture leaves free.
    Conf::PixColor fillColor;
};

} // namespace Tarsel::Proc
