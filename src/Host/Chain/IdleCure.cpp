#include "Host/Chain/IdleCure.h"

#include "Conf/DisplayMatrix.h"
#include "Conf/PixFmt.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Field.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace Tarsel::Host {
namespace {

using Proc::Field;
using Proc::FieldKind;
using Proc::FieldValue;

/// Numbers that lie within the limits, and these where there are any.
std::vector<double> SampleRange(double minimum, double maximum) {
    std::vector<double> numbers;
    for (double const number : {0.0, 1.0, 100.0, minimum, maximum, (minimum + maximum) / 2})
        numbers.push_back(std::clamp(number, std::max(minimum, -1e6), std::min(maximum, 1e6)));
    return numbers;
}

/// One entry of a list; `format` where it holds pixel formats.
std::vector<double> SampleEntry(Field const& field, Conf::PixFmt format) {
    std::vector<double> entry;
    for (Proc::FieldColumn const& column : field.columns)
        entry.push_back(column.kind == FieldKind::PixelFormat
                            ? static_cast<double>(format)
                            : SampleRange(column.minimum, column.maximum)[1]);
    return entry;
}

/// Values of the field that differ in whatever could switch something on.
std::vector<FieldValue> SampleValues(Field const& field) {
    std::vector<FieldValue> values;
    switch (field.kind) {
    case FieldKind::Flag:
        return {true, false};
    case FieldKind::Integer:
        for (double const number : SampleRange(field.minimum, field.maximum))
            values.emplace_back(static_cast<std::int64_t>(number));
        return values;
    case FieldKind::Real:
        for (double const number : SampleRange(field.minimum, field.maximum))
            values.emplace_back(number);
        return values;
    case FieldKind::Word:
    case FieldKind::Mask:
        for (Proc::FieldWord const& word : field.words)
            values.emplace_back(word.value);
        return values;
    case FieldKind::Text:
        return {std::string(), std::string("text")};
    case FieldKind::Color:
        return {Conf::PixColor{0, 0, 0, 255}, Conf::PixColor{255, 255, 255, 255}};
    case FieldKind::PixelFormat:
        return {static_cast<std::int64_t>(Conf::PixFmt::None),
                static_cast<std::int64_t>(Conf::PixFmt::GRAY8)};
    case FieldKind::ChannelLayout:
        return {std::string(), std::string("mono"), std::string("stereo")};
    case FieldKind::List:
        return {std::vector<double>(), SampleEntry(field, Conf::PixFmt::YUV420P),
                SampleEntry(field, Conf::PixFmt::RGB24)};
    case FieldKind::Matrix: {
        auto const turned = Conf::DisplayMatrix::FromOrientation(6).value();
        return {std::vector<double>(turned.words.begin(), turned.words.end())};
    }
    }
    return values;
}

struct Moved {
    std::unique_ptr<Proc::Settings> settings;
    /// The field alone, as its user has to name it.
    std::string name;
};

/// The settings with this field at each of some other values.
std::vector<Moved> MoveField(Proc::Settings const& settings, Field const& field) {
    std::vector<Moved> all;
    for (FieldValue const& value : SampleValues(field)) {
        auto moved = settings.Clone();
        try {
            WriteField(*moved, field, value);
        } catch (Proc::SettingsException const&) {
            continue; // a sample that this field does not take
        }
        bool const isFlag = field.kind == FieldKind::Flag;
        if (!moved->IsEqualTo(settings))
            all.push_back({std::move(moved), isFlag ? fmt::format("{}={}", field.key, ToText(field, value))
                                                    : std::string(field.key)});
    }
    return all;
}

/// The fields any of which ends the idleness when moved.
std::vector<std::string> FindSwitches(Proc::Settings const& settings, IsIdle const& isIdle) {
    std::vector<std::string> names;
    for (Field const& field : settings.GetFields()) {
        auto const moved = MoveField(settings, field);
        auto const working =
            std::ranges::find_if(moved, [&](Moved const& m) { return !isIdle(*m.settings); });
        if (working != moved.end())
            names.push_back(working->name);
    }
    return names;
}

/// The first two fields that do so together.
std::vector<std::string> FindPairOfSwitches(Proc::Settings const& settings, IsIdle const& isIdle) {
    for (Field const& field : settings.GetFields())
        for (Moved const& moved : MoveField(settings, field))
            if (auto const others = FindSwitches(*moved.settings, isIdle); !others.empty())
                return {fmt::format("{} and {}", moved.name, others.front())};
    return {};
}

} // namespace

std::string DescribeCure(Proc::Settings const& settings, IsIdle const& isIdle) {
    std::vector<std::string> names = FindSwitches(settings, isIdle);
    if (names.empty())
        names = FindPairOfSwitches(settings, isIdle);
    if (names.empty())
        return {};
    constexpr std::size_t most = 4;
    std::string last = names.back();
    if (names.size() > most + 1) {
        last = fmt::format("one of {} more", names.size() - most);
        names.resize(most + 1);
    }
    names.pop_back();
    std::string const before = fmt::format("{}", fmt::join(names, ", "));
    return "; set " + (before.empty() ? last : before + " or " + last);
}

} // namespace Tarsel::Host
