#include "Tools/Tarsel/Arguments/RangeArguments.h"

#include "Core/Text.h"
#include "Core/TimeText.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace Tarsel::Tools {
namespace {

std::optional<Media::MediaTime> ParseOptional(std::string const& text) {
    return text.empty() ? std::nullopt : ParseMediaTime(text);
}

} // namespace

std::optional<Media::MediaTime> ParseMediaTime(std::string const& text) {
    if (text.ends_with('f')) {
        auto const count = Core::TextToInt64(text.substr(0, text.size() - 1));
        return count && *count >= 0 ? std::optional(Media::MediaTime::Frames(*count)) : std::nullopt;
    }
    auto const time = Core::TextToMicroseconds(text);
    return time ? std::optional(Media::MediaTime{*time}) : std::nullopt;
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
