#include "Tools/Tarsel/Verbs/Verb.h"

#include "Core/Text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cmath>

namespace Tarsel::Tools {
namespace {

/// What is wrong with a time in seconds, or "".
std::string CheckTime(std::string const& text) {
    auto const seconds = Core::TextToDouble(text);
    return seconds && std::isfinite(*seconds) && *seconds >= 0
               ? ""
               : fmt::format("give a time in seconds, 0 or more, not \"{}\"", text);
}

} // namespace

void CommonOptions::AddTo(CLI::App& command) {
    command.add_option("--plugin", plugin, "Plug-in to load instead of lumenta, a file or name")
        ->option_text("PLUGIN");
    command.add_flag("--verbose", verbose, "Show FFmpeg's log and the origin of errors");
}

CLI::Option* AddEffectOption(CLI::App& command, std::vector<std::string>& effects) {
    return command.add_option("-e,--effect", effects, "Effect to apply; repeat to apply several in order")
        ->option_text("EFFECT")
        ->allow_extra_args(false);
}

void AddAtOption(CLI::App& command, std::optional<double>& at) {
    command.add_option("--at", at, "Time of the frame to write as image")
        ->option_text("SECONDS")
        ->check(CheckTime, "");
}

void AddSecondsOption(CLI::App& command, std::string const& name, std::optional<double>& value,
                      std::string const& help, Seconds range) {
    auto const check = [range](std::string const& text) {
        auto const seconds = Core::TextToDouble(text);
        return seconds && *seconds >= range.least && *seconds <= range.most
                   ? ""
                   : fmt::format("give a time in seconds from {} to {}, not \"{}\"", range.least, range.most,
                                 text);
    };
    command.add_option(name, value, help)->option_text("SECONDS")->check(check, "");
}

std::function<std::string(std::string const&)> CheckWholeNumber(int least, int most) {
    return [least, most](std::string const& text) {
        auto const number = Core::TextToInt64(text);
        return number && *number >= least && *number <= most
                   ? ""
                   : fmt::format("give a whole number from {} to {}, not \"{}\"", least, most, text);
    };
}

} // namespace Tarsel::Tools
