#pragma once

#include "Core/Ratio.h"

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// "25", "23.976", "30000/1001"; nothing for texts that are no rate above 0.
std::optional<Ratio> ParseRate(std::string const& text);

/// How sequences of images are read and written, as a verb's user writes it.
struct SequenceArguments {
    /// "": the usual one.
    std::string rate;
    std::int64_t startNumber = 1;

    /// Adds the options to a verb's; this object has to outlive the parsing.
    void AddTo(CLI::App& command);
    /// Images a second; 0/1: the usual rate.
    Ratio MakeRate() const { return ParseRate(rate).value_or(Ratio()); }
};

} // namespace Tarsel::Tools
