#include "Host/ChainFile.h"

#include "Core/NearNames.h"
#include "Core/Text.h"
#include "Core/TimeText.h"
#include "Host/Chain/JsonValue.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <utility>

namespace Tarsel::Host {
namespace {

using Core::s_second;

/// Reads one object; what it throws names its line and what it is called.
class Reader {
public:
    Reader(JsonValue const& object, std::string name) : m_object(object), m_name(std::move(name)) {
        if (object.As<JsonValue::Object>() == nullptr)
            Fail("", "is not an object");
    }

    void CheckMembers(std::initializer_list<std::string_view> known) const {
        std::vector<std::string> const names(known.begin(), known.end());
        for (JsonMember const& member : *m_object.As<JsonValue::Object>())
            if (std::ranges::find(names, member.key) == names.end())
                Fail(member.key, fmt::format("is not a member{}", Core::NearNamesText(member.key, names)));
    }
    JsonValue const* Find(std::string_view key) const { return m_object.Find(key); }
    JsonValue const& Get(std::string_view key) const {
        JsonValue const* const found = Find(key);
        if (found == nullptr)
            Fail("", fmt::format("lacks \"{}\"", key));
        return *found;
    }
    std::int64_t GetTime(std::string_view key, std::int64_t otherwise) const {
        JsonValue const* const found = Find(key);
        return found != nullptr ? ToTime(key, *found) : otherwise;
    }
    std::int64_t ToTime(std::string_view key, JsonValue const& value) const {
        if (!value.IsNumber() || value.ToDouble() < 0 || value.ToDouble() > Core::s_longestTime)
            Fail(key, "takes seconds, 0 or more");
        return std::llround(value.ToDouble() * s_second);
    }
    [[noreturn]] void Fail(std::string_view key, std::string const& what) const {
        JsonValue const* const member = Find(key);
        ThrowAtLine((member != nullptr ? *member : m_object).line,
                    fmt::format("{}{} {}", m_name, key.empty() ? "" : fmt::format(": \"{}\"", key), what));
    }

private:
    JsonValue const& m_object;
    std::string m_name;
};

std::string NumberText(JsonValue const& number) {
    auto const* const whole = number.As<std::int64_t>();
    return whole != nullptr ? Core::NumberToText(*whole) : Core::NumberToText(number.ToDouble());
}

/// One value as settings have it in a text; nothing for what is none.
std::optional<std::string> ScalarText(JsonValue const& value) {
    if (value.IsNumber())
        return NumberText(value);
    if (auto const* const flag = value.As<bool>())
        return *flag ? "1" : "0";
    if (auto const* const text = value.As<std::string>())
        return *text;
    return std::nullopt;
}

/// Entries with '|' between them, their columns with '/'.
std::optional<std::string> ListText(JsonValue::Array const& list, bool isEntry) {
    std::string text;
    for (JsonValue const& item : list) {
        auto const* const nested = item.As<JsonValue::Array>();
        std::optional<std::string> const part =
            nested != nullptr && !nested->empty() && !isEntry ? ListText(*nested, true) : ScalarText(item);
        if (!part)
            return std::nullopt;
        if (&item != &list.front())
            text += isEntry || list.front().As<JsonValue::Array>() == nullptr ? "/" : "|";
        text += *part;
    }
    return text;
}

MovingValue ReadMoving(Reader const& reader, JsonMember const& member) {
    MovingValue moving{member.key, {}, false};
    Reader const object(member.value, '"' + member.key + '"');
    object.CheckMembers({"points", "smooth"});
    auto const* const points = object.Get("points").As<JsonValue::Array>();
    auto const isPoint = [](JsonValue const& point) {
        auto const* const pair = point.As<JsonValue::Array>();
        return pair != nullptr && pair->size() == 2 && std::ranges::all_of(*pair, &JsonValue::IsNumber);
    };
    if (points == nullptr || points->empty() || !std::ranges::all_of(*points, isPoint))
        reader.Fail(member.key, "takes points as [[SECONDS, VALUE], ...]");
    for (JsonValue const& point : *points) {
        auto const& pair = *point.As<JsonValue::Array>();
        moving.points.push_back({reader.ToTime(member.key, pair[0]), pair[1].ToDouble()});
    }
    if (!std::ranges::is_sorted(moving.points, {}, &MovingValue::Point::time))
        reader.Fail(member.key, "takes points in the order of their times");
    if (JsonValue const* const smooth = object.Find("smooth")) {
        if (smooth->As<bool>() == nullptr)
            object.Fail("smooth", "is true or false");
        moving.isSmooth = *smooth->As<bool>();
    }
    return moving;
}

/// "1", "fra".
std::string ReadStream(Reader const& reader) {
    JsonValue const* const stream = reader.Find("stream");
    if (stream == nullptr)
        return {};
    auto const* const number = stream->As<std::int64_t>();
    auto const* const language = stream->As<std::string>();
    if ((number == nullptr || *number < 0) && (language == nullptr || language->empty()))
        reader.Fail("stream", "takes the number of an audio stream, from 0, or its language");
    return number != nullptr ? Core::NumberToText(*number) : *language;
}

ChainFileStep ReadStep(JsonValue const& value, std::size_t index) {
    std::string const name = fmt::format("step {}", index + 1);
    Reader const unnamed(value, name);
    auto const* const effect = unnamed.Get("effect").As<std::string>();
    if (effect == nullptr || effect->empty())
        unnamed.Fail("effect", "takes the name of an effect");
    EffectStep step{*effect, {}};
    std::string const fullName = fmt::format("{} ({})", name, step.classId);
    Reader const reader(value, fullName);
    reader.CheckMembers({"effect", "stream", "settings", "from", "to", "fade"});
    step.times.from = reader.GetTime("from", StepTimes::s_always);
    step.times.to = reader.GetTime("to", StepTimes::s_forever);
    step.times.fade = reader.GetTime("fade", 0);
    if (std::string const fault = FindFault(step.times); !fault.empty())
        reader.Fail("", "has times that do not fit: " + fault);
    if (JsonValue const* const settings = reader.Find("settings")) {
        auto const* const members = settings->As<JsonValue::Object>();
        if (members == nullptr)
            reader.Fail("settings", "is not an object");
        Reader const inSettings(*settings, fullName);
        for (JsonMember const& each : *members) {
            if (each.value.As<JsonValue::Object>() != nullptr) {
                step.times.moving.push_back(ReadMoving(inSettings, each));
                continue;
            }
            auto const* const list = each.value.As<JsonValue::Array>();
            auto const text = list != nullptr ? ListText(*list, false) : ScalarText(each.value);
            if (!text)
                inSettings.Fail(each.key, "takes a number, a text, true, false, a list or points");
            AddSetting(step, each.key, *text);
        }
    }
    return {std::move(step), ReadStream(reader), value.line};
}

JsonValue NumberToJson(double number) {
    auto const whole = static_cast<std::int64_t>(std::abs(number) < 1e15 ? number : 0);
    return static_cast<double>(whole) == number ? JsonValue{whole} : JsonValue{number};
}

JsonValue SecondsToJson(std::int64_t microseconds) {
    return NumberToJson(static_cast<double>(microseconds) / s_second);
}

/// A number where the text is one that reads back as it was.
JsonValue ValueToJson(std::string const& text) {
    std::optional<double> const number = Core::TextToDouble(text);
    return number && std::isfinite(*number) && NumberText(NumberToJson(*number)) == text
               ? NumberToJson(*number)
               : JsonValue{text};
}

JsonValue MovingToJson(MovingValue const& moving) {
    JsonValue json{JsonValue::Object()};
    JsonValue& points = json.Add("points", {JsonValue::Array()});
    for (MovingValue::Point const& point : moving.points) {
        JsonValue& pair = points.Add({JsonValue::Array()});
        pair.Add(SecondsToJson(point.time));
        pair.Add(NumberToJson(point.value));
    }
    if (moving.isSmooth)
        json.Add("smooth", {true});
    return json;
}

JsonValue StepToJson(ChainFileStep const& inFile) {
    EffectStep const& step = inFile.step;
    JsonValue json{JsonValue::Object()};
    json.Add("effect", {step.classId});
    if (!inFile.stream.empty())
        json.Add("stream", ValueToJson(inFile.stream));
    auto const settings = ListSettings(step);
    if (!settings.empty() || !step.times.moving.empty()) {
        JsonValue& object = json.Add("settings", {JsonValue::Object()});
        for (auto const& [key, value] : settings)
            object.Add(key, value ? ValueToJson(*value) : JsonValue{true});
        for (MovingValue const& moving : step.times.moving)
            object.Add(moving.key, MovingToJson(moving));
    }
    if (step.times.from != StepTimes::s_always)
        json.Add("from", SecondsToJson(step.times.from));
    if (step.times.to != StepTimes::s_forever)
        json.Add("to", SecondsToJson(step.times.to));
    if (step.times.fade > 0)
        json.Add("fade", SecondsToJson(step.times.fade));
    return json;
}

} // namespace

std::vector<ChainFileStep> ReadChain(std::string_view json) {
    JsonValue const document = ParseJson(json);
    Reader const root(document, "the chain");
    root.CheckMembers({"$schema", "version", "steps"});
    JsonValue const& version = root.Get("version");
    auto const* const number = version.As<std::int64_t>();
    if (number == nullptr || *number < 1 || *number > s_chainFileVersion)
        root.Fail("version", fmt::format("is a whole number of at most {}{}", s_chainFileVersion,
                                         number != nullptr ? fmt::format(", not {}", *number) : ""));
    auto const* const steps = root.Get("steps").As<JsonValue::Array>();
    if (steps == nullptr)
        root.Fail("steps", "is no array");
    std::vector<ChainFileStep> result;
    for (std::size_t i = 0; i < steps->size(); ++i)
        result.push_back(ReadStep((*steps)[i], i));
    return result;
}

std::string WriteChain(std::vector<ChainFileStep> const& steps) {
    JsonValue document{JsonValue::Object()};
    document.Add("version", {std::int64_t{s_chainFileVersion}});
    JsonValue& list = document.Add("steps", {JsonValue::Array()});
    for (ChainFileStep const& step : steps)
        list.Add(StepToJson(step));
    return WriteJson(document);
}

} // namespace Tarsel::Host
