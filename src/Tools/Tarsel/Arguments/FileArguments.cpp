#include "Tools/Tarsel/Arguments/FileArguments.h"

#include "Core/Throw.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

namespace Tarsel::Tools {
namespace {

constexpr std::string_view s_filePrefix = "file:";
constexpr std::string_view s_standard = "-";

/// The name of the file; "-" alone is no file.
std::string StripPrefix(std::string const& name) {
    if (!name.starts_with(s_filePrefix))
        return name;
    std::string file = name.substr(s_filePrefix.size());
    return file == s_standard ? "./" + file : file;
}

template <class Value>
CLI::Option* AddFile(CLI::App& command, char const* name, Value& value, std::string const& help) {
    return command.add_option(name, value, help)->required()->option_text(" ")->transform(StripPrefix);
}

} // namespace

CLI::Option* AddInputOption(CLI::App& command, std::string& input, std::string const& help) {
    return AddFile(command, "INPUT", input, help);
}

CLI::Option* AddInputOption(CLI::App& command, std::vector<std::string>& inputs, std::string const& help) {
    return AddFile(command, "INPUT", inputs, help);
}

CLI::Option* AddOutputOption(CLI::App& command, std::string& output, std::string const& help) {
    return AddFile(command, "OUTPUT", output, help);
}

void AddFormatOptions(CLI::App& command, std::string& format, bool& overwrite) {
    command.add_option("--format", format, "Container of OUTPUT, such as mkv; \"-\" needs it")
        ->option_text("FORMAT");
    command.add_flag("--overwrite", overwrite, "Replace OUTPUT if it exists");
}

bool IsStandardOutput(std::string const& output) {
    static constexpr std::array names{s_standard, std::string_view("/dev/stdout"),
                                      std::string_view("/dev/fd/1"), std::string_view("/proc/self/fd/1")};
    std::string const name = std::filesystem::path(output).lexically_normal().string();
    return std::ranges::find(names, name) != names.end();
}

void CheckIsAlone(std::string const& output, std::string const& words) {
    if (IsStandardOutput(output))
        Core::Throw<UsageException>(
            fmt::format("Remove {}: it writes to standard output, where OUTPUT goes", words));
}

} // namespace Tarsel::Tools
