#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Conf/IFormatCodecVideo.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// A format in the two ways it is shown.
struct FormatText {
    nlohmann::ordered_json json;
    /// "720x576 yuv420p, pixels 16:15"
    std::string words;

    bool operator==(FormatText const& other) const { return words == other.words; }
};

/// What one step does, and what it makes of the format.
struct Explanation {
    std::string classId;
    std::string label;
    /// Nothing when the effect does not tell; "" when what comes in passes untouched.
    std::optional<std::string> description;
    bool isFilterText = false;
    /// What would make an effect work that passes everything untouched; "" for others.
    std::string idle;
    /// When it works; "" for always.
    std::string times;
    /// The audio that it is meant for; "" for all.
    std::string stream;
    /// What the effect gets, where the input is converted for it and the result back.
    std::optional<FormatText> converted;
    FormatText output;

    /// Whose work the step is: "filter", "own", "none" or "unknown".
    char const* GetWork() const noexcept;
};

/// A format, and for each step what becomes of it.
struct Explanations {
    FormatText input;
    std::vector<Explanation> steps;

    FormatText const& GetOutput() const noexcept { return steps.empty() ? input : steps.back().output; }
};

/// Follows the format through the steps, without data. What Host::PlanStep throws leaves with the step's
/// label under Host::TagStep. An effect that holds frames may lose them: before the steps are used.
Explanations Explain(std::vector<VideoStep> const& steps, SP<Conf::IFormatCodecVideo> format);
Explanations Explain(std::vector<AudioStep> const& steps, SP<Conf::IFormatCodecAudio> format);

/// For people: the input, "step 1 (flip)" and below it, indented, what it does; a step's output where it
/// differs from its input; the output. Each line begins with `indent`.
std::string ToText(Explanations const& explanations, std::string const& indent = {});

/// An object with "input", the format that goes in, and "steps", an array of objects with
/// - "effect", its class id;
/// - "work": "filter", a text of FFmpeg's filters; "own", work done without them; "none", what comes in
///   passes untouched; "unknown", the effect does not tell;
/// - "description": that text, or words for people; "" for "none", null for "unknown";
/// - "idle": for "none" what would make the effect work, else null;
/// - "times": when it works, and what moves, in words; null for all the time;
/// - "stream": the audio stream that it is meant for, by number or language; null for all;
/// - "converted": the format that the effect gets, where the host converts to it and back, else null;
/// - "output", the format that comes out.
/// A frame's format has "width", "height", "pixelFormat" and "pixelAspect", an array of two; that of audio
/// "rate", "sampleFormat" and "channelLayout".
nlohmann::ordered_json ToJson(Explanations const& explanations);

} // namespace Tarsel::Tools
