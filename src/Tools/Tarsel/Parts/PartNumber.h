#pragma once

#include <optional>
#include <string>

namespace Tarsel::Tools {

/// Which part of how many: "3/10".
struct PartNumber {
    /// From 1.
    int number = 1;
    int count = 1;

    friend bool operator==(PartNumber const&, PartNumber const&) = default;
};

/// Nothing for a text that is none.
std::optional<PartNumber> ParsePartNumber(std::string const& text);
/// For an option's check: what is wrong with such a text, or "".
std::string CheckPartNumber(std::string const& text);
/// "part 3 of 10".
std::string ToText(PartNumber const& part);

} // namespace Tarsel::Tools
