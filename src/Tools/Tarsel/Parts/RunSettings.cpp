#include "Tools/Tarsel/Parts/RunSettings.h"

#include "Tools/Tarsel/Console/Json.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <filesystem>
#include <vector>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

/// A setting of the type and where it is kept.
template <class T>
struct Kept {
    char const* key;
    T& (*in)(RunArguments&);
};

constexpr Kept<std::string> s_keptTexts[] = {
    {"video_codec", [](RunArguments& run) -> std::string& { return run.media.video.name; }},
    {"audio_codec", [](RunArguments& run) -> std::string& { return run.media.audio.name; }},
    {"quality", [](RunArguments& run) -> std::string& { return run.media.quality; }},
    {"on_resize", [](RunArguments& run) -> std::string& { return run.media.onResize; }},
    {"normalize", [](RunArguments& run) -> std::string& { return run.normalize; }},
    {"video", [](RunArguments& run) -> std::string& { return run.media.streams.video.which; }},
    {"audio", [](RunArguments& run) -> std::string& { return run.media.streams.audio.which; }},
    {"subtitles", [](RunArguments& run) -> std::string& { return run.media.streams.subtitles.which; }},
};

constexpr Kept<std::vector<std::string>> s_keptLists[] = {
    {"video_options", [](RunArguments& run) -> std::vector<std::string>& { return run.media.video.texts; }},
    {"audio_options", [](RunArguments& run) -> std::vector<std::string>& { return run.media.audio.texts; }},
};

constexpr Kept<bool> s_keptFlags[] = {
    {"no_audio", [](RunArguments& run) -> bool& { return run.media.streams.audio.isLeftOut; }},
    {"no_subtitles", [](RunArguments& run) -> bool& { return run.media.streams.subtitles.isLeftOut; }},
    {"filters_only", [](RunArguments& run) -> bool& { return run.filtersOnly; }},
};

std::string TextOrNone(Json const& text) {
    return text.is_null() ? std::string() : text.get<std::string>();
}

} // namespace

std::string GetContainerName(std::string const& file) {
    return boost::algorithm::to_lower_copy(std::filesystem::path(file).extension().string());
}

Json SettingsToJson(RunArguments const& arguments, std::string const& plugin) {
    RunArguments run = arguments;
    Json settings{{"container", GetContainerName(run.media.output)}, {"plugin", OrNull(plugin)}};
    for (auto const& [key, in] : s_keptTexts)
        settings[key] = OrNull(in(run));
    for (auto const& [key, in] : s_keptLists)
        settings[key] = in(run);
    for (auto const& [key, in] : s_keptFlags)
        settings[key] = in(run);
    settings["chain"] = Json::parse(WriteChain(ReadSteps(run.steps)));
    return settings;
}

void ReadSettings(Json const& settings, RunArguments& arguments, std::string& plugin) {
    plugin = TextOrNone(settings.at("plugin"));
    for (auto const& [key, in] : s_keptTexts)
        in(arguments) = TextOrNone(settings.at(key));
    for (auto const& [key, in] : s_keptLists)
        in(arguments) = settings.at(key).get<std::vector<std::string>>();
    for (auto const& [key, in] : s_keptFlags)
        in(arguments) = settings.at(key).get<bool>();
    bool const hasSteps = !settings.at("chain").at("steps").empty();
    arguments.steps = {{}, {}, hasSteps ? settings.at("chain").dump() : std::string()};
}

} // namespace Tarsel::Tools
