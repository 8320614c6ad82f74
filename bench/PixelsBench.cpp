// The alpha kernels beside memcpy of the same plane and a plain loop, the quantiser beside a plain one. All
// that is compared is timed in turns in one run, by the processor time of the thread, and the best of each
// counts: "memcpy_x" and "plain_x" tell how many times as fast as these the kernel was.

#include "Conf/FrameInfo.h"
#include "Pixels/Pictures.h"
#include "Pixels/PlainColorQuant.h"
#include "PixelsPlainBlend.h"
#include "Proc/Effects/Lumenta/Pixels/AlphaBlend.h"
#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <limits>
#include <set>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

using Bytes = std::vector<std::uint8_t>;

double GetSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The shortest time that something has taken.
class Best {
public:
    template <class Action>
    void Time(Action const& action) {
        double const start = GetSeconds();
        action();
        benchmark::ClobberMemory();
        m_seconds = std::min(m_seconds, GetSeconds() - start);
    }

    double Get() const { return m_seconds; }

private:
    double m_seconds = std::numeric_limits<double>::max();
};

constexpr std::array<std::uint8_t, 4> BACKGROUND{17, 34, 99, 200};

void Blend(Bytes& pixels, Bytes const& alpha, unsigned width, unsigned height, int components) {
    int const stride = static_cast<int>(width) * components;
    int const alphaStride = static_cast<int>(width);
    std::uint8_t* const p = pixels.data();
    std::uint8_t const* const a = alpha.data();
    auto const& k = BACKGROUND;
    switch (components) {
    case 1:
        return InlpaceMultiplyA(p, stride, a, alphaStride, width, height, k[0]);
    case 2:
        return InlpaceMultiplyAB(p, stride, a, alphaStride, width, height, k[0], k[1]);
    case 3:
        return InlpaceMultiplyABC(p, stride, a, alphaStride, width, height, k[0], k[1], k[2]);
    default:
        return InlpaceMultiplyABCD(p, stride, a, alphaStride, width, height, k[0], k[1], k[2], k[3]);
    }
}

Bytes MakeAlphaPlane(PictureAlpha kind, std::size_t width, std::size_t height) {
    Bytes const picture = MakePicture(PictureKind::OneColour, kind, width, height);
    Bytes alpha(width * height);
    for (std::size_t i = 0; i < alpha.size(); ++i)
        alpha[i] = picture[4 * i + 3];
    return alpha;
}

void AlphaBlend(benchmark::State& state, PictureAlpha kind) {
    auto const components = static_cast<std::size_t>(state.range(0));
    auto const width = static_cast<std::size_t>(state.range(1));
    auto const height = static_cast<std::size_t>(state.range(2));
    Bytes const alpha = MakeAlphaPlane(kind, width, height);
    Bytes pixels = MakePicture(PictureKind::Noise, PictureAlpha::Noise, width, height);
    pixels.resize(width * height * components);
    Bytes copy = pixels;
    Best kernel;
    Best memory;
    Best plain;
    constexpr int times = 4; // In a row, so that each finds in the caches what it has left there itself.
    for (auto _ : state) {
        for (int i = 0; i < times; ++i)
            kernel.Time([&] {
                Blend(pixels, alpha, static_cast<unsigned>(width), static_cast<unsigned>(height),
                      static_cast<int>(components));
            });
        for (int i = 0; i < times; ++i)
            memory.Time([&] { std::memcpy(copy.data(), pixels.data(), pixels.size()); });
        plain.Time(
            [&] { BlendPlainly(copy.data(), alpha.data(), width * height, components, BACKGROUND.data()); });
        state.SetIterationTime(kernel.Get());
    }
    state.counters["memcpy_x"] = memory.Get() / kernel.Get();
    state.counters["plain_x"] = plain.Get() / kernel.Get();
    state.counters["GB/s"] = static_cast<double>(pixels.size()) * 1e-9 / kernel.Get();
}

void SetBlendArguments(benchmark::internal::Benchmark* benchmark) {
    for (auto const& [width, height] : {std::array{1920, 1080}, {3840, 2160}})
        for (int const components : {1, 2, 3, 4})
            benchmark->Args({components, width, height});
    benchmark->ArgNames({"components", "width", "height"})->UseManualTime();
}

// Noise as alpha takes the longest way everywhere; a disc is what an overlay looks like.
BENCHMARK_CAPTURE(AlphaBlend, noise, PictureAlpha::Noise)->Apply(SetBlendArguments);
BENCHMARK_CAPTURE(AlphaBlend, disc, PictureAlpha::Disc)->Apply(SetBlendArguments);

#ifdef NDEBUG
constexpr std::size_t WIDTH = 1920;
constexpr std::size_t HEIGHT = 1080;
#else
constexpr std::size_t WIDTH = 240;
constexpr std::size_t HEIGHT = 135;
#endif

std::size_t CountCells(Bytes const& picture) {
    std::set<std::uint32_t> cells;
    for (std::size_t i = 0; i < picture.size(); i += 4)
        cells.insert(picture[i] / 2u << 14 | picture[i + 1] / 2u << 7 | picture[i + 2] / 2u);
    return cells.size();
}

void Quantise(benchmark::State& state, PictureKind kind, unsigned texture, bool dither) {
    constexpr int colours = 255;
    Bytes const picture = MakePicture(kind, PictureAlpha::Opaque, WIDTH, HEIGHT, texture);
    Bytes pixels;
    Bytes indices(WIDTH * HEIGHT);
    Bytes palette(4 * 256);
    SafeFrame in;
    SafeFrame out;
    Best fast;
    Best plain;
    for (auto _ : state) {
        pixels = picture;
        in->data[0] = pixels.data();
        in->linesize[0] = 4 * WIDTH;
        out->data[0] = indices.data();
        out->linesize[0] = WIDTH;
        out->data[1] = palette.data();
        fast.Time([&] {
            ColorQuant::Process(*in, *out, {WIDTH, HEIGHT, 1, 1}, colours, dither ? 1 : 0, {});
        });
        state.SetIterationTime(fast.Get());
    }
    for (int i = 0; i < 2; ++i) {
        pixels = picture;
        plain.Time([&] {
            Plain::Quantise({pixels.data(), 4 * WIDTH, indices.data(), WIDTH, palette.data(), WIDTH, HEIGHT},
                            colours, dither, {});
        });
    }
    state.counters["plain_x"] = plain.Get() / fast.Get();
    state.counters["cells"] = static_cast<double>(CountCells(picture));
}

BENCHMARK_CAPTURE(Quantise, photo, PictureKind::Photo, 9u, false)->UseManualTime();
BENCHMARK_CAPTURE(Quantise, photo_dithered, PictureKind::Photo, 9u, true)->UseManualTime();
BENCHMARK_CAPTURE(Quantise, smooth_photo, PictureKind::Photo, 2u, false)->UseManualTime();
BENCHMARK_CAPTURE(Quantise, drawing, PictureKind::Drawing, 0u, false)->UseManualTime();
BENCHMARK_CAPTURE(Quantise, noise, PictureKind::Noise, 0u, false)->UseManualTime();

} // namespace
} // namespace Tarsel::Proc
