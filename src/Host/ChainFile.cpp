#include "Host/ChainFile.h"

#include "Core/NearNames.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Core/TimeText.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

namespace Tarsel::Host {
namespace {

using Json = nlohmann::ordered_json;

using Core::s_second;

/// Characters, counting the lines that were read.
struct LineCounter {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char const&;

    char const* at = nullptr;
    int* line = nullptr;

    reference operator*() const { return *at; }
    LineCounter& operator++() {
        *line += *at == '\n' ? 1 : 0;
        ++at;
        return *this;
    }
    LineCounter operator++(int) {
        LineCounter const before = *this;
        ++*this;
        return before;
    }
    bool operator==(LineCounter const& other) const { return at == other.at; }
};

[[noreturn]] void ThrowAt(int line, std::string const& text) {
    Core::Throw<Proc::SettingsException>(fmt::format("line {}: {}", line, text));
}

/// A document, and the lines on which its objects begin and its keys stand.
class Document {
public:
    explicit Document(std::string_view text) {
        int line = 1;
        Builder builder(*this, line);
        Json::sax_parse(LineCounter{text.data(), &line}, LineCounter{text.data() + text.size(), &line},
                        &builder);
    }

    Json const& GetRoot() const noexcept { return m_root; }
    /// By a JSON pointer (RFC 6901).
    int GetLine(std::string const& pointer) const {
        auto const found = m_lines.find(pointer);
        return found != m_lines.end() ? found->second : 1;
    }

private:
    class Builder final : public nlohmann::json_sax<Json> {
    public:
        Builder(Document& document, int const& line) : m_document(document), m_line(line) {}

        bool null() override { return Put(nullptr); }
        bool boolean(bool value) override { return Put(value); }
        bool number_integer(number_integer_t value) override { return Put(value); }
        bool number_unsigned(number_unsigned_t value) override {
            if (!std::in_range<std::int64_t>(value))
                ThrowAt(m_line, fmt::format("{} is too large for a whole number", value));
            return Put(value);
        }
        bool number_float(number_float_t value, string_t const&) override { return Put(value); }
        bool string(string_t& value) override { return Put(value); }
        bool binary(binary_t&) override { return false; }
        bool start_object(std::size_t) override { return Open(Json::object()); }
        bool start_array(std::size_t) override { return Open(Json::array()); }
        bool end_object() override { return Close(); }
        bool end_array() override { return Close(); }
        bool key(string_t& value) override {
            m_key = value;
            std::string const pointer = GetPointer();
            if (m_open.back()->contains(value))
                ThrowAt(m_line, fmt::format("\"{}\" is given twice", value));
            m_document.m_lines[pointer] = m_line;
            return true;
        }
        bool parse_error(std::size_t, std::string const&, Json::exception const& error) override {
            std::string text = error.what();
            text.erase(0, std::min(text.find(": syntax error "), text.size()));
            ThrowAt(m_line, "This is not valid JSON" + text);
        }

    private:
        /// Of what comes next.
        std::string GetPointer() const {
            if (m_open.empty())
                return {};
            return m_pointers.back() + '/' +
                   (m_open.back()->is_array() ? std::to_string(m_open.back()->size()) : m_key);
        }
        Json& Add(Json value) {
            if (m_open.empty())
                return m_document.m_root = std::move(value);
            if (m_open.back()->is_array())
                return m_open.back()->emplace_back(std::move(value));
            return (*m_open.back())[m_key] = std::move(value);
        }
        bool Put(Json value) {
            Add(std::move(value));
            return true;
        }
        bool Open(Json value) {
            constexpr std::size_t mostDepth = 16;
            if (m_open.size() == mostDepth)
                ThrowAt(m_line, fmt::format("Nest no deeper than {} levels", mostDepth));
            std::string pointer = GetPointer();
            if (m_open.empty() || m_open.back()->is_array())
                m_document.m_lines[pointer] = m_line;
            m_open.push_back(&Add(std::move(value)));
            m_pointers.push_back(std::move(pointer));
            return true;
        }
        bool Close() {
            m_open.pop_back();
            m_pointers.pop_back();
            return true;
        }

        Document& m_document;
        int const& m_line;
        /// From the root to the present one, and their pointers.
        std::vector<Json*> m_open;
        std::vector<std::string> m_pointers;
        std::string m_key;
    };

    Json m_root;
    std::map<std::string, int> m_lines;
};

/// Reads one object of the document; what it throws names its line and what it is called.
class Reader {
public:
    Reader(Document const& document, Json const& object, std::string pointer, std::string name)
        : m_document(document), m_object(object), m_pointer(std::move(pointer)), m_name(std::move(name)) {
        if (!object.is_object())
            Fail("", "is not an object");
    }

    void CheckMembers(std::initializer_list<std::string_view> known) const {
        std::vector<std::string> const names(known.begin(), known.end());
        for (auto const& [key, value] : m_object.items())
            if (std::ranges::find(names, key) == names.end())
                Fail(key, fmt::format("is not a member{}", Core::NearNamesText(key, names)));
    }
    Json const* Find(std::string const& key) const {
        auto const found = m_object.find(key);
        return found != m_object.end() ? &*found : nullptr;
    }
    Json const& Get(std::string const& key) const {
        Json const* const found = Find(key);
        if (found == nullptr)
            Fail("", fmt::format("lacks \"{}\"", key));
        return *found;
    }
    std::int64_t GetTime(std::string const& key, std::int64_t otherwise) const {
        Json const* const found = Find(key);
        return found != nullptr ? ToTime(key, *found) : otherwise;
    }
    std::int64_t ToTime(std::string const& key, Json const& value) const {
        if (!value.is_number() || value.get<double>() < 0 || value.get<double>() > Core::s_longestTime)
            Fail(key, "takes seconds, 0 or more");
        return std::llround(value.get<double>() * s_second);
    }
    [[noreturn]] void Fail(std::string const& key, std::string const& what) const {
        std::string const quoted = key.empty() ? "" : fmt::format(": \"{}\"", key);
        ThrowAt(m_document.GetLine(key.empty() ? m_pointer : m_pointer + '/' + key),
                fmt::format("{}{} {}", m_name, quoted, what));
    }

private:
    Document const& m_document;
    Json const& m_object;
    std::string m_pointer;
    std::string m_name;
};

std::string NumberText(Json const& number) {
    return number.is_number_integer() ? Core::NumberToText(number.get<std::int64_t>())
                                      : Core::NumberToText(number.get<double>());
}

/// One value as settings have it in a text; nothing for what is none.
std::optional<std::string> ScalarText(Json const& value) {
    if (value.is_number())
        return NumberText(value);
    if (value.is_boolean())
        return value.get<bool>() ? "1" : "0";
    if (value.is_string())
        return value.get<std::string>();
    return std::nullopt;
}

/// Entries with '|' between them, their columns with '/'.
std::optional<std::string> ListText(Json const& list, bool isEntry) {
    std::string text;
    for (Json const& item : list) {
        bool const isNested = item.is_array() && !item.empty() && !isEntry;
        std::optional<std::string> const part = isNested ? ListText(item, true) : ScalarText(item);
        if (!part)
            return std::nullopt;
        if (&item != &list.front())
            text += isEntry || !list.front().is_array() ? "/" : "|";
        text += *part;
    }
    return text;
}

MovingValue ReadMoving(Reader const& reader, Document const& document, std::string const& key,
                       Json const& value, std::string const& pointer) {
    MovingValue moving{key, {}, false};
    Reader const object(document, value, pointer, '"' + key + '"');
    object.CheckMembers({"points", "smooth"});
    Json const& points = object.Get("points");
    auto const isPoint = [](Json const& point) {
        return point.is_array() && point.size() == 2 && point[0].is_number() && point[1].is_number();
    };
    if (!points.is_array() || points.empty() || !std::ranges::all_of(points, isPoint))
        reader.Fail(key, "takes points as [[SECONDS, VALUE], ...]");
    for (Json const& point : points)
        moving.points.push_back({reader.ToTime(key, point[0]), point[1].get<double>()});
    if (!std::ranges::is_sorted(moving.points, {}, &MovingValue::Point::time))
        reader.Fail(key, "takes points in the order of their times");
    if (Json const* const smooth = object.Find("smooth")) {
        if (!smooth->is_boolean())
            object.Fail("smooth", "is true or false");
        moving.isSmooth = smooth->get<bool>();
    }
    return moving;
}

/// "1", "fra".
std::string ReadStream(Reader const& reader) {
    Json const* const stream = reader.Find("stream");
    if (stream == nullptr)
        return {};
    bool const isNumber = stream->is_number_unsigned();
    if (!isNumber && !(stream->is_string() && !stream->get<std::string>().empty()))
        reader.Fail("stream", "takes the number of an audio stream, from 0, or its language");
    return isNumber ? stream->dump() : stream->get<std::string>();
}

ChainFileStep ReadStep(Document const& document, Json const& value, std::size_t index) {
    std::string const pointer = fmt::format("/steps/{}", index);
    std::string const name = fmt::format("step {}", index + 1);
    Reader const unnamed(document, value, pointer, name);
    Json const& effect = unnamed.Get("effect");
    if (!effect.is_string() || effect.get<std::string>().empty())
        unnamed.Fail("effect", "takes the name of an effect");
    EffectStep step{effect.get<std::string>(), {}};
    Reader const reader(document, value, pointer, fmt::format("{} ({})", name, step.classId));
    reader.CheckMembers({"effect", "stream", "settings", "from", "to", "fade"});
    step.times.from = reader.GetTime("from", StepTimes::s_always);
    step.times.to = reader.GetTime("to", StepTimes::s_forever);
    step.times.fade = reader.GetTime("fade", 0);
    if (std::string const fault = FindFault(step.times); !fault.empty())
        reader.Fail("", "has times that do not fit: " + fault);
    ChainFileStep result{{}, ReadStream(reader), document.GetLine(pointer)};
    Json const* const settings = reader.Find("settings");
    if (settings == nullptr) {
        result.step = std::move(step);
        return result;
    }
    if (!settings->is_object())
        reader.Fail("settings", "is not an object");
    Reader const inSettings(document, *settings, pointer + "/settings",
                            fmt::format("{} ({})", name, step.classId));
    for (auto const& [key, each] : settings->items()) {
        if (each.is_object()) {
            step.times.moving.push_back(
                ReadMoving(inSettings, document, key, each, pointer + "/settings/" + key));
            continue;
        }
        auto const text = each.is_array() ? ListText(each, false) : ScalarText(each);
        if (!text)
            inSettings.Fail(key, "takes a number, a text, true, false, a list or points");
        AddSetting(step, key, *text);
    }
    result.step = std::move(step);
    return result;
}

Json NumberToJson(double number) {
    auto const whole = static_cast<std::int64_t>(std::abs(number) < 1e15 ? number : 0);
    return static_cast<double>(whole) == number ? Json(whole) : Json(number);
}

Json SecondsToJson(std::int64_t microseconds) {
    return NumberToJson(static_cast<double>(microseconds) / s_second);
}

/// A number where the text is one that reads back as it was.
Json ValueToJson(std::string const& text) {
    std::optional<double> const number = Core::TextToDouble(text);
    return number && std::isfinite(*number) && NumberText(NumberToJson(*number)) == text
               ? NumberToJson(*number)
               : Json(text);
}

Json StepToJson(ChainFileStep const& inFile) {
    EffectStep const& step = inFile.step;
    Json settings = Json::object();
    for (auto const& [key, value] : ListSettings(step))
        settings[key] = value ? ValueToJson(*value) : Json(true);
    for (MovingValue const& moving : step.times.moving) {
        Json points = Json::array();
        for (MovingValue::Point const& point : moving.points)
            points.push_back({SecondsToJson(point.time), NumberToJson(point.value)});
        settings[moving.key]["points"] = std::move(points);
        if (moving.isSmooth)
            settings[moving.key]["smooth"] = true;
    }
    Json json{{"effect", step.classId}};
    if (!inFile.stream.empty())
        json["stream"] = ValueToJson(inFile.stream);
    if (!settings.empty())
        json["settings"] = std::move(settings);
    if (step.times.from != StepTimes::s_always)
        json["from"] = SecondsToJson(step.times.from);
    if (step.times.to != StepTimes::s_forever)
        json["to"] = SecondsToJson(step.times.to);
    if (step.times.fade > 0)
        json["fade"] = SecondsToJson(step.times.fade);
    return json;
}

} // namespace

std::vector<ChainFileStep> ReadChain(std::string_view json) {
    Document const document(json);
    Reader const root(document, document.GetRoot(), "", "the chain");
    root.CheckMembers({"$schema", "version", "steps"});
    Json const& version = root.Get("version");
    if (!version.is_number_integer() || version.get<std::int64_t>() < 1 ||
        version.get<std::int64_t>() > s_chainFileVersion)
        root.Fail("version", fmt::format("is at most {}, not {}", s_chainFileVersion, version.dump()));
    Json const& steps = root.Get("steps");
    if (!steps.is_array())
        root.Fail("steps", "is no array");
    std::vector<ChainFileStep> result;
    for (std::size_t i = 0; i < steps.size(); ++i)
        result.push_back(ReadStep(document, steps[i], i));
    return result;
}

std::string WriteChain(std::vector<ChainFileStep> const& steps) {
    Json list = Json::array();
    for (ChainFileStep const& step : steps)
        list.push_back(StepToJson(step));
    Json const document{{"version", s_chainFileVersion}, {"steps", std::move(list)}};
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace Tarsel::Host
