#include "Tools/Tarsel/Catalog/Catalog.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <unistd.h>

namespace Tarsel::Tools {
namespace {

struct ListArguments {
    std::string effect;
    bool json = false;
    bool all = false;
};

void List(ListArguments const& arguments, Context const& context) {
    Effects const effects = LoadEffects(context.options.plugin);
    auto const entries = MakeCatalog(effects, arguments.effect);
    // Narrower than this every word would have a line of its own.
    int const columns = std::max(GetTerminalColumns(STDOUT_FILENO, 80), 40);
    auto const width = static_cast<std::size_t>(columns);
    bool const isOverview = arguments.effect.empty() && !arguments.all;
    WriteOutput(arguments.json ? CatalogToJson(effects, entries)
                : isOverview   ? FormatOverview(entries, width)
                               : FormatCatalog(entries, width));
}

} // namespace

Verb AddListVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("list", "Show the effects and their parameters")->group("Verbs");
    auto const arguments = std::make_shared<ListArguments>();
    command->add_option("EFFECT", arguments->effect, "An effect, or a word to search for")->option_text(" ");
    command->add_flag("--all", arguments->all, "Show the parameters of all effects");
    command->add_flag("--json", arguments->json, "Print JSON for programs");
    common.AddTo(*command);
    command->footer("Examples:\n"
                    "  tarsel list\n"
                    "  tarsel list transpose\n"
                    "  tarsel list brightness\n"
                    "  tarsel list --json | jq -r '.effects[].id'");
    return {command, [arguments](Context const& context) { List(*arguments, context); }};
}

} // namespace Tarsel::Tools
