#pragma once

#include "Core/Api.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Proc {
class Settings;
} // namespace Tarsel::Proc

namespace Tarsel::Host {

/// A number of an effect's settings that goes through given values. A value; unsynchronized.
struct MovingValue {
    struct Point {
        /// In microseconds, as data are stamped.
        std::int64_t time = 0;
        double value = 0;
    };

    /// Of the field.
    std::string key;
    /// At least one; in the order of their times. Two of one time are a jump.
    std::vector<Point> points;
    /// From point to point by 3x^2 - 2x^3 (Hermite) and not by a straight line.
    bool isSmooth = false;

    /// That of the first point before it, of the last one after it.
    TARSEL_API double GetAt(std::int64_t time) const noexcept;
};

/// When a step of a chain works. A value; unsynchronized.
struct StepTimes {
    static constexpr std::int64_t s_always = std::numeric_limits<std::int64_t>::min();
    static constexpr std::int64_t s_forever = std::numeric_limits<std::int64_t>::max();

    /// Data of other times pass untouched: the first time of those it works on, and the first after them, in
    /// microseconds.
    std::int64_t from = s_always;
    std::int64_t to = s_forever;
    /// How long the result takes, in microseconds, to come in over what went in, and to go.
    std::int64_t fade = 0;
    std::vector<MovingValue> moving;

    bool IsLimited() const noexcept { return from != s_always || to != s_forever; }
    bool Covers(std::int64_t time) const noexcept { return time >= from && time < to; }
    /// How much of the result is to be seen, 0 to 65536.
    TARSEL_API std::uint32_t GetWeight(std::int64_t time) const noexcept;
};
constexpr std::uint32_t s_fullWeight = 65536;

/// Reads "2.5-7~0.5": when the step works, either end left out for none, and how long it fades, all as
/// Core::TextToMicroseconds takes them. SettingsException for another text, and for a range without length.
/// Any thread.
TARSEL_API StepTimes ParseStepTimes(std::string_view text);

/// Why the times cannot be those of a step: "it ends before it begins"; "" when they can. Any thread.
TARSEL_API std::string FindFault(StepTimes const& times);

/// Whether the value of a setting is one that moves: "0..20@1-3" goes from 0 to 20 between second 1 and 3,
/// "5@0,8@2" from point to point; both can be mixed with commas; ",smooth" at the end. Then `moving` gets its
/// points. SettingsException for a text that begins like one and is none. Any thread.
TARSEL_API bool ParseMovingValue(std::string_view text, MovingValue& moving);

/// Gives a settings object what its moving values are at that time. SettingsException for a field that is not
/// there or no number, and for a value that is not legal. Any thread that alone uses the object.
TARSEL_API void WriteValuesAt(std::int64_t time, std::vector<MovingValue> const& moving,
                              Proc::Settings& settings);

/// Whether it has them already. SettingsException for a field that is not there or no number. Any thread.
TARSEL_API bool HasValuesAt(std::int64_t time, std::vector<MovingValue> const& moving,
                            Proc::Settings const& settings);

/// Every point of the values is legal in such settings. SettingsException. Any thread.
TARSEL_API void CheckMovingValues(std::vector<MovingValue> const& moving, Proc::Settings const& settings);

/// "from 2.5 s to 7 s, fading over 0.5 s; sigma from 0 at 1 s to 20 at 3 s"; "" for a step that always works.
/// Any thread.
TARSEL_API std::string Describe(StepTimes const& times);

} // namespace Tarsel::Host
