#include "Tools/Tarsel/Arguments/BatchArguments.h"

#include "Tools/Tarsel/Arguments/MediaArguments.h"

#include <CLI/CLI.hpp>

namespace Tarsel::Tools {
namespace {

std::string CheckExtension(std::string& text) {
    text.erase(0, text.find_first_not_of('.'));
    return text.empty() || text.find('/') != std::string::npos ? "give an extension, such as png" : "";
}

} // namespace

void BatchArguments::AddTo(CLI::App& command, MediaArguments const& media) {
    CLI::Option* const output = command.get_option("OUTPUT");
    CLI::Option* const several =
        command.add_option("--out-dir", folder, "Write every INPUT, of any number, into FOLDER");
    several->option_text("FOLDER");
    // With it any number of names may follow one another, none of which is OUTPUT.
    several->each([output, &command](std::string const&) {
        output->required(false);
        command.allow_extras();
    });
    command.add_option("--out-format", format, "Extension of files in FOLDER; default: INPUT's")
        ->option_text("EXT")
        ->transform(CLI::Validator(CheckExtension, "", "extension"))
        ->needs(several);
    command.add_flag("--skip-existing", skipsExisting, "Pass over what is in FOLDER already")
        ->needs(several)
        ->excludes(command.get_option("--overwrite"));
    command.add_flag("--stop-on-error", stopsOnError, "Begin no more files once one has failed")
        ->needs(several);
    several->excludes(command.get_option("--frame-facts"));
    command.callback([this, &command, &media] {
        if (!IsWanted())
            return;
        inputs = {media.input};
        if (!media.output.empty())
            inputs.push_back(media.output);
        for (std::string const& word : command.remaining()) {
            if (word.starts_with('-'))
                throw CLI::ExtrasError({word});
            inputs.push_back(word);
        }
    });
}

} // namespace Tarsel::Tools
