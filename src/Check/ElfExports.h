#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Check {

/// Names of what a shared library of this machine's kind defines for others, mangled as they stand; empty for
/// a file that is none. Source: System V ABI, chapters 4 and 5. Any thread.
std::vector<std::string> ReadExports(std::filesystem::path const& library);

} // namespace Tarsel::Check
