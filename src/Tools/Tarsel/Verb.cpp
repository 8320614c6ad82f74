#include "Tools/Tarsel/Verb.h"

#include <CLI/CLI.hpp>

namespace Tarsel::Tools {

void CommonOptions::AddTo(CLI::App& command) {
    command.add_option("--plugin", plugin, "Plug-in to load instead of the usual one")->option_text("FILE");
    command.add_flag("--verbose", verbose, "Show FFmpeg's log, and where failures come from");
}

CLI::Option* AddEffectOption(CLI::App& command, std::vector<std::string>& effects) {
    return command.add_option("-e,--effect", effects, "An effect; may be repeated, order counts")
        ->option_text("EFFECT")
        ->allow_extra_args(false);
}

} // namespace Tarsel::Tools
