#include "Tools/Tarsel/Catalog/Catalog.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct ListArguments {
    std::vector<std::string> words;
    bool video = false;
    bool audio = false;
    bool twoInput = false;
    bool json = false;
    bool all = false;
};

/// Of the kinds that were asked for; of all where none were.
bool IsWanted(ListArguments const& arguments, Host::EffectKind kind) {
    bool const isTwoInput =
        kind == Host::EffectKind::TwoInputVideo || kind == Host::EffectKind::TwoInputAudio;
    bool const isAudio = kind == Host::EffectKind::Audio || kind == Host::EffectKind::TwoInputAudio;
    bool const isOfMedium = arguments.video == arguments.audio || arguments.audio == isAudio;
    return isOfMedium && (!arguments.twoInput || isTwoInput);
}

void List(ListArguments const& arguments, Context const& context) {
    Effects const effects = LoadEffects(context.options.plugin);
    auto const entries = MakeCatalog(effects, arguments.words,
                                     [&](Host::EffectKind kind) { return IsWanted(arguments, kind); });
    // Narrower than this every word would have a line of its own.
    int const columns = std::max(GetTerminalColumns(STDOUT_FILENO, 80), 40);
    auto const width = static_cast<std::size_t>(columns);
    bool const isOverview = !arguments.all && (arguments.words.empty() || entries.size() > 1);
    WriteOutput(arguments.json ? CatalogToJson(effects, entries)
                : isOverview   ? FormatOverview(entries, width)
                               : FormatCatalog(entries, width));
}

} // namespace

Verb AddListVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("list", "Show the effects and their parameters")->group("Verbs");
    auto const arguments = std::make_shared<ListArguments>();
    command->add_option("WORD", arguments->words, "An effect, or words to search for")->option_text("...");
    command->add_flag("--video", arguments->video, "Only effects on video");
    command->add_flag("--audio", arguments->audio, "Only effects on audio");
    command->add_flag("--two-input", arguments->twoInput, "Only effects on two inputs");
    command->add_flag("--all", arguments->all, "Show the parameters of all that are found");
    command->add_flag("--json", arguments->json, "Print JSON for programs");
    common.AddTo(*command);
    command->footer("Examples:\n"
                    "  tarsel list\n"
                    "  tarsel list transpose\n"
                    "  tarsel list black and white\n"
                    "  tarsel list --audio\n"
                    "  tarsel list --json | jq -r '.effects[].id'");
    return {command, [arguments](Context const& context) { List(*arguments, context); }};
}

} // namespace Tarsel::Tools
