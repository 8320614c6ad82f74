#include "Tools/Tarsel/Verbs/Completion.h"

#include "Check/Check.h"
#include "Core/Files.h"
#include "Media/Run.h"
#include "Proc/Settings/Stabilize.h"
#include "Tools/Tarsel/Arguments/ArgumentHints.h"
#include "Tools/Tarsel/Catalog/Catalog.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace Tarsel::Tools {
namespace {

using Candidates = std::vector<Candidate>;
using Catalog = std::vector<CatalogEntry>;

Candidates OfferVerbs(CLI::App const& app) {
    Candidates verbs;
    for (CLI::App const* const verb : GetVerbs(app))
        verbs.push_back({verb->get_name(), verb->get_description()});
    return verbs;
}

/// One, or none.
std::vector<CLI::App const*> FindVerb(CLI::App const& app, std::string const& name) {
    return app.get_subcommands([&](CLI::App const* each) { return each->get_name() == name; });
}

Candidates ListOptions(CLI::App const& verb) {
    Candidates options;
    for (CLI::Option const* const option : verb.get_options())
        for (std::string const& name : option->get_lnames())
            options.push_back({"--" + name, option->get_description()});
    return options;
}

Candidates ListEffects(Catalog const& catalog) {
    Candidates names;
    for (CatalogEntry const& entry : catalog)
        names.push_back({entry.classId, entry.traits ? std::string(entry.traits->summary) : ""});
    return names;
}

/// "step=", or "horizontal" for a flag, which means 1 by itself.
Candidates ListKeys(std::span<Proc::Field const> fields) {
    Candidates keys;
    for (Proc::Field const& field : fields) {
        bool const isFlag = field.kind == Proc::FieldKind::Flag;
        keys.push_back({std::string(field.key) + (isFlag ? "" : "="), std::string(field.help)});
    }
    return keys;
}

/// What lies where the path begun leads; folders end in a '/'. Names with blanks would end the setting.
Candidates ListFiles(std::string_view lead, std::string_view begun) {
    std::string const folder(begun.substr(0, begun.rfind('/') + 1)); // npos + 1 is 0
    Candidates files;
    for (std::string const& name : Core::ListFolder(folder.empty() ? "." : folder)) {
        std::error_code error;
        bool const isFolder = std::filesystem::is_directory(folder + name, error);
        if (name.find(' ') == std::string::npos)
            files.push_back({std::string(lead) + folder + name + (isFolder ? "/" : ""), ""});
    }
    return files;
}

/// "mode=wires" and the like.
Candidates ListValues(Proc::Field const& field, std::string_view begun) {
    Candidates values;
    std::string const lead = std::string(field.key) + '=';
    if (field.kind == Proc::FieldKind::Flag)
        return {{lead + "1", "on"}, {lead + "0", "off"}};
    if (field.key == "path")
        return ListFiles(lead, begun);
    for (Proc::FieldWord const& word : field.words)
        values.push_back({lead + std::string(word.text), std::string(word.help)});
    return values;
}

/// What a two-input effect takes beside its settings.
constexpr std::string_view s_reference = "reference=";

Candidates CompleteSetting(CatalogEntry const& entry, std::string_view word) {
    bool const hasReference = entry.kind == Host::EffectKind::TwoInputVideo;
    if (hasReference && word.starts_with(s_reference))
        return ListFiles(s_reference, word.substr(s_reference.size()));
    std::size_t const sign = word.find('=');
    if (sign != std::string_view::npos) {
        Proc::Field const* const field = Proc::FindField(entry.fields, word.substr(0, sign));
        return field != nullptr ? ListValues(*field, word.substr(sign + 1)) : Candidates();
    }
    Candidates keys = ListKeys(entry.fields);
    if (hasReference)
        keys.push_back({std::string(s_reference), "video or image with the second frames"});
    return keys;
}

CatalogEntry FindEntry(Catalog const& catalog, std::string_view classId) {
    auto const entry = std::ranges::find(catalog, classId, &CatalogEntry::classId);
    return entry != catalog.end() ? *entry : CatalogEntry{};
}

/// "flip hor", "flip@1-2 hor": all but the last word stays as it is.
Candidates CompleteStep(Catalog const& catalog, std::string_view step) {
    std::size_t const blank = step.rfind(' ');
    if (blank == std::string_view::npos)
        return ListEffects(catalog);
    std::string const lead(step.substr(0, blank + 1));
    Candidates candidates =
        CompleteSetting(FindEntry(catalog, lead.substr(0, lead.find_first_of(" @"))), step.substr(blank + 1));
    for (Candidate& candidate : candidates)
        candidate.text.insert(0, lead);
    return candidates;
}

Candidates ToCandidates(std::vector<std::string> const& texts, std::string const& lead = {}) {
    Candidates candidates;
    for (std::string const& text : texts)
        candidates.push_back({lead + text, ""});
    return candidates;
}

Candidates ListLayouts() {
    Candidates layouts;
    void* at = nullptr;
    while (AVChannelLayout const* const layout = av_channel_layout_standard(&at)) {
        std::string name(64, '\0');
        (void)av_channel_layout_describe(layout, name.data(), name.size());
        layouts.push_back({name.c_str(), ""});
    }
    return layouts;
}

Candidates OfferChecks() {
    Candidates checks;
    for (Check::CheckInfo const& check : Check::GetChecks())
        checks.push_back({std::string(check.name), ""});
    return checks;
}

/// Values of options that stand in no list of words.
struct ValueSource {
    std::string_view option;
    Candidates (*list)(Catalog const& catalog, std::string_view word);
};

constexpr ValueSource s_valueSources[]{
    {"--effect", CompleteStep},
    {"--video-codec",
     [](Catalog const&, std::string_view) { return ToCandidates(Media::ListEncoders(false)); }},
    {"--audio-codec",
     [](Catalog const&, std::string_view) { return ToCandidates(Media::ListEncoders(true)); }},
    {"--layout", [](Catalog const&, std::string_view) { return ListLayouts(); }},
    {"--check", [](Catalog const&, std::string_view) { return OfferChecks(); }},
};

Completions CompleteValue(CLI::Option const& option, std::string_view word, Catalog const& catalog) {
    for (ValueSource const& source : s_valueSources)
        if (option.check_lname(std::string(source.option.substr(2))))
            return {source.list(catalog, word), false};
    std::string const kind = option.get_option_text();
    return {ToCandidates(GetWords(option)), kind == "FILE" || kind == "FOLDER" || kind == "PLUGIN"};
}

/// "out.m" becomes "out.mp4", "out.mkv".
Candidates CompleteExtension(std::string_view word) {
    std::size_t const dot = word.rfind('.');
    bool const isOfName = dot != std::string_view::npos && dot > 0 &&
                          word.find('/', dot) == std::string_view::npos && word[dot - 1] != '/';
    return isOfName ? ToCandidates(Media::ListExtensions(), std::string(word.substr(0, dot + 1)))
                    : Candidates();
}

/// The option that a word is the value of; null for none.
CLI::Option const* FindOption(CLI::App const& verb, std::string const& word) {
    CLI::Option const* const option = word.starts_with('-') ? verb.get_option_no_throw(word) : nullptr;
    return option != nullptr && option->get_items_expected_max() > 0 ? option : nullptr;
}

/// The argument without a name that the last word is; null where there are too many. The first of `words` is
/// the verb.
CLI::Option const* FindPositional(CLI::App const& verb, std::vector<std::string> const& words) {
    std::size_t before = 0;
    bool const areMany =
        std::ranges::any_of(words, [](std::string const& word) { return word.starts_with("--out-dir"); });
    for (std::size_t i = 1; i + 1 < words.size(); ++i)
        if (FindOption(verb, words[i]) != nullptr)
            ++i;
        else if (!words[i].starts_with('-'))
            ++before;
    for (CLI::Option const* const option : verb.get_options()) {
        if (!option->get_positional())
            continue;
        if (before == 0 || areMany || option->get_items_expected_max() > 1)
            return option;
        --before;
    }
    return nullptr;
}

Completions CompletePositional(CLI::Option const& argument, std::string_view word, Catalog const& catalog) {
    std::string const name = argument.get_name();
    if (name == "WORD")
        return {ListEffects(catalog), false};
    if (name == "SETTINGS")
        return {CompleteSetting(FindEntry(catalog, Proc::SettingsEffectStabilizer::CLASS_ID), word), false};
    return {name == "OUTPUT" ? CompleteExtension(word) : Candidates(), true};
}

Completions CompleteArgument(CLI::App const& verb, std::vector<std::string> const& words,
                             std::string_view word, Catalog const& catalog) {
    if (words.size() > 2)
        if (CLI::Option const* const option = FindOption(verb, words[words.size() - 2]))
            return CompleteValue(*option, word, catalog);
    if (word.starts_with('-'))
        return {ListOptions(verb), false};
    CLI::Option const* const argument = FindPositional(verb, words);
    return argument != nullptr ? CompletePositional(*argument, word, catalog) : Completions();
}

} // namespace

Completions Complete(CLI::App const& app, std::vector<std::string> const& words, std::string const& plugin) {
    if (words.empty())
        return {OfferVerbs(app), false};
    // Shells hand on the quote that a word begins with.
    std::string_view word = words.back();
    if (word.starts_with('"') || word.starts_with('\''))
        word.remove_prefix(1);
    Completions completions;
    if (words.size() == 1)
        completions.candidates = word.starts_with('-') ? ListOptions(app) : OfferVerbs(app);
    else if (words.front() == "help") {
        Effects const effects = LoadEffects(plugin);
        completions.candidates = OfferVerbs(app);
        for (Candidate& effect : ListEffects(MakeCatalog(effects, {})))
            completions.candidates.push_back(std::move(effect));
    } else if (auto const verbs = FindVerb(app, words.front()); !verbs.empty()) {
        Effects const effects = LoadEffects(plugin); // which has to outlive what the catalog shows of it
        completions = CompleteArgument(*verbs.front(), words, word, MakeCatalog(effects, {}));
    }
    std::erase_if(completions.candidates,
                  [&](Candidate const& each) { return !each.text.starts_with(word); });
    return completions;
}

} // namespace Tarsel::Tools
