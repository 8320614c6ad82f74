#include "Tools/Tarsel/Arguments/StreamArguments.h"

#include "Tools/Tarsel/Chain/Steps.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <optional>
#include <string_view>

namespace Tarsel::Tools {
namespace {

constexpr std::string_view s_language = "language=";

/// "1", "language=fra".
std::optional<Media::StreamChoice> ParseWhich(std::string const& text) {
    bool const isLanguage = text.starts_with(s_language);
    auto const choice = ParseStreamChoice(isLanguage ? text.substr(s_language.size()) : text);
    bool const fits = choice && (choice->by == Media::StreamChoice::By::Language) == isLanguage;
    return fits ? choice : std::nullopt;
}

void AddKind(CLI::App& command, StreamArguments::Kind& kind, std::string const& name,
             std::string const& help) {
    CLI::Option* const which = command.add_option("--" + name, kind.which, help);
    which->option_text("WHICH")->check(CheckStreamWhich, "");
    command.add_flag("--no-" + name, kind.isLeftOut, "Leave out the " + name)->excludes(which);
}

Media::StreamChoice MakeChoice(StreamArguments::Kind const& kind) {
    return kind.isLeftOut ? Media::StreamChoice::None()
                          : ParseWhich(kind.which).value_or(Media::StreamChoice());
}

} // namespace

std::string CheckStreamWhich(std::string const& text) {
    return ParseWhich(text) ? "" : fmt::format("give a number from 0 or language=deu, not \"{}\"", text);
}

void StreamArguments::AddTo(CLI::App& command) {
    AddKind(command, video, "video", "Take one video stream, such as 0");
    AddKind(command, audio, "audio", "Take one audio stream, 1, or language=fra");
    AddKind(command, subtitles, "subtitles", "Take some subtitles, 0 or language=deu");
}

Media::StreamSelection StreamArguments::MakeSelection() const {
    return {MakeChoice(video), MakeChoice(audio), MakeChoice(subtitles)};
}

} // namespace Tarsel::Tools
