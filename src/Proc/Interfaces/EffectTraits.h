#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

namespace Tarsel::Proc {

/// What becomes of one property of the input.
enum class Keeps : std::uint8_t {
    /// Comes out as it went in.
    Always,
    /// Depends on the settings or the pixel format.
    Sometimes,
    /// Is lost for inputs that have it.
    Never,
};

/// "always", "sometimes", "never".
constexpr std::string_view GetName(Keeps keeps) noexcept {
    switch (keeps) {
    case Keeps::Always:
        return "always";
    case Keeps::Sometimes:
        return "sometimes";
    case Keeps::Never:
        return "never";
    }
    return "unknown";
}

/// Pixel formats that an effect takes. Planar YUV counts gray in, but not yuvj444p: FFmpeg makes RGB of it
/// for filters that do not know it.
enum class Takes : std::uint8_t { AnyFormat, PlanarYuv };

/// "any", "planar YUV".
constexpr std::string_view GetName(Takes takes) noexcept {
    switch (takes) {
    case Takes::AnyFormat:
        return "any";
    case Takes::PlanarYuv:
        return "planar YUV";
    }
    return "unknown";
}

/// What an effect says of itself, beside its settings; one row for each effect.
struct EffectTraits {
    /// In place of a number of frames: all there are.
    static constexpr std::int32_t s_withoutEnd = std::numeric_limits<std::int32_t>::max();

    /// One line for people: what the effect does.
    std::string_view summary;
    /// Frames of other formats may be refused, and those of odd width or height are where only even ones are
    /// taken; a host converts them before and back after.
    Takes takes = Takes::AnyFormat;
    /// Widths and heights of whole pixel pairs and whole chroma samples alone.
    bool evenSize = false;
    /// Sizes and places in the result are rounded to whole chroma samples: in formats of subsampled chroma,
    /// odd ones are refused or come out smaller. A host that wants them exact gives frames of full chroma.
    bool roundsToChroma = false;
    Keeps alpha = Keeps::Always;
    /// Bits of a component beyond 8.
    Keeps depth = Keeps::Always;
    /// Full-range YUV stays full range.
    Keeps range = Keeps::Always;
    /// Width and height (pixels), or the number of samples (audio).
    Keeps size = Keeps::Always;
    /// A result depends on one frame and the settings alone: a host may run several instances over
    /// consecutive frames.
    bool frameIndependent = true;
    /// Frames held back until later ones came, at most.
    std::int32_t delayFrames = 0;
    /// Samples held back, in microseconds of audio, at most.
    std::int64_t delayTime = 0;
    /// Audio goes on after the input's end.
    bool tail = false;
    /// More frames come out than went in: frames out for each frame in, at most.
    std::int32_t framesPerFrame = 1;
    /// Gains from more than one thread, so that a share of the thread budget is worth asking for.
    bool slices = false;
    /// Unless frames are independent: how many frames before its own and after it a result depends on, at
    /// most. A host that begins that much earlier and ends that much later gets the same frames in between.
    std::int32_t looksBack = s_withoutEnd;
    std::int32_t looksAhead = s_withoutEnd;
};

} // namespace Tarsel::Proc
