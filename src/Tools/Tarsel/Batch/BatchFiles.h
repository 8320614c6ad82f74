#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// One of several inputs, and what is made of it.
struct BatchFile {
    std::filesystem::path input;
    std::filesystem::path output;
};

/// What files are meant, in order: a folder stands for those in it whose extension is one of media files, in
/// alphabetical order, and a name with '*', '?' or '[' that is no file's for those that fit, as in a shell.
/// InputException for what is not there. Any thread.
std::vector<std::filesystem::path> FindInputs(std::vector<std::string> const& names);

/// Each input under its own name in the folder, with this extension (without dot) or, where it is "", with
/// its own. UsageException where two get the same name, or one that of an input. Any thread.
std::vector<BatchFile> NameOutputs(std::vector<std::filesystem::path> const& inputs,
                                   std::filesystem::path const& folder, std::string const& extension);

} // namespace Tarsel::Tools
