#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Verbs/Completion.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Tools {

Verb AddCompleteVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("complete", "List completions of a command line, for shells")->group("");
    auto const words = std::make_shared<std::vector<std::string>>();
    command->add_option("WORDS", *words, "The command line so far, after --");
    common.AddTo(*command);
    return {command, [&app, words](Context const& context) {
                std::string text;
                Completions const completions = Complete(app, *words, context.options.plugin);
                for (Candidate const& candidate : completions.candidates)
                    text += candidate.text + '\t' + candidate.help + '\n';
                if (completions.files)
                    text += "\tfiles\n";
                WriteOutput(text);
            }};
}

} // namespace Tarsel::Tools
