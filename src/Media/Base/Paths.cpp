#include "Media/Base/Paths.h"

#include "Core/Text.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Sequence.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <sys/stat.h>
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

/// It has neither a size nor a name of its own that could be replaced.
bool IsPipe(fs::file_status const& status) noexcept {
    return status.type() == fs::file_type::fifo || status.type() == fs::file_type::character ||
           status.type() == fs::file_type::socket;
}

[[noreturn]] void ThrowInput(fs::path const& input, std::string const& reason) {
    Core::Throw<InputException>(fmt::format("Cannot open {}: {}", Quote(input), reason));
}

template <class E>
[[noreturn]] void ThrowOutput(fs::path const& output, std::string const& reason) {
    Core::Throw<E>(fmt::format("Cannot write {}: {}", Quote(output), reason));
}

/// By device and inode, so through links too; the standard library compares no FIFOs.
void CheckIsOther(fs::path const& output, fs::path const& input) {
    struct stat written {};
    struct stat read {};
    bool const areThere = stat(output.c_str(), &written) == 0 && stat(input.c_str(), &read) == 0;
    if (areThere && written.st_dev == read.st_dev && written.st_ino == read.st_ino)
        ThrowOutput<OptionsException>(output, "it is the input");
}

void CheckOutputPipe(fs::path const& output, fs::path const& input) {
    std::error_code error;
    if (output == s_standardStream)
        return;
    if (fs::is_fifo(output, error) && FindDescriptor(output, -1) < 0 && FindDescriptor(input, -1) < 0)
        CheckIsOther(output, input); // it would wait for itself
    if (access(output.c_str(), W_OK) != 0)
        ThrowOutput<OutputException>(output, GetSystemErrorText(errno));
}

} // namespace

int FindDescriptor(fs::path const& path, int standard) {
    static constexpr std::pair<char const*, int> names[] = {
        {"/dev/stdin", STDIN_FILENO}, {"/dev/stdout", STDOUT_FILENO}, {"/dev/stderr", STDERR_FILENO}};
    std::string const name = path.lexically_normal().string();
    if (name == s_standardStream)
        return standard;
    for (auto const& [stream, descriptor] : names)
        if (name == stream)
            return descriptor;
    for (std::string_view const folder : {"/dev/fd/", "/proc/self/fd/"})
        if (name.starts_with(folder))
            if (auto const number = Core::TextToInt64(name.substr(folder.size())); number && *number >= 0)
                return static_cast<int>(std::min<std::int64_t>(*number, INT_MAX));
    return -1;
}

bool IsInputPipe(fs::path const& input) {
    std::error_code error;
    return input == s_standardStream || IsPipe(fs::status(input, error));
}

bool IsOutputPipe(fs::path const& output) {
    std::error_code error;
    return FindDescriptor(output, STDOUT_FILENO) >= 0 || IsPipe(fs::status(output, error));
}

void CheckIsNoTerminal(fs::path const& output) {
    if (int const descriptor = FindDescriptor(output, STDOUT_FILENO);
        descriptor >= 0 && isatty(descriptor) == 1)
        ThrowOutput<OptionsException>(output, "it is a terminal: pipe it into a program, or redirect it");
}

void CheckInputPath(fs::path const& input) {
    if (input.empty())
        ThrowInput(input, "the name is empty");
    if (input == s_standardStream)
        return;
    std::error_code error;
    fs::file_status const status = fs::status(input, error);
    if (status.type() == fs::file_type::not_found) {
        if (auto const sequence = FindSequence(input)) {
            CheckInputPath(sequence->MakePath(FindFirstNumber(*sequence)));
            return;
        }
        if (LooksLikeProtocol(input.string()))
            ThrowInput(input, "only files and pipes can be read, not URLs");
        ThrowInput(input, GetSystemErrorText(ENOENT));
    }
    if (status.type() == fs::file_type::none)
        ThrowInput(input, error.message());
    if (status.type() == fs::file_type::directory)
        ThrowInput(input, GetSystemErrorText(EISDIR));
    if (status.type() != fs::file_type::regular && !IsPipe(status))
        ThrowInput(input, "it is neither a regular file nor a pipe");
    if (access(input.c_str(), R_OK) != 0)
        ThrowInput(input, GetSystemErrorText(errno));
    if (status.type() == fs::file_type::regular && fs::file_size(input, error) == 0)
        ThrowInput(input, "the file is empty");
}

void CheckOutputPath(fs::path const& output, fs::path const& input, bool overwrite) {
    if (output.empty() || !output.has_filename())
        ThrowOutput<OptionsException>(output, "it names no file");
    if (IsOutputPipe(output)) {
        CheckOutputPipe(output, input);
        return;
    }
    std::error_code error;
    fs::file_status const status = fs::status(output, error);
    if (status.type() == fs::file_type::not_found) {
        if (LooksLikeProtocol(output.string()))
            ThrowOutput<OutputException>(output, "only files and pipes can be written, not URLs");
        if (fs::is_symlink(fs::symlink_status(output, error)))
            ThrowOutput<OutputException>(output, "it is a dangling link");
    } else if (status.type() == fs::file_type::none) {
        ThrowOutput<OutputException>(output, error.message());
    } else {
        CheckIsOther(output, input);
        if (status.type() == fs::file_type::directory)
            ThrowOutput<OutputException>(output, GetSystemErrorText(EISDIR));
        if (status.type() != fs::file_type::regular)
            ThrowOutput<OutputException>(output, "it is neither a regular file nor a pipe");
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
