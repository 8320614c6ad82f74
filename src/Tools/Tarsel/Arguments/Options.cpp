#include "Tools/Tarsel/Arguments/Options.h"

#include "Core/Text.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace Tarsel::Tools {
namespace {

/// The check by which options that take words are told from others.
constexpr std::string_view s_words = "words";

/// "0.000001": without an exponent, to the microsecond.
std::string ToPlainText(double seconds) {
    std::string text = fmt::format("{:.6f}", seconds);
    text.erase(text.find_last_not_of('0') + 1);
    return text.ends_with('.') ? text.substr(0, text.size() - 1) : text;
}

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

void AddStepOptions(CLI::App& command, StepArguments& steps) {
    command.add_option("-e,--effect", steps.effects, "Effect to apply; repeat to apply several in order")
        ->option_text("EFFECT")
        ->allow_extra_args(false);
    command.add_option("--chain", steps.chainFile, "File of effects to apply first, as \"save\" writes")
        ->option_text("FILE");
}

void AddThreadsOption(CLI::App& command, std::optional<int>& threads) {
    command.add_option("--threads", threads, "Threads for all effects, and for each codec")
        ->option_text("N")
        ->check(CheckWholeNumber(1, 1024), "");
}

void AddFiltersOnlyFlag(CLI::App& command, bool& filtersOnly) {
    command.add_flag("--filters-only", filtersOnly, "Leave all work to FFmpeg's filters, for comparison");
}

void AddAtOption(CLI::App& command, std::optional<double>& at) {
    command.add_option("--at", at, "Time of the frame to write as image")
        ->option_text("SECONDS")
        ->check(CheckTime, "");
}

void AddAtOption(CLI::App& command, std::vector<double>& at) {
    command.add_option("--at", at, "Time of a frame to show; repeat to show several")
        ->option_text("SECONDS")
        ->allow_extra_args(false)
        ->check(CheckTime, "");
}

void AddSecondsOption(CLI::App& command, std::string const& name, std::optional<double>& value,
                      std::string const& help, Seconds range) {
    auto const check = [range](std::string const& text) {
        auto const seconds = Core::TextToDouble(text);
        return seconds && *seconds >= range.least && *seconds <= range.most
                   ? ""
                   : fmt::format("give a time in seconds from {} to {}, not \"{}\"", ToPlainText(range.least),
                                 ToPlainText(range.most), text);
    };
    command.add_option(name, value, help)->option_text("SECONDS")->check(check, "");
}

CLI::Option* AddWordOption(CLI::App& command, std::string const& name, std::string& value,
                           std::vector<std::string> const& words, std::string const& help) {
    std::string const list = fmt::format("{}", fmt::join(words, ", "));
    auto const check = [words, list](std::string const& text) {
        return std::ranges::find(words, text) != words.end()
                   ? ""
                   : fmt::format("give one of {}, not \"{}\"", list, text);
    };
    return command.add_option(name, value, help)
        ->option_text("WORD")
        ->check(CLI::Validator(check, list, std::string(s_words)));
}

std::vector<std::string> GetWords(CLI::Option const& option) {
    try {
        // Asking for one that is not there changes nothing.
        return CLI::detail::split_up(
            const_cast<CLI::Option&>(option).get_validator(std::string(s_words))->get_description(), ',');
    } catch (CLI::OptionNotFound const&) {
        return {};
    }
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
