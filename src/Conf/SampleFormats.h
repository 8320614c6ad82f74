#pragma once

#include "Core/Api.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace Tarsel::Conf {

/// Sample formats; the numbers are libavutil's (AVSampleFormat) for the ten formats of this host.
enum class SampleFormats : std::uint32_t {
    U8 = 0,
    S16 = 1,
    S32 = 2,
    Float = 3,
    Double = 4,
    U8Planar = 5,
    S16Planar = 6,
    S32Planar = 7,
    FloatPlanar = 8,
    DoublePlanar = 9,
    Unknown = 0xFFFFFFFFU,
};

/// What is known of a sample format. Immutable; any thread.
struct TARSEL_API SampleFmtRecord {
    SampleFormats format = SampleFormats::Unknown;
    /// libavutil's name; "unknown" for SampleFormats::Unknown.
    std::string_view name = "unknown";
    bool planar = false;
    /// The planar format of the same type; the format itself when it is planar.
    SampleFormats planarCounterpart = SampleFormats::Unknown;
    /// Bytes of one sample.
    std::uint8_t size = 0;

    /// The record; that of Unknown for every number that is not one of the ten.
    static SampleFmtRecord const& Find(SampleFormats format) noexcept;
    /// The format of that libavutil name ("fltp"), or nothing.
    static std::optional<SampleFormats> FindByName(std::string_view name) noexcept;
};

/// Whether samples are real numbers, with full scale at 1. Any thread.
constexpr bool IsReal(SampleFormats format) noexcept {
    return format == SampleFormats::Float || format == SampleFormats::Double ||
           format == SampleFormats::FloatPlanar || format == SampleFormats::DoublePlanar;
}

} // namespace Tarsel::Conf
