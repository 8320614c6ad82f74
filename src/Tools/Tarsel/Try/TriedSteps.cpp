#include "Tools/Tarsel/Try/TriedSteps.h"

#include "Core/Text.h"
#include "Core/Throw.h"
#include "Host/ChainFile.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Tools/Tarsel/Catalog/Examples.h"

#include <boost/exception/get_error_info.hpp>
#include <fmt/format.h>

#include <utility>

namespace Tarsel::Tools {
namespace {

constexpr std::string_view s_labelBegin = "step ";

std::string WriteSeconds(std::int64_t microseconds) {
    return Core::NumberToText(static_cast<double>(microseconds) / 1e6);
}

std::string WriteTimes(Host::StepTimes const& times) {
    std::string text;
    if (times.IsLimited())
        text += fmt::format("@{}-{}", times.from == Host::StepTimes::s_always ? "" : WriteSeconds(times.from),
                            times.to == Host::StepTimes::s_forever ? "" : WriteSeconds(times.to));
    return times.fade == 0 ? text
                           : fmt::format("{}{}~{}", text, text.empty() ? "@-" : "", WriteSeconds(times.fade));
}

std::string WriteMoving(Host::MovingValue const& moving) {
    std::string text;
    for (Host::MovingValue::Point const& point : moving.points)
        text += fmt::format("{}{}@{}", text.empty() ? "" : ",", Core::NumberToText(point.value),
                            WriteSeconds(point.time));
    return fmt::format("{}={}{}", moving.key, text, moving.isSmooth ? ",smooth" : "");
}

std::string EscapeBlanks(std::string const& value) {
    std::string text;
    for (char const character : value)
        text += character == ' ' ? std::string("\\ ") : std::string(1, character);
    return text;
}

} // namespace

bool CanBeTried(std::string_view classId, Host::EffectKind kind) noexcept {
    bool const hasOneInput = kind == Host::EffectKind::Video || kind == Host::EffectKind::Audio;
    return hasOneInput && !WorksInTwoPasses(classId);
}

AskedStep ReadTriedStep(Effects const& effects, std::string const& json, std::size_t index) {
    // The reader tells the line of a file, and the number of the step in it.
    auto const fail = [&](std::string text) {
        constexpr std::string_view alone = "line 1: step 1";
        if (text.starts_with(alone))
            text.erase(0, alone.size());
        Core::Throw<Proc::SettingsException>(fmt::format("{}{}{}", s_labelBegin, index + 1, text));
    };
    std::vector<Host::ChainFileStep> read;
    try {
        read =
            Host::ReadChain(fmt::format(R"({{"version":{},"steps":[{}]}})", Host::s_chainFileVersion, json));
    } catch (Proc::SettingsException const& exception) {
        std::string const* const text = boost::get_error_info<TagDescription>(exception);
        fail(text != nullptr ? *text : "");
    }
    if (read.size() != 1)
        fail(" is no step");
    Host::EffectStep& step = read.front().step;
    auto const* const entry = effects.registry->Find(step.classId, Proc::ImplNames::DEFAULT);
    if (entry != nullptr && !CanBeTried(step.classId, entry->GetKind()))
        fail(fmt::format(" ({}) cannot be tried: it takes more than one input or pass", step.classId));
    std::string const label = fmt::format("{}{} ({})", s_labelBegin, index + 1, step.classId);
    return {std::move(step), label, label,
            ParseStreamChoice(read.front().stream).value_or(Media::StreamChoice())};
}

std::optional<std::size_t> FindStep(std::exception const& failure) {
    std::string const* tag = boost::get_error_info<Host::TagStep>(failure);
    if (tag == nullptr)
        tag = boost::get_error_info<TagDescription>(failure);
    if (tag == nullptr || !tag->starts_with(s_labelBegin))
        return std::nullopt;
    std::size_t const begin = s_labelBegin.size();
    auto const number =
        Core::TextToInt64(tag->substr(begin, tag->find_first_not_of("0123456789", begin) - begin));
    return number && *number > 0 ? std::optional(static_cast<std::size_t>(*number - 1)) : std::nullopt;
}

std::optional<std::string> TakeLabel(std::string_view text, std::string const& label) {
    if (!text.starts_with(label))
        return std::nullopt;
    text.remove_prefix(label.size());
    std::size_t const begin = text.find_first_not_of(": ");
    return std::string(begin == std::string_view::npos ? "" : text.substr(begin));
}

std::string WriteStep(Host::EffectStep const& step) {
    std::string text = step.classId + WriteTimes(step.times);
    for (auto const& [key, value] : Host::ListSettings(step))
        text += value ? fmt::format(" {}={}", key, EscapeBlanks(*value)) : fmt::format(" {}", key);
    for (Host::MovingValue const& moving : step.times.moving)
        text += ' ' + WriteMoving(moving);
    return text;
}

} // namespace Tarsel::Tools
