#pragma once

#include <filesystem>
#include <vector>

namespace Tarsel::Media {

/// Refuses what cannot be an input file: InputException for a path that names no regular file, an empty one,
/// or one that may not be read.
void CheckInputPath(std::filesystem::path const& input);

/// Refuses an output before anything is read or written: OptionsException when it is the input, also by
/// another name or link, when it exists and may not be replaced, or is no regular file; OutputException when
/// its folder cannot be written.
void CheckOutputPath(std::filesystem::path const& output, std::filesystem::path const& input, bool overwrite);
/// The same for an output made of several files, or of none.
void CheckOutputPath(std::filesystem::path const& output, std::vector<std::filesystem::path> const& inputs,
                     bool overwrite);

} // namespace Tarsel::Media
