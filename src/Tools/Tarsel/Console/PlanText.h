#pragma once

#include "Media/RunPlan.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Tarsel::Tools {

/// A stream and what becomes of it, for people: "audio 1 (deu): aac 48000 Hz fltp stereo" and, indented on a
/// line of its own, "encoded with libopus: ...". Ends in a line feed.
std::string ToText(Media::StreamPlan const& stream);

/// For programs: an object with "kind", "number" (among the kind, from 0), "codec", "language", "format",
/// "fate" ("drop", "copy", "encode", "convert"), "reason", "output" (null where it is left out, else an
/// object with "index", "codec", "encoder", "options" and "format") and "notes". What is not known is null.
nlohmann::ordered_json ToJson(Media::StreamPlan const& stream);

} // namespace Tarsel::Tools
