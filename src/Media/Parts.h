#pragma once

#include "Core/Ratio.h"

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>

namespace Tarsel::Media {

/// One of several parts of a file's video, each for a run of its own, on other machines perhaps. Parts begin
/// at key frames, as evenly as these lie; which frames belong to which part follows from the file and the
/// number of parts alone, and each frame belongs to one. With fewer key frames than parts some are empty.
struct Part {
    /// From 1.
    int number = 1;
    int count = 1;
    /// Frames before the part and after it that effects see too, whose results are dropped: as many as
    /// results depend on.
    std::int64_t framesBefore = 0;
    std::int64_t framesAfter = 0;
};

/// What was written of a part.
struct PartFacts {
    static constexpr std::int64_t s_begin = std::numeric_limits<std::int64_t>::min();
    static constexpr std::int64_t s_end = std::numeric_limits<std::int64_t>::max();

    /// The frames that belong to it are first shown from then on and before then, in microseconds of the
    /// input's clock; those of all parts follow one another.
    std::int64_t from = s_begin;
    std::int64_t to = s_end;
    /// Frames that were encoded, and packets that came of them. The rest says nothing where that is 0.
    std::int64_t frames = 0;
    std::int64_t packets = 0;
    /// When the first and the last frame begin, and that one ends, in ticks of `timeBase` (seconds a tick).
    Ratio timeBase;
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::int64_t end = 0;
    /// Frames a second, as the encoder was told; 0/1 when not known.
    Ratio frameRate;
    /// FFmpeg's name.
    std::string encoder;

    friend bool operator==(PartFacts const&, PartFacts const&) = default;
};

/// A part and the file that it was written to.
struct EncodedPart {
    std::filesystem::path file;
    PartFacts facts;
};

} // namespace Tarsel::Media
