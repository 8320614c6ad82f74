#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Media {

/// Those of `names` that someone who wrote `name` may have meant, the nearest first: a few letters away, or
/// with `name` in them. At most five. Source of the distance: Wagner and Fischer, 1974.
std::vector<std::string> FindNearNames(std::string_view name, std::vector<std::string> const& names);

/// "; near names: a, b", or "" when there is none.
std::string NearNamesText(std::string_view name, std::vector<std::string> const& names);

} // namespace Tarsel::Media
