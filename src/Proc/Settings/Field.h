#pragma once

#include "Conf/PixColor.h"
#include "Core/Api.h"
#include "Proc/Settings/Settings.h"

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

/// What one field of a settings class is: the row of a table that everything about the field follows from.
/// All tables are constants: any thread may read them at any time, static initializers included.
namespace Tarsel::Proc {

/// What a field holds, and so how its text looks.
enum class FieldKind : std::uint8_t {
    /// "1" or "0".
    Flag,
    Integer,
    Real,
    /// One of the words.
    Word,
    /// Any of the words, with '+' between them; "0" for none of them.
    Mask,
    Text,
    /// "#rrggbb", "#rrggbbaa", or a color name of FFmpeg's.
    Color,
    /// FFmpeg's name of a pixel format, or "none".
    PixelFormat,
    /// FFmpeg's name of a channel layout, or "none".
    ChannelLayout,
    /// Entries with '|' between them, each with '/' between its columns.
    List,
    /// The nine words of a display matrix with '/' between them; an EXIF orientation of 1 to 8 is read too.
    Matrix,
};

/// "flag", "integer" and so on.
TARSEL_API std::string_view GetName(FieldKind kind) noexcept;

/// A value of a field: Flag; Integer, Word, Mask and PixelFormat; Real; Text and ChannelLayout (its name);
/// Color; List (the columns of the first entry, then those of the second...) and Matrix.
using FieldValue = std::variant<bool, std::int64_t, double, std::string, Conf::PixColor, std::vector<double>>;

/// One word of an enumeration or a mask.
struct FieldWord {
    std::string_view text;
    std::int64_t value = 0;
    std::string_view help{};

    constexpr FieldWord(std::string_view word, std::int64_t number, std::string_view meaning) noexcept
        : text(word), value(number), help(meaning) {}
    template <class E>
    requires std::is_enum_v<E>
    constexpr FieldWord(std::string_view word, E number, std::string_view meaning) noexcept
        : FieldWord(word, static_cast<std::int64_t>(number), meaning) {}
};

/// The option of an FFmpeg filter that a field ends in: there its range and its words come from.
struct FilterOption {
    /// How the filter's text names the value.
    enum class Form : std::uint8_t {
        /// By the number value * scale + offset.
        Number,
        /// By the word itself; a word "default" stands for leaving the option out.
        Word,
    };

    std::string_view filter{};
    std::string_view option{};
    double scale = 1;
    double offset = 0;
    Form form = Form::Number;
    /// Why the field's range is narrower than the option's; empty where it is not.
    std::string_view narrower{};
};

/// One column of a list's entries: Integer, Real or PixelFormat.
struct FieldColumn {
    std::string_view key{};
    FieldKind kind = FieldKind::Real;
    double minimum = 0;
    double maximum = 0;
    std::string_view unit{};
    std::string_view help{};
    FilterOption option{};
};

/// A default as a table states it.
struct FieldDefault {
    double number = 0;
    std::string_view text;
    Conf::PixColor color{};
    std::span<double const> items{};

    constexpr FieldDefault() noexcept = default;
    template <class N>
    requires std::is_arithmetic_v<N> || std::is_enum_v<N>
    constexpr FieldDefault(N value) noexcept : number(static_cast<double>(value)) {}
    constexpr FieldDefault(char const* value) noexcept : text(value) {}
    constexpr FieldDefault(Conf::PixColor value) noexcept : color(value) {}
    constexpr FieldDefault(std::span<double const> value) noexcept : items(value) {}
};

/// One field of a settings class; made by MakeField (FieldTable.h).
struct Field {
    /// Unique in its table; lower case with hyphens.
    std::string_view key{};
    /// An older key, still read in texts and properties; "" where there was none.
    std::string_view alias{};
    FieldDefault initial{};
    /// Legal values of Integer and Real, both ends included.
    double minimum = 0;
    double maximum = 0;
    std::string_view unit{};
    /// One line.
    std::string_view help{};
    std::span<FieldWord const> words{};
    std::span<FieldColumn const> columns{};
    FilterOption option{};

    FieldKind kind = FieldKind::Flag;
    /// A Real kept in single precision: its text and its range are those of a float.
    bool single = false;
    /// Reads and writes the member of a settings object, which has to be of the table's class; unchecked.
    FieldValue (*get)(Settings const&) = nullptr;
    void (*set)(Settings&, FieldValue const&) = nullptr;
};

/// All of a settings class; made by MakeTable (FieldTable.h).
struct SettingsTable {
    std::string_view classId;
    std::span<Field const> fields;
    /// What people call what the effect does, beside its name and help: lower-case words with blanks between.
    std::string_view keywords{};
    /// What is wrong between the values of several fields, each of them legal by itself: what to give
    /// instead, the legal range, and the values; "" when nothing is. Null where nothing can be. The settings
    /// have to be of the table's class; unchecked.
    std::string (*findConflict)(Settings const&) = nullptr;
};

/// The field of that key or, where no field has it, that alias; or null.
TARSEL_API Field const* FindField(std::span<Field const> fields, std::string_view key) noexcept;

TARSEL_API FieldValue GetDefault(Field const& field);

/// `value` (of the field's kind) as text, the same in every locale; reads back as the same value bit for bit.
TARSEL_API std::string ToText(Field const& field, FieldValue const& value);

/// One value of a list's column as text.
TARSEL_API std::string ToText(FieldColumn const& column, double value);

/// The legal values in words: "0 to 3 (quarter turns)", "wires, colormix".
TARSEL_API std::string GetRangeText(Field const& field);
TARSEL_API std::string GetRangeText(FieldColumn const& column);

/// Writes a value after checking it. SettingsException that names class, key, value and legal values when it
/// is none of the field's; then nothing has changed.
TARSEL_API void WriteField(Settings& settings, Field const& field, FieldValue const& value);

/// The same from text. Beside what ToText writes: "true", "yes", "on" and their opposites for flags, numbers
/// for words and masks, color names, orientations.
TARSEL_API void WriteFieldText(Settings& settings, Field const& field, std::string_view text);

/// SettingsException, which begins with the class id, when the values of several fields contradict one
/// another (SettingsTable::findConflict). Settings read from text or a property are checked so; those filled
/// member by member go to the effect as they are. Any thread that alone uses the object.
TARSEL_API void CheckSettings(Settings const& settings);

/// The value a settings object has in that field, as text.
TARSEL_API std::string ReadFieldText(Settings const& settings, Field const& field);

/// What the classes of SettingsOf are made of: every field of a settings object to its default; equality of
/// all fields of two objects of the table's class.
TARSEL_API void SetFieldDefaults(Settings& settings, SettingsTable const& table);
TARSEL_API bool AreFieldsEqual(Settings const& a, Settings const& b, SettingsTable const& table);

} // namespace Tarsel::Proc
