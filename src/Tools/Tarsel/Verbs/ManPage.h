#pragma once

#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// The manual pages of the program, tarsel(1) and one for each verb, as files for man ("tarsel-run.1") and
/// what is in them, made of the same texts as its help. `date` is that of the pages, "2026-01-31".
std::vector<std::pair<std::string, std::string>> MakeManPages(CLI::App const& app, std::string const& date);

} // namespace Tarsel::Tools
