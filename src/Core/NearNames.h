#pragma once

#include "Core/Api.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Core {

/// What someone may have meant who wrote a name that does not exist. Names are the nearer, the fewer letters
/// have to be inserted, removed, replaced or swapped with the next. Source: Damerau, 1964. Any thread.

/// Those of `names` that are a few letters away or have `name` in them, each once, the nearest first. At most
/// five.
TARSEL_API std::vector<std::string> FindNearNames(std::string_view name, std::span<std::string const> names);

/// These for the end of a message: "; did you mean a, b?", or "" when there are none.
TARSEL_API std::string NearNamesText(std::string_view name, std::span<std::string const> names);

/// Whether `word` is one of `words`, which stand with blanks between.
TARSEL_API bool HasWord(std::string_view words, std::string_view word);

} // namespace Tarsel::Core
