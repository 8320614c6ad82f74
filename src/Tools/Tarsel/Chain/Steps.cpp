#include "Tools/Tarsel/Chain/Steps.h"

#include "Core/Text.h"
#include "Core/Throw.h"
#include "Host/AudioChain.h"
#include "Host/ChainFile.h"
#include "Host/VideoChain.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// Does `work`; what it throws leaves with the origin.
template <class Work>
decltype(auto) At(std::string const& origin, Work const& work) {
    try {
        return work();
    } catch (boost::exception& exception) {
        exception << Host::TagStep(origin);
        throw;
    }
}

/// `make` makes the effect of one step.
template <class Effect, class Make>
std::vector<Step<Effect>> MakeSteps(std::vector<AskedStep> const& steps, Make const& make) {
    std::vector<Step<Effect>> result;
    result.reserve(steps.size());
    for (AskedStep const& asked : steps)
        result.push_back(
            {At(asked.origin, [&] { return make(asked.step); }), asked.label, nullptr, asked.step.times});
    return result;
}

/// Appends the steps to a chain that nobody feeds, for what it refuses.
template <class Chain, class Effect>
void CheckTimes(std::vector<AskedStep> const& asked, std::vector<Step<Effect>> const& steps) {
    Chain chain;
    for (std::size_t i = 0; i < steps.size(); ++i)
        At(asked[i].origin,
           [&] { chain.Append(steps[i].effect, steps[i].label, steps[i].another, steps[i].times); });
}

std::string ReadText(std::string const& path) {
    struct Close {
        void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> const file(std::fopen(path.c_str(), "re"));
    std::string text;
    std::array<char, 4096> part{};
    while (file && std::feof(file.get()) == 0 && std::ferror(file.get()) == 0)
        text.append(part.data(), std::fread(part.data(), 1, part.size(), file.get()));
    if (!file || std::ferror(file.get()) != 0)
        Core::Throw<Media::InputException>(
            fmt::format("Cannot read the chain: {}", std::generic_category().message(errno)));
    return text;
}

bool IsOfKind(Effects const& effects, std::string const& classId, Host::EffectKind kind) {
    auto const* const entry = effects.registry->Find(classId, Proc::ImplNames::DEFAULT);
    return entry != nullptr && entry->GetKind() == kind;
}

SP<Proc::IOneInputEffectVideo> MakePairedEffect(Effects const& effects, Host::EffectStep step,
                                                References& references) {
    auto const reference = Host::TakeSetting(step, "reference");
    if (!reference || reference->empty())
        Core::Throw<Proc::SettingsException>(
            fmt::format("Add reference=FILE, a video or an image: {} works on two inputs", step.classId));
    auto effect = Host::MakeTwoInputVideoEffect(*effects.factory, step);
    return Host::PairEffect(std::move(effect), references.Add(*reference));
}

/// Takes the stream off the effect's name; whether there was one.
bool TakeStream(AskedStep& asked) {
    constexpr std::string_view lead = "audio:";
    std::string& classId = asked.step.classId;
    std::size_t const slash = classId.find('/');
    if (!classId.starts_with(lead) || slash == std::string::npos)
        return false;
    std::string const stream = classId.substr(lead.size(), slash - lead.size());
    auto const choice = ParseStreamChoice(stream);
    if (!choice)
        Core::Throw<Proc::SettingsException>(fmt::format(
            "Name the audio stream by number (audio:1/) or language (audio:fra/), not \"{}\"", stream));
    asked.audio = *choice;
    classId.erase(0, slash + 1);
    return true;
}

} // namespace

std::optional<Media::StreamChoice> ParseStreamChoice(std::string const& text) {
    constexpr int mostStreams = 9999;
    auto const isLetter = [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; };
    if (auto const number = Core::TextToInt64(text); number && *number >= 0 && *number <= mostStreams)
        return Media::StreamChoice::Number(static_cast<int>(*number));
    bool const isLanguage = text.size() > 1 && std::ranges::all_of(text, isLetter);
    return isLanguage ? std::optional(Media::StreamChoice::Language(text)) : std::nullopt;
}

std::vector<AskedStep> ReadSteps(StepArguments const& arguments) {
    std::vector<AskedStep> steps;
    auto const add = [&](Host::EffectStep step, std::string origin) {
        std::string label = fmt::format("step {} ({})", steps.size() + 1, step.classId);
        steps.push_back({std::move(step), std::move(origin), std::move(label)});
    };
    if (std::string const& file = arguments.chainFile; !file.empty())
        for (auto& [step, line] : At(file, [&] { return Host::ReadChain(ReadText(file)); }))
            add(std::move(step), fmt::format("{}:{}", file, line));
    for (std::string const& text : arguments.effects) {
        std::string origin = fmt::format("-e \"{}\"", text);
        add(At(origin, [&] { return Host::ParseEffectStep(text); }), origin);
    }
    return steps;
}

SortedSteps SortSteps(Effects const& effects, std::vector<AskedStep> steps) {
    SortedSteps result;
    for (AskedStep& step : steps) {
        bool const isOfStream = At(step.origin, [&] { return TakeStream(step); });
        bool const isAudio = IsOfKind(effects, step.step.classId, Host::EffectKind::Audio);
        if (isOfStream && IsOfKind(effects, step.step.classId, Host::EffectKind::Video))
            At(step.origin, [&] {
                Core::Throw<Proc::SettingsException>(
                    fmt::format("Remove the audio stream: {} works on video", step.step.classId));
            });
        (isAudio ? result.audio : result.picture).push_back(std::move(step));
    }
    return result;
}

std::vector<VideoStep> MakePictureSteps(Effects const& effects, std::vector<AskedStep> const& steps,
                                        References& references) {
    auto result = MakeSteps<Proc::IOneInputEffectVideo>(steps, [&](Host::EffectStep const& step) {
        return IsOfKind(effects, step.classId, Host::EffectKind::TwoInputVideo)
                   ? MakePairedEffect(effects, step, references)
                   : Host::MakeVideoEffect(*effects.factory, step);
    });
    for (std::size_t i = 0; i < steps.size(); ++i) {
        Host::EffectStep const& step = steps[i].step;
        if (!IsOfKind(effects, step.classId, Host::EffectKind::TwoInputVideo))
            result[i].another = [step, factory = effects.factory] {
                return Host::MakeVideoEffect(*factory, step);
            };
    }
    CheckTimes<Host::VideoChain>(steps, result);
    return result;
}

std::vector<AudioStep> MakeAudioSteps(Effects const& effects, std::vector<AskedStep> const& steps) {
    auto result = MakeSteps<Proc::IOneInputEffectAudio>(
        steps, [&](Host::EffectStep const& step) { return Host::MakeAudioEffect(*effects.factory, step); });
    for (std::size_t i = 0; i < steps.size(); ++i)
        result[i].another = [step = steps[i].step, factory = effects.factory] {
            return Host::MakeAudioEffect(*factory, step);
        };
    CheckTimes<Host::AudioChain>(steps, result);
    return result;
}

SP<Proc::IOneInputEffectVideo> MakeOrientationEffect(Effects const& effects,
                                                     Conf::DisplayMatrix const& matrix) {
    Proc::SettingsEffectDisplayMatrix const settings(matrix);
    auto effect = effects.factory->CreateVideoEffect(settings.GetClassId(), Proc::ImplNames::DEFAULT, {});
    effect->SetSettings(settings);
    return effect;
}

} // namespace Tarsel::Tools
