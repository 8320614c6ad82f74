#include "Host/EffectStep.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/SettingsCatalogue.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <span>
#include <string_view>
#include <vector>

namespace Tarsel::Host {

namespace {

constexpr bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

constexpr bool IsQuote(char c) noexcept {
    return c == '\'' || c == '"';
}

[[noreturn]] void ThrowUnreadable(std::string const& description) {
    Core::Throw<Proc::SettingsException>(
        {"Host/EffectStep", "EffectStep Tarsel::Host::ParseEffectStep(const std::string &)"}, description);
}

/// The words between blanks, quotes and escapes taken off. Outside single quotes '\' takes the meaning from a
/// blank, a quote or a '\' after it; before anything else it stands for itself.
std::vector<std::string> SplitWords(std::string_view text) {
    std::vector<std::string> words;
    bool inWord = false;
    char quote = '\0';
    auto const append = [&](std::string_view part) {
        if (!inWord)
            words.emplace_back();
        inWord = true;
        words.back() += part;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        bool const escapes = c == '\\' && quote != '\'' && i + 1 < text.size() &&
                             (IsBlank(text[i + 1]) || IsQuote(text[i + 1]) || text[i + 1] == '\\');
        if (escapes)
            append(text.substr(++i, 1));
        else if (quote != '\0' ? c == quote : IsQuote(c)) {
            quote = quote != '\0' ? '\0' : c;
            append({});
        } else if (quote == '\0' && IsBlank(c))
            inWord = false;
        else
            append(text.substr(i, 1));
    }
    if (quote != '\0')
        ThrowUnreadable(fmt::format("A quote ({}) is opened and not closed: {}", quote, text));
    return words;
}

/// Levenshtein distance: letters to insert, remove or replace. Source: Wagner and Fischer, 1974.
std::size_t GetEditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t k = 0; k < b.size(); ++k) {
            std::size_t const replaced = diagonal + (a[i] == b[k] ? 0 : 1);
            diagonal = row[k + 1];
            row[k + 1] = std::min({replaced, row[k] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::unique_ptr<Proc::Settings> CreateSettings(std::string const& classId) {
    if (Proc::SettingsClass const* found = Proc::FindSettingsClass(classId))
        return found->create();
    auto const nearest =
        std::ranges::min(Proc::GetSettingsCatalogue(), {}, [&](Proc::SettingsClass const& known) {
            return GetEditDistance(classId, known.classId);
        });
    ThrowUnreadable(
        fmt::format("There is no effect \"{}\"; the nearest name is \"{}\"", classId, nearest.classId));
}

/// One "key=value" as Settings::Deserialize reads it.
std::string EscapeValue(std::string_view word) {
    std::string escaped;
    for (char const c : word) {
        if (c == ':' || c == '\\')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

/// Texts go into the filter's text as they stand: one with a character that FFmpeg's graph parser gives a
/// meaning to would be read as something else.
void CheckFilterTexts(Proc::Settings const& settings) {
    for (Proc::Field const& field : settings.GetFields()) {
        if (field.kind != Proc::FieldKind::Text || field.option.filter.empty())
            continue;
        std::string const value = Proc::ReadFieldText(settings, field);
        std::size_t const special = value.find_first_of("\\':,;[]");
        bool const trimmed = !value.empty() && (IsBlank(value.front()) || IsBlank(value.back()));
        if (special != std::string::npos || trimmed)
            ThrowUnreadable(fmt::format("{}: \"{}\" cannot be \"{}\": {} would change FFmpeg's filter text",
                                        settings.GetClassId(), field.key, value,
                                        special != std::string::npos ? fmt::format("'{}'", value[special])
                                                                     : "a blank at either end"));
    }
}

} // namespace

EffectStep ParseEffectStep(std::string const& text) {
    std::vector<std::string> const words = SplitWords(text);
    if (words.empty())
        ThrowUnreadable("An effect is missing: the text is empty");
    EffectStep step{words.front(), CreateSettings(words.front())};

    std::string fields;
    std::set<std::string_view> keys;
    for (std::string_view word : std::span(words).subspan(1)) {
        std::size_t const sign = word.find('=');
        if (sign == std::string_view::npos || sign == 0)
            ThrowUnreadable(fmt::format("{}: \"{}\" is no key=value", step.classId, word));
        if (!keys.insert(word.substr(0, sign)).second)
            ThrowUnreadable(fmt::format("{}: \"{}\" is given twice", step.classId, word.substr(0, sign)));
        if (!fields.empty())
            fields += ':';
        fields += EscapeValue(word);
    }
    if (!fields.empty())
        step.settings->Deserialize(fields);
    CheckFilterTexts(*step.settings);
    return step;
}

} // namespace Tarsel::Host
