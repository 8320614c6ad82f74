#include "Tools/Tarsel/Verbs/Completion.h"

#include "Media/Run.h"
#include "Proc/Settings/Stabilize.h"
#include "Tools/Tarsel/Catalog/Catalog.h"
#include "Tools/Tarsel/Verbs/ArgumentHints.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>

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

/// "mode=wires" and the like.
Candidates ListValues(Proc::Field const& field) {
    Candidates values;
    std::string const lead = std::string(field.key) + '=';
    if (field.kind == Proc::FieldKind::Flag)
        return {{lead + "1", "on"}, {lead + "0", "off"}};
    for (Proc::FieldWord const& word : field.words)
        values.push_back({lead + std::string(word.text), std::string(word.help)});
    return values;
}

Candidates CompleteSetting(std::span<Proc::Field const> fields, std::string_view word) {
    std::size_t const sign = word.find('=');
    if (sign == std::string_view::npos)
        return ListKeys(fields);
    Proc::Field const* const field = Proc::FindField(fields, word.substr(0, sign));
    return field != nullptr ? ListValues(*field) : Candidates();
}

/// The fields of the effect; none for an unknown one.
std::span<Proc::Field const> FindFields(Catalog const& catalog, std::string_view classId) {
    auto const entry = std::ranges::find(catalog, classId, &CatalogEntry::classId);
    return entry != catalog.end() ? entry->fields : std::span<Proc::Field const>();
}

/// "flip hor": all but the last word stays as it is.
Candidates CompleteStep(Catalog const& catalog, std::string_view step) {
    std::size_t const blank = step.rfind(' ');
    if (blank == std::string_view::npos)
        return ListEffects(catalog);
    std::string const lead(step.substr(0, blank + 1));
    Candidates candidates =
        CompleteSetting(FindFields(catalog, lead.substr(0, lead.find(' '))), step.substr(blank + 1));
    for (Candidate& candidate : candidates)
        candidate.text.insert(0, lead);
    return candidates;
}

Candidates ListEncoders(bool isAudio) {
    Candidates encoders;
    for (std::string const& name : Media::ListEncoders(isAudio))
        encoders.push_back({name, ""});
    return encoders;
}

Candidates ListCandidates(CLI::App const& verb, std::string const& before, std::string_view word,
                          Catalog const& catalog) {
    if (before == "-e" || before == "--effect")
        return CompleteStep(catalog, word);
    if (before == "--video-codec" || before == "--audio-codec")
        return ListEncoders(before == "--audio-codec");
    if (word.starts_with('-'))
        return ListOptions(verb);
    if (verb.get_option_no_throw("EFFECT") != nullptr)
        return ListEffects(catalog);
    if (verb.get_option_no_throw("SETTINGS") != nullptr && !word.empty())
        return CompleteSetting(FindFields(catalog, Proc::SettingsEffectStabilizer::CLASS_ID), word);
    return {};
}

} // namespace

std::vector<Candidate> Complete(CLI::App const& app, std::vector<std::string> const& words,
                                std::string const& plugin) {
    if (words.empty())
        return OfferVerbs(app);
    // Shells hand on the quote that a word begins with.
    std::string_view word = words.back();
    if (word.starts_with('"') || word.starts_with('\''))
        word.remove_prefix(1);
    Candidates candidates;
    if (words.size() == 1)
        candidates = word.starts_with('-') ? ListOptions(app) : OfferVerbs(app);
    else if (auto const verbs = FindVerb(app, words.front()); !verbs.empty()) {
        Effects const effects = LoadEffects(plugin); // which has to outlive what the catalog shows of it
        candidates = ListCandidates(*verbs.front(), words[words.size() - 2], word, MakeCatalog(effects, {}));
    }
    std::erase_if(candidates, [&](Candidate const& each) { return !each.text.starts_with(word); });
    return candidates;
}

} // namespace Tarsel::Tools
