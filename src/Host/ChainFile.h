#pragma once

#include "Core/Api.h"
#include "Host/EffectStep.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Host {

/// A step of a chain in a file.
struct ChainFileStep {
    EffectStep step;
    /// The audio stream that it is meant for: its number, from 0, or its language, "fra"; "" for all.
    std::string stream{};
    /// On which it begins there; not looked at by WriteChain.
    int line = 0;
};

/// The version of the format that is written, and the latest that is read.
constexpr int s_chainFileVersion = 1;

/// Reads a chain from JSON, whose schema is chain.schema.json: an object with "version" and "steps", an array
/// of objects with "effect", "settings" (numbers, texts, booleans, lists as arrays, and values that move as
/// {"points": [[SECONDS, VALUE], ...], "smooth": true}), "from", "to" and "fade" in seconds, and "stream".
/// SettingsException that names line, step and key for what is none. Whether an effect takes its settings
/// turns out where it is made (MakeVideoEffect). Any thread.
TARSEL_API std::vector<ChainFileStep> ReadChain(std::string_view json);

/// The steps as such a text. What ReadChain makes of it are the same steps. Any thread.
TARSEL_API std::string WriteChain(std::vector<ChainFileStep> const& steps);

} // namespace Tarsel::Host
