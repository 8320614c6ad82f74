#include "Tools/Tarsel/Arguments/RunArguments.h"

#include "Tools/Tarsel/Arguments/Options.h"

#include <CLI/CLI.hpp>

namespace Tarsel::Tools {

void RunArguments::AddTo(CLI::App& command) {
    media.AddTo(command, "Video, image or audio file");
    AddStepOptions(command, steps);
    AddAtOption(command, at);
    command.add_option("--normalize", normalize, "Bring audio to a loudness, such as -16LUFS,-1dBTP")
        ->option_text("LUFS[,dBTP]");
    AddFiltersOnlyFlag(command, filtersOnly);
}

} // namespace Tarsel::Tools
