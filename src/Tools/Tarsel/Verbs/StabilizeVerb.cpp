#include "Core/Throw.h"
#include "Host/EffectStep.h"
#include "Host/VideoChain.h"
#include "Media/Analyze.h"
#include "Media/Run.h"
#include "Proc/Settings/Stabilize.h"
#include "Tools/Tarsel/Arguments/MediaArguments.h"
#include "Tools/Tarsel/Chain/ChainMaker.h"
#include "Tools/Tarsel/Chain/PrivateFolder.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/MediaWork.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct StabilizeArguments {
    MediaArguments media;
    std::vector<std::string> settings;
};

/// Settings of the effect that this verb gives itself.
constexpr std::array<std::string_view, 3> s_ownKeys{"enabled", "detect", "path"};

/// The effect's settings as the user wrote them, "key=value:key=value". UsageException.
Host::EffectStep MakeStep(std::vector<std::string> const& settings) {
    for (std::string const& setting : settings)
        if (std::ranges::find(s_ownKeys, setting.substr(0, setting.find('='))) != s_ownKeys.end())
            Core::Throw<UsageException>(
                fmt::format("Remove \"{}\": stabilize runs both passes itself", setting));
    std::string text = Proc::SettingsEffectStabilizer::CLASS_ID;
    for (std::string const& setting : settings)
        text += " \"" + setting + '"';
    return Host::ParseEffectStep(text);
}

/// The effect for one of the passes.
SP<Proc::IOneInputEffectVideo> MakeEffect(Effects const& effects, Host::EffectStep step,
                                          std::filesystem::path const& motions, bool isFirstPass) {
    if (!step.settings.empty())
        step.settings += ':';
    step.settings += fmt::format("enabled=1:detect={}:path={}", isFirstPass ? 1 : 0, motions.string());
    return Host::MakeVideoEffect(*effects.factory, step);
}

void Stabilize(StabilizeArguments const& arguments, Context const& context) {
    Media::RunOptions options = arguments.media.MakeRunOptions();
    Host::EffectStep const step = MakeStep(arguments.settings);
    ChainMaker maker(LoadEffects(context.options.plugin));
    MediaWork work(arguments.media, context);
    PrivateFolder const folder;
    std::filesystem::path const motions = folder.GetPath() / "motions.trf";
    auto const detect = MakeEffect(maker.GetEffects(), step, motions, true);
    auto const transform = MakeEffect(maker.GetEffects(), step, motions, false);
    auto const makeChain = [&](SP<Proc::IOneInputEffectVideo> const& effect) {
        return [&](Media::VideoStreamInfo const& stream) {
            return maker.Make(stream, {{effect, {}, nullptr}});
        };
    };
    options.input = Media::Input(options.input.GetName(), Media::Passes::Several);
    Media::CheckRun(options);
    // The file of motions is complete when the stream through the first effect has ended.
    Media::Analyze({options.input, makeChain(detect), options.streams, options.range, options.onResize,
                    work.ShowProgress(0, 2), options.imageRate},
                   context.stop);
    maker.FitTo(options);
    options.makeVideoEffects = makeChain(transform);
    work.Attach(options, 2);
    Media::RunResult const result = Media::Run(options, context.stop);
    std::vector<std::string> notes = maker.GetNotes();
    for (std::string& note : options.input.GetNotes())
        notes.push_back(std::move(note));
    work.Tell(result, notes);
}

} // namespace

Verb AddStabilizeVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("stabilize", "Remove camera shake from a video")->group("Verbs");
    auto const arguments = std::make_shared<StabilizeArguments>();
    arguments->media.AddTo(*command, "Video");
    command->add_option("SETTINGS", arguments->settings, "Settings of its effect, such as smoothing=30")
        ->option_text("KEY=VALUE...");
    common.AddTo(*command);
    command->footer("Reads the video twice: first to detect the camera motion, then to remove it.\n"
                    "\"tarsel list stabilizer\" shows the settings.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel stabilize shaky.mp4 steady.mp4\n"
                    "  tarsel stabilize shaky.mov steady.mkv shakiness=8 smoothing=30 crop=black");
    return {command, [arguments](Context const& context) { Stabilize(*arguments, context); }};
}

} // namespace Tarsel::Tools
