#include "Tools/Tarsel/Verbs/RangeArguments.h"

#include "Core/Text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdint>
#include <string_view>

namespace Tarsel::Tools {
namespace {

constexpr double s_mostSeconds = 1e9;

/// Digits, and for the last part of a time a fraction too.
std::optional<double> ParsePart(std::string_view text, double most, bool mayHaveFraction) {
    bool const isPlain =
        text.find_first_not_of(mayHaveFraction ? "0123456789." : "0123456789") == std::string_view::npos;
    auto const value = isPlain ? Core::TextToDouble(text) : std::nullopt;
    return value && *value <= most ? value : std::nullopt;
}

std::optional<Media::MediaTime> ParseOptional(std::string const& text) {
    return text.empty() ? std::nullopt : ParseMediaTime(text);
}

} // namespace

std::optional<Media::MediaTime> ParseMediaTime(std::string const& text) {
    if (text.ends_with('f')) {
        auto const count = Core::TextToInt64(text.substr(0, text.size() - 1));
        return count && *count >= 0 ? std::optional(Media::MediaTime::Frames(*count)) : std::nullopt;
    }
    constexpr int mostParts = 3;
    constexpr double sixty = 60;
    double seconds = 0;
    std::string_view rest = text;
    for (int part = 1; part <= mostParts; ++part) {
        std::size_t const colon = rest.find(':');
        bool const isLast = colon == std::string_view::npos;
        double const most = part == 1 ? s_mostSeconds : sixty;
        auto const value = ParsePart(rest.substr(0, colon), most, isLast);
        if (!value || (part > 1 && *value >= sixty))
            return std::nullopt;
        seconds = seconds * sixty + *value;
        if (isLast)
            return seconds <= s_mostSeconds ? std::optional(Media::MediaTime::Seconds(seconds))
                                            : std::nullopt;
        rest.remove_prefix(colon + 1);
    }
    return std::nullopt;
}

void RangeArguments::AddTo(CLI::App& command) {
    auto const check = [](std::string const& text) {
        return ParseMediaTime(text)
                   ? ""
                   : fmt::format(
                         "give seconds (2.5), a time (1:02.5 or 1:02:03.5) or frames (120f), not \"{}\"",
                         text);
    };
    command.add_option("--from", from, "Begin there: 2.5, 1:02:03.5 or 120f (frames)")
        ->option_text("TIME")
        ->check(check, "");
    command.add_option("--to", to, "End before that time or frame of INPUT")
        ->option_text("TIME")
        ->check(check, "");
    command.add_option("--duration", duration, "Length, in place of --to")
        ->option_text("TIME")
        ->check(check, "");
}

Media::TimeRange RangeArguments::MakeRange() const {
    return {ParseOptional(from), ParseOptional(to), ParseOptional(duration)};
}

} // namespace Tarsel::Tools
