#include "Tools/Tarsel/Arguments/ArgumentHints.h"

#include "Core/NearNames.h"
#include "Proc/Settings/Field.h"
#include "Tools/Tarsel/Catalog/Catalog.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <system_error>
#include <vector>

namespace Tarsel::Tools {
namespace {

std::vector<std::string> GetVerbNames(CLI::App const& app) {
    std::vector<std::string> names;
    for (CLI::App const* const verb : GetVerbs(app))
        names.push_back(verb->get_name());
    return names;
}

std::vector<std::string> GetOptions(CLI::App const& verb) {
    std::vector<std::string> names;
    for (CLI::Option const* const option : verb.get_options()) {
        for (std::string const& name : option->get_lnames())
            names.push_back("--" + name);
        for (std::string const& name : option->get_snames())
            names.push_back("-" + name);
    }
    return names;
}

/// A file rather than an option: it is there, or has an extension.
bool LooksLikeFile(std::string const& argument) {
    std::error_code error;
    std::filesystem::path const path(argument);
    return !argument.starts_with("--") && (path.has_extension() || std::filesystem::exists(path, error));
}

/// The verb that was named, or the program.
CLI::App const& GetParsed(CLI::App const& app) {
    auto const parsed = app.get_subcommands();
    return parsed.empty() ? app : *parsed.front();
}

/// "INPUT", "--at SECONDS".
std::string GetForm(CLI::Option const& option) {
    return option.get_positional() ? option.get_name() : option.get_name() + ' ' + option.get_option_text();
}

/// What the verb cannot do without; "" where all is there.
std::string ExplainMissing(CLI::App const& verb) {
    std::vector<std::string> missing;
    for (CLI::Option const* const option : verb.get_options()) {
        if (option->get_required() && option->count() == 0)
            missing.push_back(GetForm(*option));
        for (CLI::Option const* const needed : option->get_needs())
            if (option->count() > 0 && needed->count() == 0)
                return fmt::format("Add {}: {} needs it", GetForm(*needed), option->get_name());
    }
    return missing.empty() ? "" : fmt::format("Add {}", fmt::join(missing, " and "));
}

/// What is wrong with the number of an option's values; "" where the parser's words name no option.
std::string ExplainMismatch(CLI::App const& verb, std::string const& words) {
    for (CLI::Option const* const option : verb.get_options()) {
        std::string const name = option->get_name();
        if (words.find(name + ':') == std::string::npos && words.find(name + ' ') == std::string::npos)
            continue;
        int const most = option->get_items_expected_max();
        if (most == 0)
            return fmt::format("Give {} no value: it is a switch", name);
        if (static_cast<int>(option->count()) > most)
            return fmt::format("Give {} once, not {} times", name, option->count());
        return fmt::format("Give {} a value: {}", name, GetForm(*option));
    }
    return {};
}

/// Of the usual plug-in: an effect, or a key of one.
bool NamesEffect(std::string const& word) {
    try {
        Effects const effects = LoadEffects({});
        return std::ranges::any_of(MakeCatalog(effects, {}), [&](CatalogEntry const& entry) {
            return entry.classId == word || Proc::FindField(entry.fields, word) != nullptr;
        });
    } catch (std::exception const&) {
        return false;
    }
}

/// "INPUT", "OUTPUT".
std::vector<std::string> GetFiles(CLI::App const& verb) {
    std::vector<std::string> names;
    for (CLI::Option const* const option : verb.get_options())
        if (option->get_positional())
            names.push_back(option->get_name());
    return names;
}

/// What its user may have meant by the first argument that fits nowhere.
std::string ExplainLeftover(CLI::App const& app, CLI::App const& verb, std::string const& argument) {
    if (argument.starts_with('-')) {
        if (LooksLikeFile(argument))
            return fmt::format("Write \"./{}\": a name that starts with '-' is taken for an option",
                               argument);
        return fmt::format("There is no option \"{}\"{}", argument,
                           Core::NearNamesText(argument, GetOptions(verb)));
    }
    if (&verb == &app) {
        std::string const near = Core::NearNamesText(argument, GetVerbNames(app));
        return fmt::format("There is no verb \"{}\"{}", argument,
                           near.empty() ? "; the verbs are " + ListVerbs(app) : near);
    }
    if (verb.get_option_no_throw("--effect") == nullptr)
        return fmt::format("Remove \"{}\": {} takes no such argument", argument, verb.get_name());
    if (argument.find('=') != std::string::npos)
        return fmt::format("Write -e \"NAME {0}\": an effect and its settings form one quoted argument",
                           argument);
    if (NamesEffect(argument))
        return fmt::format("Write -e \"{}\": each effect needs -e before it", argument);
    return fmt::format("Remove \"{}\", or quote names with spaces: {} takes {}", argument, verb.get_name(),
                       fmt::join(GetFiles(verb), " and "));
}

} // namespace

std::vector<CLI::App const*> GetVerbs(CLI::App const& app) {
    return app.get_subcommands([](CLI::App const* verb) { return !verb->get_group().empty(); });
}

std::string ListVerbs(CLI::App const& app) {
    return fmt::format("{}", fmt::join(GetVerbNames(app), ", "));
}

std::vector<std::string> ExpandHelp(CLI::App const& app, std::vector<std::string> words) {
    std::string const word = words.empty() ? "" : words.front();
    auto const verbs = app.get_subcommands([&](CLI::App const* each) { return each->get_name() == word; });
    if (word.empty() || word.starts_with('-') || !verbs.empty())
        words.emplace_back("--help");
    else if (Core::NearNamesText(word, GetVerbNames(app)).empty() || NamesEffect(word))
        words.insert(words.begin(), "list");
    return words; // a verb nearly, of which the parser says so
}

std::string ExplainParseError(CLI::App const& app, CLI::ParseError const& error) {
    CLI::App const& verb = GetParsed(app);
    std::string hint;
    std::vector<std::string> left = app.remaining(true);
    if (verb.get_allow_extras()) // names of any number
        std::erase_if(left, [](std::string const& word) { return !word.starts_with('-'); });
    if (!left.empty())
        hint = ExplainLeftover(app, verb, left.front());
    else if (dynamic_cast<CLI::RequiredError const*>(&error) != nullptr ||
             dynamic_cast<CLI::RequiresError const*>(&error) != nullptr)
        hint = ExplainMissing(verb);
    else if (dynamic_cast<CLI::ArgumentMismatch const*>(&error) != nullptr ||
             dynamic_cast<CLI::ConversionError const*>(&error) != nullptr)
        hint = ExplainMismatch(verb, error.what());
    if (hint.empty())
        hint = error.what();
    if (&verb == &app)
        return hint + "\nSee \"tarsel --help\".";
    std::string const command = "tarsel " + verb.get_name();
    std::string usage = CLI::Formatter().make_usage(&verb, command);
    return fmt::format("{}\n{}\nSee \"{} --help\".", hint, CLI::detail::trim(usage), command);
}

} // namespace Tarsel::Tools
