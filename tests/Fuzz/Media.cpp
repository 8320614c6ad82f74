// Any bytes as a media file, through effects into a file of any kind: done, or refused with a reason and
// without a trace.

#include "Fuzz/Fuzz.h"
#include "Fuzz/Limits.h"
#include "Host/AudioChain.h"
#include "Host/EffectSettings.h"
#include "Host/VideoChain.h"
#include "Media/Run.h"
#include "Support/TempFolder.h"

namespace Tarsel::Fuzz {
namespace {

template <class Effect>
void Append(auto& chain, Host::EffectEntry const& entry, std::mt19937& random) {
    SP<Proc::IEffect> const made = Test::CreateEffect(entry);
    SP<Effect> const effect(dynamic_cast<Effect*>(made.get()));
    if (!effect)
        return;
    auto const settings =
        Check::RandomSettings(random, Check::RandomReach::Near).Draw(effect->GetSettingsBase());
    if (Succeeds([&] { Host::SetEffectSettings(*effect, *settings); }))
        chain.Append(effect);
}

} // namespace
} // namespace Tarsel::Fuzz

TARSEL_FUZZ(draws) {
    using namespace Tarsel;
    static Test::TempFolder const s_folder;
    static std::vector<std::string> const s_extensions = Fuzz::ListExtensions();
    Fuzz::SetLimits();
    std::filesystem::current_path(s_folder.GetPath());

    Media::RunOptions options;
    options.input = s_folder / "in";
    options.output = s_folder / ("out." + draws.Pick(s_extensions));
    if (draws.OneIn(4))
        options.at = draws.Below(100) / 25.0;
    if (draws.OneIn(4))
        options.quality = draws.Pick(Media::s_everyQuality);
    options.mayLackVideo = options.mayLackAudio = draws.OneIn(2);
    auto const& entries = Test::GetFactory()->GetRegistry().GetEntries();
    Host::EffectEntry const& entry = draws.Pick(entries);
    bool const isWorked = !draws.OneIn(4);
    std::mt19937 random(draws.Byte());
    options.makeVideoEffects =
        [&](Media::VideoStreamInfo const&) -> std::unique_ptr<Proc::IEffectStreamVideo> {
        auto chain = std::make_unique<Host::VideoChain>();
        if (isWorked)
            Fuzz::Append<Proc::IOneInputEffectVideo>(*chain, entry, random);
        return chain;
    };
    options.makeAudioEffects = [&](Media::AudioStreamInfo const& info) -> Media::AudioEffects {
        auto chain = std::make_unique<Host::AudioChain>();
        if (isWorked)
            Fuzz::Append<Proc::IOneInputEffectAudio>(*chain, entry, random);
        return {std::move(chain), info.format};
    };
    // The rest, of which the end was read first.
    Test::WriteFile(options.input.GetName(), draws.Rest());
    if (!Fuzz::Succeeds<Exception>([&] { Media::Run(options); }))
        Fuzz::Require(!std::filesystem::exists(options.output), "{} was refused, and is there",
                      options.output.string());
    std::filesystem::remove_all(options.output);
    for (auto const& left : s_folder.List())
        if (left != "in") {
            Fuzz::Require(left.starts_with("out") || left.ends_with(".trf"), "{} is left behind", left);
            std::filesystem::remove_all(s_folder / left);
        }
}
