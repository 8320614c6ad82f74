#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {

/// Options of an encoder as Media takes them, from texts "KEY=VALUE" that were given with `option`.
/// UsageException, naming `example`, for a text that is none.
std::vector<std::pair<std::string, std::string>> ParseEncoderOptions(std::vector<std::string> const& texts,
                                                                     char const* option, char const* example);

} // namespace Tarsel::Tools
