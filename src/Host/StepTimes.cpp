#include "Host/StepTimes.h"

#include "Core/Text.h"
#include "Core/Throw.h"
#include "Core/TimeText.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/Settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

namespace Tarsel::Host {
namespace {

/// The part before the separator, which goes with it; all of the text where it has none.
std::string_view Cut(std::string_view& text, std::string_view separator) {
    std::size_t const end = std::min(text.find(separator), text.size());
    std::string_view const part = text.substr(0, end);
    text.remove_prefix(std::min(end + separator.size(), text.size()));
    return part;
}

std::int64_t ReadTime(std::string_view text, std::string_view whole) {
    if (std::optional<std::int64_t> const time = Core::TextToMicroseconds(text))
        return *time;
    Core::Throw<Proc::SettingsException>(
        fmt::format("Write times as 2.5 or 1:02.5, not \"{}\" (in \"{}\")", text, whole));
}

/// "0..20@1-3", "5@2". Whether the text is one of these; what is wrong behind the '@' throws.
bool ReadPoints(std::string_view item, std::vector<MovingValue::Point>& points) {
    std::string_view const whole = item;
    if (item.find('@') == item.npos)
        return false;
    std::string_view values = Cut(item, "@");
    bool const hasTwo = values.find("..") != values.npos;
    std::optional<double> const first = Core::TextToDouble(Cut(values, ".."));
    std::optional<double> const last = hasTwo ? Core::TextToDouble(values) : first;
    if (!first || !last)
        return false;
    if ((item.find('-') != item.npos) != hasTwo)
        Core::Throw<Proc::SettingsException>(
            fmt::format("Write two values and two times, such as 0..20@1-3, or one of each, such as 5@2, not "
                        "\"{}\"",
                        whole));
    points.push_back({ReadTime(Cut(item, "-"), whole), *first});
    if (hasTwo)
        points.push_back({ReadTime(item, whole), *last});
    return true;
}

Proc::Field const& FindNumber(Proc::Settings const& settings, std::string const& key) {
    Proc::Field const* const field = Proc::FindField(settings.GetFields(), key);
    if (field == nullptr) { // says so, and what is near
        settings.Clone()->Deserialize(key + "=0");
        Core::Throw<Proc::SettingsException>(
            fmt::format("{}: there is no \"{}\"", settings.GetClassId(), key));
    }
    if (field->kind != Proc::FieldKind::Integer && field->kind != Proc::FieldKind::Real)
        Core::Throw<Proc::SettingsException>(
            fmt::format("{}: \"{}\" cannot move: only numbers can, and it is a {}", settings.GetClassId(),
                        key, Proc::GetName(field->kind)));
    return *field;
}

Proc::FieldValue MakeValue(Proc::Field const& field, double value) {
    if (field.kind == Proc::FieldKind::Integer)
        return static_cast<std::int64_t>(std::llround(value));
    return field.single ? static_cast<double>(static_cast<float>(value)) : value;
}

} // namespace

double MovingValue::GetAt(std::int64_t time) const noexcept {
    auto const after = std::ranges::upper_bound(points, time, {}, &Point::time);
    if (after == points.begin())
        return after->value;
    Point const& before = *(after - 1);
    if (after == points.end())
        return before.value;
    double const share =
        static_cast<double>(time - before.time) / static_cast<double>(after->time - before.time);
    double const eased = isSmooth ? share * share * (3 - 2 * share) : share;
    return before.value + (after->value - before.value) * eased;
}

std::uint32_t StepTimes::GetWeight(std::int64_t time) const noexcept {
    if (!Covers(time))
        return 0;
    std::int64_t inside = fade;
    if (from != s_always)
        inside = std::min(inside, time - from);
    if (to != s_forever)
        inside = std::min(inside, to - time);
    if (inside >= fade)
        return s_fullWeight;
    return static_cast<std::uint32_t>(
        std::llround(static_cast<double>(inside) / static_cast<double>(fade) * s_fullWeight));
}

StepTimes ParseStepTimes(std::string_view text) {
    std::string_view const whole = text;
    StepTimes times;
    std::string_view range = Cut(text, "~");
    if (whole.ends_with('~') || range.find('-') == range.npos || range == "-")
        Core::Throw<Proc::SettingsException>(fmt::format(
            "Write the time of a step as @2.5-7, or with a fade as @2.5-7~0.5, not \"@{}\"", whole));
    if (!text.empty())
        times.fade = ReadTime(text, whole);
    if (std::string_view const from = Cut(range, "-"); !from.empty())
        times.from = ReadTime(from, whole);
    if (!range.empty())
        times.to = ReadTime(range, whole);
    if (std::string const fault = FindFault(times); !fault.empty())
        Core::Throw<Proc::SettingsException>(fmt::format("{}: \"@{}\"", fault, whole));
    return times;
}

std::string FindFault(StepTimes const& times) {
    if (times.from >= times.to)
        return "The end of a step comes after its start";
    if (times.fade > 0 && !times.IsLimited())
        return "Say from when or to when the step works, which is to fade";
    if (times.from != StepTimes::s_always && times.to != StepTimes::s_forever &&
        times.fade > (times.to - times.from) / 2)
        return "Fade for at most half of the range, " + Core::SecondsText((times.to - times.from) / 2);
    return {};
}

bool ParseMovingValue(std::string_view text, MovingValue& moving) {
    std::string_view const whole = text;
    std::vector<MovingValue::Point> points;
    if (!ReadPoints(Cut(text, ","), points))
        return false;
    while (!text.empty()) {
        std::string_view const item = Cut(text, ",");
        if (item == "smooth" && text.empty())
            moving.isSmooth = true;
        else if (!ReadPoints(item, points))
            Core::Throw<Proc::SettingsException>(
                fmt::format("Write each point as VALUE@TIME, not \"{}\" (in \"{}\")", item, whole));
    }
    if (!std::ranges::is_sorted(points, {}, &MovingValue::Point::time))
        Core::Throw<Proc::SettingsException>(
            fmt::format("Put the points in the order of their times: \"{}\"", whole));
    moving.points = std::move(points);
    return true;
}

bool HasValuesAt(std::int64_t time, std::vector<MovingValue> const& moving, Proc::Settings const& settings) {
    return std::ranges::all_of(moving, [&](MovingValue const& value) {
        Proc::Field const& field = FindNumber(settings, value.key);
        return field.get(settings) == MakeValue(field, value.GetAt(time));
    });
}

void WriteValuesAt(std::int64_t time, std::vector<MovingValue> const& moving, Proc::Settings& settings) {
    if (moving.empty())
        return;
    for (MovingValue const& value : moving) {
        Proc::Field const& field = FindNumber(settings, value.key);
        Proc::WriteField(settings, field, MakeValue(field, value.GetAt(time)));
    }
    Proc::CheckSettings(settings);
}

void CheckMovingValues(std::vector<MovingValue> const& moving, Proc::Settings const& settings) {
    std::unique_ptr<Proc::Settings> const tried = settings.Clone();
    for (MovingValue const& value : moving)
        for (MovingValue::Point const& point : value.points)
            WriteValuesAt(point.time, moving, *tried);
}

std::string Describe(StepTimes const& times) {
    std::string text;
    auto const add = [&](std::string_view separator, std::string const& part) {
        text += text.empty() ? "" : separator;
        text += part;
    };
    if (times.from != StepTimes::s_always)
        add("", "from " + Core::SecondsText(times.from));
    if (times.to != StepTimes::s_forever)
        add(" ", "to " + Core::SecondsText(times.to));
    if (times.fade > 0)
        add(", ", "fading over " + Core::SecondsText(times.fade));
    for (MovingValue const& value : times.moving) {
        std::string const points =
            Core::Utils::ToString(value.points, " to ", [](MovingValue::Point const& point) {
                return fmt::format("{} at {}", Core::NumberToText(point.value),
                                   Core::SecondsText(point.time));
            });
        add("; ", fmt::format("{} from {}{}", value.key, points, value.isSmooth ? ", smoothly" : ""));
    }
    return text;
}

} // namespace Tarsel::Host
