#pragma once

#include <string>
#include <vector>

namespace Tarsel::Tools {

/// A word as a POSIX shell reads it: in quotes where it has characters that mean something there. Any thread.
std::string QuoteForShell(std::string const& word);

/// Words with blanks between them, likewise.
std::string QuoteForShell(std::vector<std::string> const& words);

} // namespace Tarsel::Tools
