#include "Tools/Tarsel/Arguments/SequenceArguments.h"

#include "Core/Text.h"
#include "Tools/Tarsel/Arguments/Options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <climits>
#include <cmath>

namespace Tarsel::Tools {
namespace {

constexpr std::int64_t s_mostImages = 100000;

std::string CheckRate(std::string const& text) {
    return ParseRate(text)
               ? ""
               : fmt::format("give images a second up to {}, such as 25 or 30000/1001, not \"{}\"",
                             s_mostImages, text);
}

} // namespace

std::optional<Ratio> ParseRate(std::string const& text) {
    std::size_t const bar = text.find('/');
    if (bar == std::string::npos) {
        constexpr std::int64_t parts = 1000000;
        auto const rate = Core::TextToDouble(text);
        bool const isLegal = rate && *rate >= 1.0 / parts && *rate <= static_cast<double>(s_mostImages);
        if (!isLegal)
            return std::nullopt;
        return *rate == std::floor(*rate) ? Ratio{std::llround(*rate), 1}
                                          : Ratio{std::llround(*rate * static_cast<double>(parts)), parts};
    }
    auto const numerator = Core::TextToInt64(text.substr(0, bar));
    auto const denominator = Core::TextToInt64(text.substr(bar + 1));
    bool const isLegal = numerator && denominator && *numerator > 0 && *denominator > 0 &&
                         *numerator <= INT_MAX && *denominator <= INT_MAX &&
                         *numerator / *denominator <= s_mostImages;
    return isLegal ? std::optional(Ratio{*numerator, *denominator}) : std::nullopt;
}

void SequenceArguments::AddTo(CLI::App& command) {
    command.add_option("--rate", rate, "Images a second of INPUT, a sequence; default: 25")
        ->option_text("RATE")
        ->check(CheckRate, "");
    command.add_option("--start-number", startNumber, "Of the first image of OUTPUT; default: 1")
        ->option_text("N")
        ->check(CheckWholeNumber(0, INT_MAX), "");
}

} // namespace Tarsel::Tools
