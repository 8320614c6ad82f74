#include "Tools/Tarsel/Preview/Variants.h"

#include "Core/Throw.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/IEffect.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Field.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

#include <sstream>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// Between values of a sweep: whole seconds, so that a third of a range is exactly that.
constexpr std::int64_t s_second = 1'000'000;

/// "sigma=0..30" becomes "sigma=0..30@0-5" for six values.
std::string GiveRangesATime(std::string const& text, int count) {
    std::string result;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::size_t const sign = word.find('=');
        bool const isRange = sign != std::string::npos && word.find("..", sign) != std::string::npos &&
                             word.find('@', sign) == std::string::npos;
        result += (result.empty() ? "" : " ") + word + (isRange ? fmt::format("@0-{}", count - 1) : "");
    }
    return result;
}

std::string DescribeStep(AskedStep const& asked, std::optional<std::int64_t> time) {
    Host::EffectStep const& step = asked.step;
    std::string text = step.classId;
    for (auto const& [key, value] : Host::ListSettings(step))
        text += value ? fmt::format(" {}={}", key, *value) : fmt::format(" {}", key);
    if (!time) {
        std::string const times = Host::Describe(step.times);
        return times.empty() ? text : fmt::format("{} ({})", text, times);
    }
    for (Host::MovingValue const& moving : step.times.moving)
        text += fmt::format(" {}={:.4g}", moving.key, moving.GetAt(*time));
    std::uint32_t const weight = step.times.GetWeight(*time);
    if (!step.times.Covers(*time))
        text += " (off)";
    else if (weight < Host::s_fullWeight)
        text += fmt::format(" ({} %)", 100 * std::uint64_t{weight} / Host::s_fullWeight);
    return text;
}

Host::EffectEntry const& FindEntry(Effects const& effects, Host::EffectStep const& step) {
    auto const* const entry = effects.registry->Find(step.classId, Proc::ImplNames::DEFAULT);
    if (entry == nullptr)
        (void)Host::MakeVideoEffect(*effects.factory, step); // says so
    return *entry;
}

/// The step with its moving values at that time of the sweep.
Host::EffectStep At(Effects const& effects, Host::EffectStep step, std::int64_t time, std::string& label) {
    auto const effect = effects.factory->Create(FindEntry(effects, step));
    auto const settings = effect->GetSettingsBase().Clone();
    (void)Host::WriteValuesAt(time, step.times.moving, *settings);
    label.clear();
    for (Host::MovingValue const& moving : std::exchange(step.times.moving, {})) {
        auto const* const field = Proc::FindField(settings->GetClassTable().fields, moving.key);
        std::string const value = Proc::ReadFieldText(*settings, *field);
        Host::AddSetting(step, moving.key, value);
        label += (label.empty() ? "" : " ") + fmt::format("{}={}", moving.key, value);
    }
    return step;
}

void AddSweep(Effects const& effects, std::vector<AskedStep> const& steps, AskedStep const& sweep, int count,
              Variants& variants) {
    for (int i = 0; i < count; ++i) {
        AskedStep step = sweep;
        step.step = At(effects, sweep.step, s_second * i, variants.labels.emplace_back());
        variants.steps.push_back(steps);
        variants.steps.back().push_back(std::move(step));
    }
}

} // namespace

std::string DescribeSteps(std::vector<AskedStep> const& steps, std::optional<std::int64_t> time) {
    std::string text;
    for (AskedStep const& step : steps)
        text += (text.empty() ? "" : " + ") + DescribeStep(step, time);
    return text;
}

Variants MakeVariants(Effects const& effects, StepArguments const& arguments, std::string const& sweep,
                      int count) {
    if (arguments.IsEmpty() && sweep.empty())
        Core::Throw<UsageException>("Add -e EFFECT: there is nothing to show");
    SortedSteps sorted = SortSteps(effects, ReadSteps(arguments));
    Variants variants;
    if (sweep.empty()) {
        variants.areAudio = sorted.picture.empty();
        variants.haveLeftOutAudio = !variants.areAudio && !sorted.audio.empty();
        variants.steps.push_back(std::move(variants.areAudio ? sorted.audio : sorted.picture));
        variants.labels.emplace_back();
        return variants;
    }
    std::string const origin = fmt::format("--sweep \"{}\"", sweep);
    Host::AtStep(origin, [&] {
        AskedStep step{Host::ParseEffectStep(GiveRangesATime(sweep, count)), origin, {}};
        step.label = fmt::format("sweep ({})", step.step.classId);
        if (step.step.times.moving.empty())
            Core::Throw<UsageException>("Give a range, such as \"blur sigma=0..30\"");
        variants.areAudio = FindEntry(effects, step.step).GetKind() == Host::EffectKind::Audio;
        variants.haveLeftOutAudio = !variants.areAudio && !sorted.audio.empty();
        AddSweep(effects, variants.areAudio ? sorted.audio : sorted.picture, step, count, variants);
    });
    return variants;
}

} // namespace Tarsel::Tools
