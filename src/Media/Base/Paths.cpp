#include "Media/Base/Paths.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Sequence.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <string>
#include <system_error>

#include <unistd.h>

namespace Tarsel::Media {

namespace {

namespace fs = std::filesystem;

/// "http://...", "pipe:0": letters, then a colon.
bool LooksLikeProtocol(std::string const& text) {
    auto const colon = text.find(':');
    return colon != std::string::npos && colon > 1 &&
           std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon), [](unsigned char c) {
               return std::isalnum(c) != 0 || c == '+' || c == '-' || c == '.';
           });
}

[[noreturn]] void ThrowInput(fs::path const& input, std::string const& reason) {
    Core::Throw<InputException>(fmt::format("Cannot open {}: {}", Quote(input), reason));
}

template <class E>
[[noreturn]] void ThrowOutput(fs::path const& output, std::string const& reason) {
    Core::Throw<E>(fmt::format("Cannot write {}: {}", Quote(output), reason));
}

} // namespace

void CheckInputPath(fs::path const& input) {
    if (input.empty())
        ThrowInput(input, "the name is empty");
    std::error_code error;
    fs::file_status const status = fs::status(input, error);
    if (status.type() == fs::file_type::not_found) {
        if (auto const sequence = FindSequence(input)) {
            CheckInputPath(sequence->MakePath(FindFirstNumber(*sequence)));
            return;
        }
        if (input == "-" || LooksLikeProtocol(input.string()))
            ThrowInput(input, "only files can be read, not streams or URLs");
        ThrowInput(input, GetSystemErrorText(ENOENT));
    }
    if (status.type() == fs::file_type::none)
        ThrowInput(input, error.message());
    if (status.type() == fs::file_type::directory)
        ThrowInput(input, GetSystemErrorText(EISDIR));
    if (status.type() != fs::file_type::regular)
        ThrowInput(input, "it is not a regular file");
    if (access(input.c_str(), R_OK) != 0)
        ThrowInput(input, GetSystemErrorText(errno));
    if (fs::file_size(input, error) == 0)
        ThrowInput(input, "the file is empty");
}

void CheckOutputPath(fs::path const& output, fs::path const& input, bool overwrite) {
    if (output.empty() || !output.has_filename())
        ThrowOutput<OptionsException>(output, "it names no file");
    std::error_code error;
    fs::file_status const status = fs::status(output, error);
    if (status.type() == fs::file_type::not_found) {
        if (output == "-" || LooksLikeProtocol(output.string()))
            ThrowOutput<OutputException>(output, "only files can be written, not streams or URLs");
        if (fs::is_symlink(fs::symlink_status(output, error)))
            ThrowOutput<OutputException>(output, "it is a dangling link");
    } else if (status.type() == fs::file_type::none) {
        ThrowOutput<OutputException>(output, error.message());
    } else {
        // By device and inode, so through links too.
        if (fs::equivalent(output, input, error))
            ThrowOutput<OptionsException>(output, "it is the input");
        if (status.type() == fs::file_type::directory)
            ThrowOutput<OutputException>(output, GetSystemErrorText(EISDIR));
        if (status.type() != fs::file_type::regular)
            ThrowOutput<OutputException>(output, "it is not a regular file");
        if (!overwrite)
            Core::Throw<OptionsException>(Quote(output) + " exists already", TagMissingOption("overwrite"));
    }
    fs::path const folder = output.has_parent_path() ? output.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, error))
        ThrowOutput<OutputException>(output, "there is no folder " + Quote(folder));
    if (access(folder.c_str(), W_OK) != 0)
        ThrowOutput<OutputException>(output, Quote(folder) + ": " + GetSystemErrorText(errno));
}

void CheckOutputPath(fs::path const& output, std::vector<fs::path> const& inputs, bool overwrite) {
    CheckOutputPath(output, fs::path(), overwrite);
    for (fs::path const& input : inputs)
        CheckOutputPath(output, input, overwrite);
}

} // namespace Tarsel::Media
