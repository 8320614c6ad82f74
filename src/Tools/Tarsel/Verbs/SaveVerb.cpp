#include "Core/Throw.h"
#include "Tools/Tarsel/Chain/References.h"
#include "Tools/Tarsel/Chain/Steps.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Console/WholeFile.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct SaveArguments {
    std::string output;
    StepArguments steps;
    bool overwrite = false;
};

void Save(SaveArguments const& arguments, Context const& context) {
    if (arguments.steps.IsEmpty())
        Core::Throw<UsageException>("Add -e EFFECT: there is nothing to save");
    Effects const effects = LoadEffects(context.options.plugin);
    std::vector<AskedStep> const asked = ReadSteps(arguments.steps);
    SortedSteps const sorted = SortSteps(effects, asked);
    References references; // which nobody opens
    (void)MakePictureSteps(effects, sorted.picture, references);
    (void)MakeAudioSteps(effects, sorted.audio);

    WholeFile file(arguments.output, arguments.overwrite);
    file.Write(WriteChain(asked));
    file.Publish();
}

} // namespace

Verb AddSaveVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command = app.add_subcommand("save", "Save a chain of effects in a file")->group("Verbs");
    auto const arguments = std::make_shared<SaveArguments>();
    command->add_option("FILE", arguments->output, "JSON file to write")->required()->option_text(" ");
    AddStepOptions(*command, arguments->steps);
    command->add_flag("--overwrite", arguments->overwrite, "Replace FILE if it exists");
    common.AddTo(*command);
    command->footer("All settings are checked before FILE is written. Other verbs apply its effects\n"
                    "with --chain FILE, before those of -e. chain.schema.json describes the format.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel save soft.json -e \"blur sigma=2\" -e \"noise@0-5 strength=0..20@0-5\"\n"
                    "  tarsel run in.mp4 out.mp4 --chain soft.json");
    return {command, [arguments](Context const& context) { Save(*arguments, context); }};
}

} // namespace Tarsel::Tools
