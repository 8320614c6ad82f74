#include "Core/TemporaryPath.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/WholeFile.h"
#include "Tools/Tarsel/Gallery/Gallery.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace Tarsel::Tools {
namespace {

constexpr char const* s_page = "index.html";

struct GalleryArguments {
    /// Input and folder, or the folder alone.
    std::vector<std::string> files;
};

/// What may be replaced: nothing, an empty folder, or a gallery with nothing else in it.
void CheckFolder(std::filesystem::path const& folder) {
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(folder, error)))
        return;
    auto const refuse = [&](std::string const& why) {
        Core::Throw<Media::OptionsException>(
            fmt::format("Choose another folder: \"{}\" {}", folder.string(), why));
    };
    if (!std::filesystem::is_directory(std::filesystem::symlink_status(folder, error)))
        refuse("is not a folder");
    std::ifstream file(folder / s_page);
    std::string const page{std::istreambuf_iterator<char>(file), {}};
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        std::string const name = entry.path().filename().string();
        if (page.find(s_galleryMark) == std::string::npos)
            refuse("exists and is not a gallery");
        if (name != s_page && page.find("src=\"" + name + '"') == std::string::npos)
            refuse(fmt::format("also holds \"{}\", which is not of the gallery", name));
    }
}

/// Gives the new folder its name; the old one goes only then.
void Replace(std::filesystem::path const& made, std::filesystem::path const& folder) {
    Core::TemporaryPath old(made.string() + "-old");
    std::error_code error;
    if (std::filesystem::exists(folder))
        std::filesystem::rename(folder, old.Get(), error);
    if (!error)
        std::filesystem::rename(made, folder, error);
    if (!error)
        return;
    std::error_code lost;
    if (!std::filesystem::exists(folder))
        std::filesystem::rename(old.Get(), folder, lost);
    if (lost)
        old.Keep();
    Core::Throw<Media::OutputException>(
        fmt::format("Cannot write \"{}\": {}", folder.string(), error.message()));
}

void MakeGallery(GalleryArguments const& arguments, Context const& context) {
    std::filesystem::path const folder = std::filesystem::path(arguments.files.back() + '/').parent_path();
    std::string const input = arguments.files.size() > 1 ? arguments.files.front() : "";
    Media::Input const material(input, Media::Passes::Several);
    CheckFolder(folder);
    Effects const effects = LoadEffects(context.options.plugin);
    Core::TemporaryPath made(folder.parent_path() /
                             fmt::format(".{}.tmp-{}", folder.filename().string(), getpid()));
    std::error_code error;
    std::filesystem::create_directory(made.Get(), error);
    if (error)
        Core::Throw<Media::OutputException>(
            fmt::format("Cannot write \"{}\": {}", folder.string(), error.message()));
    WholeFile page(made.Get() / s_page, false);
    page.Write(MakePage(MakeShots(effects, material, made.Get(), context.stop), input));
    page.Publish();
    Replace(made.Get(), folder);
    made.Keep();
    context.console.PrintNotes(material.GetNotes());
}

} // namespace

Verb AddGalleryVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("gallery", "Make a page that shows all effects")->group("Verbs");
    auto const arguments = std::make_shared<GalleryArguments>();
    command->add_option("FOLDER", arguments->files, "Folder to write; before it, what to read")
        ->required()
        ->expected(1, 2)
        ->option_text(" ");
    common.AddTo(*command);
    command->footer("Writes FOLDER/index.html, a page that needs no network, with its pictures and\n"
                    "audio: every effect before and after, its command line and its parameters.\n"
                    "Without INPUT, a video, image or audio file, the material is computed. FOLDER\n"
                    "appears when it is complete; a gallery that is there is replaced, any other\n"
                    "folder refused.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel gallery effects\n"
                    "  tarsel gallery holiday.mp4 effects");
    return {command, [arguments](Context const& context) { MakeGallery(*arguments, context); }};
}

} // namespace Tarsel::Tools
