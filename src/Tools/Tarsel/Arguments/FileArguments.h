#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace Tarsel::Tools {

/// Adds INPUT. "file:" before a name makes it that of a file, whatever it looks like.
CLI::Option* AddInputOption(CLI::App& command, std::string& input, std::string const& help);
/// The same for several.
CLI::Option* AddInputOption(CLI::App& command, std::vector<std::string>& inputs, std::string const& help);
/// The same for OUTPUT.
CLI::Option* AddOutputOption(CLI::App& command, std::string& output, std::string const& help);

/// Adds "--format", the container of OUTPUT where its name does not tell, and "--overwrite".
void AddFormatOptions(CLI::App& command, std::string& format, bool& overwrite);

/// Whether what is written by this name goes to the program's standard output.
bool IsStandardOutput(std::string const& output);

/// `words` that write something else there, "--time", do not go with an output that does. UsageException.
void CheckIsAlone(std::string const& output, std::string const& words);

} // namespace Tarsel::Tools
