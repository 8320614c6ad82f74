#pragma once

#include "Conf/ChannelLayout.h"
#include "Conf/DisplayMatrix.h"
#include "Conf/PixFmt.h"
#include "Proc/Settings/Field.h"

#include <algorithm>
#include <array>
#include <limits>

/// Makes tables of fields at compile time; for the sources of settings classes. A row that is wrong does not
/// compile: the text of the `throw` that the compiler shows says what is wrong with it.
namespace Tarsel::Proc {

/// For rows whose filter names the value by its word.
constexpr auto s_byWord = FilterOption::Form::Word;
/// Longest side of a frame that is of any use, in pixels.
constexpr double s_maxSide = 16384;

namespace Details {

template <class Member>
struct MemberOf;
template <class C, class T>
struct MemberOf<T C::*> {
    using Class = C;
    using Type = T;
};

template <class T>
inline constexpr bool s_isVector = false;
template <class T>
inline constexpr bool s_isVector<std::vector<T>> = true;

/// The kind of a field over a T; an integer with words is a mask, unless its row asks for a Word.
template <class T>
constexpr FieldKind KindOf(Field const& row) noexcept {
    if constexpr (std::is_same_v<T, bool>)
        return FieldKind::Flag;
    else if constexpr (std::is_same_v<T, Conf::PixFmt>)
        return FieldKind::PixelFormat;
    else if constexpr (std::is_floating_point_v<T>)
        return FieldKind::Real;
    else if constexpr (std::is_enum_v<T>)
        return FieldKind::Word;
    else if constexpr (std::is_integral_v<T>)
        return row.words.empty()             ? FieldKind::Integer
               : row.kind == FieldKind::Word ? FieldKind::Word
                                             : FieldKind::Mask;
    else if constexpr (std::is_same_v<T, std::string>)
        return FieldKind::Text;
    else if constexpr (std::is_same_v<T, Conf::PixColor>)
        return FieldKind::Color;
    else if constexpr (std::is_same_v<T, Conf::ChannelLayout>)
        return FieldKind::ChannelLayout;
    else if constexpr (std::is_same_v<T, Conf::DisplayMatrix>)
        return FieldKind::Matrix;
    else {
        static_assert(s_isVector<T>, "no kind of field holds this type");
        return FieldKind::List;
    }
}

/// A member's value as a FieldValue. `Columns` are the members of a list's entries; none when the entries
/// are numbers themselves.
template <auto... Columns, class T>
FieldValue ToValue(T const& member) {
    if constexpr (std::is_same_v<T, bool>)
        return member;
    else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>)
        return static_cast<std::int64_t>(member);
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<double>(member);
    else if constexpr (std::is_same_v<T, Conf::ChannelLayout>)
        return member == Conf::ChannelLayout{} ? std::string() : member.GetName();
    else if constexpr (std::is_same_v<T, Conf::DisplayMatrix>)
        return std::vector<double>(member.words.begin(), member.words.end());
    else if constexpr (s_isVector<T>) {
        std::vector<double> values;
        for (auto const& entry : member) {
            if constexpr (sizeof...(Columns) == 0)
                values.push_back(static_cast<double>(entry));
            else
                (values.push_back(static_cast<double>(entry.*Columns)), ...);
        }
        return values;
    } else
        return member;
}

template <auto... Columns, class T>
void FromValue(FieldValue const& value, T& member) {
    if constexpr (std::is_same_v<T, bool>)
        member = std::get<bool>(value);
    else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>)
        member = static_cast<T>(std::get<std::int64_t>(value));
    else if constexpr (std::is_floating_point_v<T>)
        member = static_cast<T>(std::get<double>(value));
    else if constexpr (std::is_same_v<T, Conf::ChannelLayout>)
        member = Conf::ChannelLayout::FromName(std::get<std::string>(value)).value_or(Conf::ChannelLayout{});
    else if constexpr (std::is_same_v<T, Conf::DisplayMatrix>) {
        std::vector<double> const& words = std::get<std::vector<double>>(value);
        for (std::size_t i = 0; i < member.words.size(); ++i)
            member.words[i] = static_cast<std::int32_t>(words[i]);
    } else if constexpr (s_isVector<T>) {
        member.clear();
        std::vector<double> const& values = std::get<std::vector<double>>(value);
        for (auto next = values.begin(); next != values.end();) {
            typename T::value_type entry{};
            auto const take = [&](auto& column) {
                column = static_cast<std::remove_reference_t<decltype(column)>>(*next++);
            };
            if constexpr (sizeof...(Columns) == 0)
                take(entry);
            else
                (take(entry.*Columns), ...);
            member.push_back(entry);
        }
    } else
        member = std::get<T>(value);
}

constexpr bool IsKey(std::string_view key) noexcept {
    for (char const c : key) {
        if (!(c >= 'a' && c <= 'z') && !(c >= '0' && c <= '9') && c != '-')
            return false;
    }
    return !key.empty();
}

constexpr bool IsWhole(double number) noexcept {
    return number >= -9007199254740992.0 && number <= 9007199254740992.0 &&
           static_cast<double>(static_cast<std::int64_t>(number)) == number;
}

constexpr void CheckWords(Field const& field) {
    if (field.words.empty())
        throw "a word or mask field has no words";
    bool known = false;
    double all = 0;
    for (std::size_t i = 0; i < field.words.size(); ++i) {
        FieldWord const& word = field.words[i];
        known = known || static_cast<double>(word.value) == field.initial.number;
        all += static_cast<double>(word.value);
        for (FieldWord const& earlier : field.words.subspan(0, i)) {
            if (earlier.text == word.text || earlier.value == word.value)
                throw "two words of a field are the same";
        }
    }
    if (field.kind == FieldKind::Word && !known)
        throw "the default is not one of the words";
    if (field.kind == FieldKind::Mask && (field.initial.number < 0 || field.initial.number > all))
        throw "the default has bits that no word names";
}

/// Throws, and so does not compile, when the row contradicts itself.
constexpr void CheckField(Field const& field) {
    if (!IsKey(field.key))
        throw "the key is not of lower-case letters, digits and hyphens";
    if (field.help.empty())
        throw "the field has no help";
    if (field.kind == FieldKind::Integer || field.kind == FieldKind::Real) {
        if (!(field.minimum < field.maximum))
            throw "the minimum is not below the maximum";
        if (!(field.initial.number >= field.minimum && field.initial.number <= field.maximum))
            throw "the default is out of range";
    }
    if (field.kind == FieldKind::Integer &&
        !(IsWhole(field.minimum) && IsWhole(field.maximum) && IsWhole(field.initial.number)))
        throw "a bound or the default of an integer is not whole";
    if (field.kind == FieldKind::Word || field.kind == FieldKind::Mask)
        CheckWords(field);
    else if (!field.words.empty())
        throw "a field that is neither word nor mask has words";
    if ((field.kind == FieldKind::List) == field.columns.empty())
        throw "a list has columns, and nothing else has";
    for (FieldColumn const& column : field.columns) {
        if (column.kind != FieldKind::PixelFormat && !(column.minimum < column.maximum))
            throw "the minimum of a column is not below its maximum";
    }
}

constexpr void CheckTable(SettingsTable const& table) {
    if (!IsKey(table.classId))
        throw "the class id is not of lower-case letters, digits and hyphens";
    for (std::string_view rest = table.keywords; !rest.empty();) {
        std::string_view const word = rest.substr(0, rest.find(' '));
        if (!IsKey(word))
            throw "a keyword is not of lower-case letters, digits and hyphens";
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
    }
    for (std::size_t i = 0; i < table.fields.size(); ++i) {
        CheckField(table.fields[i]);
        for (Field const& earlier : table.fields.subspan(0, i)) {
            if (earlier.key == table.fields[i].key)
                throw "two fields have the same key";
        }
    }
}

} // namespace Details

/// A Real without an upper limit.
constexpr double s_unlimited = std::numeric_limits<double>::max();

/// The row `row` for a member of a settings class: MakeField<&S::step>({.key = "step", ...}). Kind and access
/// follow from the member. Of a list whose entries are structs, `Columns` are the members, in the order of
/// the row's columns.
template <auto Member, auto... Columns>
consteval Field MakeField(Field row) {
    using Class = typename Details::MemberOf<decltype(Member)>::Class;
    using Type = typename Details::MemberOf<decltype(Member)>::Type;
    row.kind = Details::KindOf<Type>(row);
    row.single = std::is_same_v<Type, float>;
    if (sizeof...(Columns) != 0 && sizeof...(Columns) != row.columns.size())
        throw "the columns and their members differ in number";
    row.get = [](Settings const& settings) {
        return Details::ToValue<Columns...>(static_cast<Class const&>(settings).*Member);
    };
    row.set = [](Settings& settings, FieldValue const& value) {
        Details::FromValue<Columns...>(value, static_cast<Class&>(settings).*Member);
    };
    return row;
}

/// The row for one element of a member that is an array.
template <auto Member, std::size_t Index>
consteval Field MakeElement(Field row) {
    using Class = typename Details::MemberOf<decltype(Member)>::Class;
    using Type = typename Details::MemberOf<decltype(Member)>::Type::value_type;
    row.kind = Details::KindOf<Type>(row);
    row.single = std::is_same_v<Type, float>;
    row.get = [](Settings const& settings) {
        return Details::ToValue(std::get<Index>(static_cast<Class const&>(settings).*Member));
    };
    row.set = [](Settings& settings, FieldValue const& value) {
        Details::FromValue(value, std::get<Index>(static_cast<Class&>(settings).*Member));
    };
    return row;
}

/// The function `Find` over settings of class S as a table holds it.
template <class S, std::string (*Find)(S const&)>
std::string FindConflictOf(Settings const& settings) {
    return Find(static_cast<S const&>(settings));
}

/// The table of a class, with keywords and, where values can contradict one another, FindConflictOf<S, F>.
/// `fields` and `keywords` have to be constants of static storage.
template <std::size_t N>
consteval SettingsTable MakeTable(std::string_view classId, std::array<Field, N> const& fields,
                                  std::string_view keywords,
                                  std::string (*findConflict)(Settings const&) = nullptr) {
    if (keywords.empty())
        throw "the class has no keywords";
    SettingsTable const table{classId, fields, keywords, findConflict};
    Details::CheckTable(table);
    return table;
}

} // namespace Tarsel::Proc
