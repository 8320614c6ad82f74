#pragma once

#include "Conf/FrameInfo.h"
#include "Pixels/Pictures.h"
#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

#ifdef NDEBUG
constexpr std::uint32_t s_width = 1920;
constexpr std::uint32_t s_height = 1080;
#else
constexpr std::uint32_t s_width = 240;
constexpr std::uint32_t s_height = 135;
#endif
constexpr int s_colors = 255;

/// A picture and what the quantizer makes of it.
struct QuantizerRun {
    explicit QuantizerRun(PictureKind kind, unsigned texture)
        : picture(MakePicture(kind, PictureAlpha::Opaque, s_width, s_height, texture)),
          indices(std::size_t{s_width} * s_height), palette(std::size_t{4} * 256) {
        in->data[0] = picture.data();
        in->linesize[0] = 4 * s_width;
        out->data[0] = indices.data();
        out->linesize[0] = s_width;
        out->data[1] = palette.data();
    }

    /// Opaque pixels stay as they are, so this can be repeated.
    void Quantize(bool dither) {
        ColorQuant::Process(*in, *out, {s_width, s_height, 1, 1}, s_colors, dither ? 1 : 0, {});
    }

    std::vector<std::uint8_t> picture;
    std::vector<std::uint8_t> indices;
    std::vector<std::uint8_t> palette;
    SafeFrame in;
    SafeFrame out;
};

/// What is compared is timed in turns in one run, so that both meet the same machine.
inline void SetTurns(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseManualTime()->Iterations(8)->Unit(benchmark::kMillisecond);
}

} // namespace Tarsel::Proc
