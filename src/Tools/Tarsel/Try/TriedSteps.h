#pragma once

#include "Host/EffectRegistry.h"
#include "Host/EffectStep.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Tools {

/// Whether an effect can be tried: it takes one input, and no file of its own between two passes.
bool CanBeTried(std::string_view classId, Host::EffectKind kind) noexcept;

/// A step of "steps" in chain.schema.json, as JSON. SettingsException, which begins with the step's label;
/// what the effect says of its settings turns out where it is made. Any thread.
AskedStep ReadTriedStep(Effects const& effects, std::string const& json, std::size_t index);

/// The index that a failure names with the label of a step; nothing where it names none. Any thread.
std::optional<std::size_t> FindStep(std::exception const& failure);

/// The text behind the label where it begins with one; nothing else. Any thread.
std::optional<std::string> TakeLabel(std::string_view text, std::string const& label);

/// The step as "-e" takes it. Any thread.
std::string WriteStep(Host::EffectStep const& step);

} // namespace Tarsel::Tools
