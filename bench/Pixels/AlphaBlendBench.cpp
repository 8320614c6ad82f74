// The alpha kernels beside memcpy of the same plane and a plain loop: "memcpy_x" and "plain_x" tell how many
// times as fast as these the kernel was.

#include "BestTime.h"
#include "Pixels/Pictures.h"
#include "PlainBlend.h"
#include "Proc/Effects/Lumenta/Pixels/AlphaBlend.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

constexpr std::array<std::uint8_t, 4> s_background{17, 34, 99, 200};

/// Bytes that lie as those of frames do: rows of whole cache lines, without padding for the widths below.
class Plane {
public:
    Plane(std::size_t width, std::size_t height)
        : m_size(width * height), m_frame({}, Conf::PixFmt::GRAY8, static_cast<std::uint32_t>(width),
                                          static_cast<std::uint32_t>(height), 1, 1) {}

    std::uint8_t* Data() { return m_frame->data[0]; }
    std::size_t Size() const { return m_size; }

private:
    std::size_t m_size;
    SafeFrame m_frame;
};

void Blend(Plane& pixels, Plane& alpha, unsigned width, unsigned height, int components) {
    int const stride = static_cast<int>(width) * components;
    int const alphaStride = static_cast<int>(width);
    std::uint8_t* const p = pixels.Data();
    std::uint8_t const* const a = alpha.Data();
    auto const& k = s_background;
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

void AlphaBlend(benchmark::State& state, PictureAlpha kind) {
    auto const components = static_cast<std::size_t>(state.range(0));
    auto const width = static_cast<std::size_t>(state.range(1));
    auto const height = static_cast<std::size_t>(state.range(2));
    std::vector<std::uint8_t> const picture = MakePicture(PictureKind::Noise, kind, width, height);
    Plane alpha(width, height);
    for (std::size_t i = 0; i < alpha.Size(); ++i)
        alpha.Data()[i] = picture[4 * i + 3];
    Plane pixels(components * width, height);
    Plane copy(components * width, height);
    std::memcpy(pixels.Data(), picture.data(), pixels.Size());
    std::memcpy(copy.Data(), picture.data(), copy.Size());
    BestTime kernel;
    BestTime memory;
    BestTime plain;
    constexpr int times = 8; // In a row, so that each finds in the caches what it has left there itself.
    for (auto _ : state) {
        for (int i = 0; i < times; ++i)
            kernel.Time([&] {
                Blend(pixels, alpha, static_cast<unsigned>(width), static_cast<unsigned>(height),
                      static_cast<int>(components));
            });
        for (int i = 0; i < times; ++i)
            memory.Time([&] { std::memcpy(copy.Data(), pixels.Data(), pixels.Size()); });
        plain.Time(
            [&] { BlendPlainly(copy.Data(), alpha.Data(), alpha.Size(), components, s_background.data()); });
        state.SetIterationTime(kernel.Get());
    }
    state.counters["memcpy_x"] = memory.Get() / kernel.Get();
    state.counters["plain_x"] = plain.Get() / kernel.Get();
    state.counters["GB/s"] = static_cast<double>(pixels.Size()) * 1e-9 / kernel.Get();
}

void SetArguments(benchmark::internal::Benchmark* benchmark) {
#ifdef NDEBUG
    constexpr std::array<std::array<int, 2>, 2> sizes{{{1920, 1080}, {3840, 2160}}};
#else
    constexpr std::array<std::array<int, 2>, 1> sizes{{{192, 108}}};
#endif
    for (auto const& [width, height] : sizes)
        for (int const components : {1, 2, 3, 4})
            benchmark->Args({components, width, height});
    benchmark->ArgNames({"components", "width", "height"})->UseManualTime()->Iterations(8);
}

// Noise as alpha takes the longest way everywhere; a disc is what an overlay looks like.
BENCHMARK_CAPTURE(AlphaBlend, noise, PictureAlpha::Noise)->Apply(SetArguments);
BENCHMARK_CAPTURE(AlphaBlend, disc, PictureAlpha::Disc)->Apply(SetArguments);

} // namespace
} // namespace Tarsel::Proc
