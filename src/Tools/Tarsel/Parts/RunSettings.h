#pragma once

#include "Tools/Tarsel/Arguments/RunArguments.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Tarsel::Tools {

/// What decides of the output of a run: its chain, encoders, streams and container, as a part's description
/// has it ("run" in Schemas/part.schema.json). Threads and what is reported do not. Throws as ReadSteps.
nlohmann::ordered_json SettingsToJson(RunArguments const& arguments, std::string const& plugin);

/// The same back; files, threads and what is reported stay. nlohmann::json::exception for other JSON.
void ReadSettings(nlohmann::ordered_json const& settings, RunArguments& arguments, std::string& plugin);

/// The extension by which the container is known, in small letters: ".mkv".
std::string GetContainerName(std::string const& file);

} // namespace Tarsel::Tools
