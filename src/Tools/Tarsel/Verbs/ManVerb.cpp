#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Verbs/ManPage.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

namespace Tarsel::Tools {
namespace {

struct ManArguments {
    std::string folder;
    std::string date;
};

void WritePages(CLI::App const& app, ManArguments const& arguments) {
    std::error_code error;
    std::filesystem::create_directories(arguments.folder, error);
    for (auto const& [name, text] : MakeManPages(app, arguments.date)) {
        std::filesystem::path const path = std::filesystem::path(arguments.folder) / name;
        std::ofstream file(path, std::ios::binary);
        if (!(file << text).flush())
            Core::Throw<Media::OutputException>(
                fmt::format("Cannot write \"{}\": {}", path.string(),
                            error ? error.message() : std::generic_category().message(errno)));
    }
}

} // namespace

Verb AddManVerb(CLI::App& app) {
    CLI::App* const command = app.add_subcommand("man", "Write the manual pages, for installing")->group("");
    auto const arguments = std::make_shared<ManArguments>();
    command->add_option("FOLDER", arguments->folder, "Folder of the pages")->required()->option_text(" ");
    command->add_option("--date", arguments->date, "Date of the pages, YYYY-MM-DD")
        ->required()
        ->option_text("DATE");
    return {command, [&app, arguments](Context const&) { WritePages(app, *arguments); }};
}

} // namespace Tarsel::Tools
