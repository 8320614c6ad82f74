#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace Tarsel::Tools {

/// A text; null for "".
inline nlohmann::ordered_json OrNull(std::string const& text) {
    return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

} // namespace Tarsel::Tools
