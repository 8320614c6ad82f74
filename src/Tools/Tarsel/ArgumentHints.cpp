#include "Tools/Tarsel/ArgumentHints.h"

#include "Core/NearNames.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

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

} // namespace

std::vector<CLI::App const*> GetVerbs(CLI::App const& app) {
    return app.get_subcommands([](CLI::App const* verb) { return !verb->get_group().empty(); });
}

std::string ListVerbs(CLI::App const& app) {
    return fmt::format("{}", fmt::join(GetVerbNames(app), ", "));
}

std::string ExplainLeftovers(CLI::App const& app) {
    std::vector<std::string> const left = app.remaining(true);
    if (left.empty())
        return {};
    std::string const& argument = left.front();
    auto const parsed = app.get_subcommands();
    CLI::App const& verb = parsed.empty() ? app : *parsed.front();
    if (argument.starts_with('-')) {
        if (LooksLikeFile(argument))
            return fmt::format("Write \"./{}\": a name that begins with '-' is taken for an option",
                               argument);
        return fmt::format("There is no option \"{}\"{}", argument,
                           Core::NearNamesText(argument, GetOptions(verb)));
    }
    if (parsed.empty()) {
        std::string const near = Core::NearNamesText(argument, GetVerbNames(app));
        return fmt::format("There is no verb \"{}\"{}", argument,
                           near.empty() ? "; the verbs are " + ListVerbs(app) : near);
    }
    if (verb.get_option_no_throw("--effect") == nullptr)
        return fmt::format("Unexpected argument \"{}\"", argument);
    if (argument.find('=') != std::string::npos)
        return fmt::format("Unexpected argument \"{0}\"; put an effect and its settings into quotes: "
                           "-e \"NAME {0}\"",
                           argument);
    return fmt::format("Unexpected argument \"{}\"; each effect wants a -e before it", argument);
}

} // namespace Tarsel::Tools
