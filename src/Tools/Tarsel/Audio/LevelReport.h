#pragma once

#include "Conf/SampleInfo.h"
#include "Tools/Tarsel/Audio/Levels.h"
#include "Tools/Tarsel/Audio/Loudness.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tarsel::Tools {

/// What was measured of a file's audio.
struct LevelReport {
    std::string file;
    Conf::SampleInfo format;
    /// Seconds a row lasts.
    double interval;
    LevelTrack const& levels;
    /// Nothing where it cannot be measured.
    std::optional<Loudness> loudness;
};

/// Seconds a row for audio that lasts so many microseconds: a round number that makes a page of rows; 1 for a
/// length that is not known.
double ChooseInterval(std::int64_t duration);

/// For people: a line for each interval and one for all, in decibels of full scale, then the loudness.
std::string FormatLevels(LevelReport const& report);

/// For programs, as JSON. An object with
/// - "version": 1 (Schemas/meter.schema.json);
/// - "file", "sampleFormat", "layout": strings; "rate": samples a second; "channels": an array of the
///   channels' names;
/// - "samples": for each channel; "seconds": how long they last; "interval": seconds a row;
/// - "rows": an array, an object for each interval with "start" (seconds from the first sample on),
///   "samples", and "levels", an object for each channel in their order with "peak" and "rms" (linear, full
///   scale being 1), "peakDb" and "rmsDb" (in decibels of it, null for silence);
/// - "whole": such an object for all of the audio.
/// - "loudness": null where it cannot be measured, else an object with "standard", a string, "integrated",
///   "shortTermMax" and "momentaryMax" (LUFS), "range" (LU) and "truePeak" (dBTP).
/// What is no finite number is null. Members may be added; those here stay.
std::string LevelsToJson(LevelReport const& report);

} // namespace Tarsel::Tools
