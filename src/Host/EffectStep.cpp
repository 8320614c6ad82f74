#include "Host/EffectStep.h"

#include "Core/NearNames.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Host/EffectSettings.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/Settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarsel::Host {

namespace {

constexpr bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

constexpr bool IsQuote(char c) noexcept {
    return c == '\'' || c == '"';
}

[[noreturn]] void ThrowUnreadable(Core::Reason const& reason) {
    Core::Throw<Proc::SettingsException>(reason);
}

[[noreturn]] void ThrowUnusable(Core::Reason const& reason) {
    Core::Throw<Proc::SettingsException>(reason);
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
        ThrowUnreadable(fmt::format("Close the quote ({}): {}", quote, text));
    return words;
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

std::string UnescapeValue(std::string_view escaped) {
    std::string value;
    for (std::size_t i = 0; i < escaped.size(); ++i)
        value += escaped[i] == '\\' && i + 1 < escaped.size() ? escaped[++i] : escaped[i];
    return value;
}

/// The first "key=value" of those in `rest`, still escaped, which goes from there with its ':'.
std::string_view CutSetting(std::string_view& rest) {
    std::size_t end = 0;
    while (end < rest.size() && rest[end] != ':')
        end += rest[end] == '\\' ? 2 : 1;
    end = std::min(end, rest.size());
    std::string_view const word = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return word;
}

/// The word that ends in an effect of the registry where something else than a blank follows it, and what
/// should have been written: "flip horizontal" for "flip=horizontal", "blur sigma=3" for "blur=3"; "" for any
/// other word.
std::string SeparateSettings(EffectFactory const& factory, std::string const& word) {
    std::size_t const end = word.find_first_of("=:,");
    auto const isNamed = [&](EffectEntry const& entry) { return entry.classId == word.substr(0, end); };
    auto const& entries = factory.GetRegistry().GetEntries();
    auto const entry = std::ranges::find_if(entries, isNamed);
    if (end == std::string::npos || entry == entries.end())
        return {};
    std::string settings = word.substr(end + 1);
    std::ranges::replace(settings, ':', ' ');
    SP<Proc::IEffect> const effect = factory.Create(*entry);
    bool const isValue = settings.find('=') == std::string::npos && !settings.empty();
    if (!effect || !isValue || Proc::FindField(effect->GetSettingsBase().GetFields(), settings) != nullptr)
        return fmt::format("{} {}", entry->classId, settings);
    bool const isNumber = Core::TextToDouble(settings).has_value();
    auto const takesIt = [&](Proc::Field const& field) {
        bool const takesNumbers =
            field.kind == Proc::FieldKind::Integer || field.kind == Proc::FieldKind::Real;
        return isNumber ? takesNumbers : !takesNumbers && field.kind != Proc::FieldKind::Flag;
    };
    for (Proc::Field const& field : effect->GetSettingsBase().GetFields())
        if (takesIt(field))
            return fmt::format("{} {}={}", entry->classId, field.key, settings);
    return entry->classId;
}

/// The effects of the kind that people look for by such a word.
std::vector<std::string> FindByKeyword(EffectFactory const& factory, std::string const& word,
                                       EffectKind kind) {
    std::vector<std::string> found;
    for (EffectEntry const& entry : factory.GetRegistry().GetEntries()) {
        SP<Proc::IEffect> const effect = entry.GetKind() == kind ? factory.Create(entry) : nullptr;
        if (effect && Core::HasWord(effect->GetSettingsBase().GetClassTable().keywords, word))
            found.push_back('"' + entry.classId + '"');
    }
    return found;
}

/// Throws unless the registry has an effect of that class and kind.
void CheckIsThere(EffectFactory const& factory, std::string const& classId, EffectKind kind) {
    EffectRegistry const& registry = factory.GetRegistry();
    EffectEntry const* other = nullptr;
    for (EffectEntry const& entry : registry.GetEntries()) {
        if (entry.classId != classId)
            continue;
        if (entry.GetKind() == kind)
            return;
        other = &entry;
    }
    if (other != nullptr)
        ThrowUnusable(fmt::format("{} works on {} input, not on {}", classId, GetName(other->GetKind()),
                                  GetName(kind)));
    auto const& entries = registry.GetEntries();
    if (entries.empty())
        ThrowUnusable(fmt::format("There is no effect \"{}\": no effects are registered", classId));
    if (std::string const meant = SeparateSettings(factory, classId); !meant.empty())
        ThrowUnusable(fmt::format("Write \"{}\": spaces separate an effect and its settings", meant));
    if (auto const found = FindByKeyword(factory, classId, kind); !found.empty())
        ThrowUnusable(fmt::format("There is no effect \"{}\"; use {}", classId, fmt::join(found, ", ")));
    std::vector<std::string> names;
    std::ranges::transform(entries, std::back_inserter(names), &EffectEntry::classId);
    ThrowUnusable(fmt::format("There is no effect \"{}\"{}", classId, Core::NearNamesText(classId, names)));
}

/// The settings that a step in words stands for. Whoever names an effect wants it to work: one with a switch
/// is on unless the step says otherwise.
void ReadStep(EffectStep const& step, Proc::Settings& settings) {
    Proc::Field const* const enabled = Proc::FindField(settings.GetFields(), "enabled");
    if (enabled != nullptr && enabled->kind == Proc::FieldKind::Flag)
        Proc::WriteField(settings, *enabled, true);
    if (!step.settings.empty())
        settings.Deserialize(step.settings);
    CheckMovingValues(step.times.moving, settings);
    WriteValuesAt(StepTimes::s_always, step.times.moving, settings);
}

/// `create` is the factory's operation for this kind.
template <class Effect, class Create>
SP<Effect> MakeEffect(EffectFactory const& factory, EffectStep const& step, EffectKind kind,
                      Create const& create) {
    CheckIsThere(factory, step.classId, kind);
    SP<Effect> effect = (factory.*create)(step.classId, Proc::ImplNames::DEFAULT, {});
    std::unique_ptr<Proc::Settings> const settings = effect->GetSettingsBase().Clone();
    ReadStep(step, *settings);
    SetEffectSettings(*effect, *settings);
    return effect;
}

} // namespace

EffectStep ParseEffectStep(std::string const& text) {
    std::vector<std::string> const words = SplitWords(text);
    if (words.empty())
        ThrowUnreadable("Name an effect: the text is empty");
    std::size_t const at = words.front().find('@');
    EffectStep step{words.front().substr(0, at), {}};
    if (at != std::string::npos)
        step.times = ParseStepTimes(std::string_view(words.front()).substr(at + 1));
    std::set<std::string_view> keys;
    for (std::string_view word : std::span(words).subspan(1)) {
        std::size_t const sign = word.find('=');
        if (sign == 0)
            ThrowUnreadable(fmt::format("{}: \"{}\" is not key=value", step.classId, word));
        if (!keys.insert(word.substr(0, sign)).second)
            ThrowUnreadable(fmt::format("{}: \"{}\" is given twice", step.classId, word.substr(0, sign)));
        if (MovingValue moving; sign != word.npos && ParseMovingValue(word.substr(sign + 1), moving)) {
            moving.key = word.substr(0, sign);
            step.times.moving.push_back(std::move(moving));
            continue;
        }
        if (!step.settings.empty())
            step.settings += ':';
        step.settings += EscapeValue(word);
    }
    return step;
}

std::optional<std::string> TakeSetting(EffectStep& step, std::string_view key) {
    std::optional<std::string> value;
    std::string others;
    for (std::string_view rest = step.settings; !rest.empty();) {
        std::string_view const word = CutSetting(rest);
        if (word.starts_with(key) && word.substr(key.size()).starts_with('=')) {
            value = UnescapeValue(word.substr(key.size() + 1));
            continue;
        }
        if (!others.empty())
            others += ':';
        others += word;
    }
    step.settings = std::move(others);
    return value;
}

void AddSetting(EffectStep& step, std::string_view key, std::string_view value) {
    if (!step.settings.empty())
        step.settings += ':';
    step.settings += EscapeValue(fmt::format("{}={}", key, value));
}

std::vector<std::pair<std::string, std::optional<std::string>>> ListSettings(EffectStep const& step) {
    std::vector<std::pair<std::string, std::optional<std::string>>> settings;
    for (std::string_view rest = step.settings; !rest.empty();) {
        std::string const word = UnescapeValue(CutSetting(rest));
        std::size_t const sign = word.find('=');
        settings.emplace_back(word.substr(0, sign), std::nullopt);
        if (sign != std::string::npos)
            settings.back().second = word.substr(sign + 1);
    }
    return settings;
}

SP<Proc::IOneInputEffectVideo> MakeVideoEffect(EffectFactory const& factory, EffectStep const& step) {
    return MakeEffect<Proc::IOneInputEffectVideo>(factory, step, EffectKind::Video,
                                                  &EffectFactory::CreateVideoEffect);
}

SP<Proc::IOneInputEffectAudio> MakeAudioEffect(EffectFactory const& factory, EffectStep const& step) {
    return MakeEffect<Proc::IOneInputEffectAudio>(factory, step, EffectKind::Audio,
                                                  &EffectFactory::CreateAudioEffect);
}

SP<Proc::ITwoInputEffectVideo> MakeTwoInputVideoEffect(EffectFactory const& factory, EffectStep const& step) {
    return MakeEffect<Proc::ITwoInputEffectVideo>(factory, step, EffectKind::TwoInputVideo,
                                                  &EffectFactory::CreateTwoInputVideoEffect);
}

} // namespace Tarsel::Host
