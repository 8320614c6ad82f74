#include "Proc/Effects/Lumenta/Pixels/AlphaBlend.h"
#include "Proc/Effects/Lumenta/Pixels/PixelRows.h"
#include "Support/EveryTarget.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace Tarsel::Proc {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Background = std::array<std::uint8_t, 4>;

struct Plane {
    std::uint8_t* pixels;
    int stride;
    std::uint8_t const* alpha;
    int alphaStride;
    unsigned width;
    unsigned height;
};

struct Kernel {
    char const* name;
    unsigned components;
    void (*blend)(Plane const&, Background const&);
};

/// The function of as many components.
template <auto Blend, std::size_t... I>
constexpr Kernel MakeKernel(char const* name, std::index_sequence<I...>) {
    return {name, sizeof...(I), [](Plane const& p, Background const& k) {
                Blend(p.pixels, p.stride, p.alpha, p.alphaStride, p.width, p.height, k[I]...);
            }};
}

constexpr Kernel s_kernels[]{
    MakeKernel<InlpaceMultiplyA>("A", std::make_index_sequence<1>()),
    MakeKernel<InlpaceMultiplyChromaA>("ChromaA", std::make_index_sequence<1>()),
    MakeKernel<InlpaceMultiplyAB>("AB", std::make_index_sequence<2>()),
    MakeKernel<InlpaceMultiplyChromaAB>("ChromaAB", std::make_index_sequence<2>()),
    MakeKernel<InlpaceMultiplyABC>("ABC", std::make_index_sequence<3>()),
    MakeKernel<InlpaceMultiplyABCD>("ABCD", std::make_index_sequence<4>()),
};

/// The formula, one pixel after the other.
void BlendPlainly(Plane const& p, unsigned components, Background const& k) {
    for (unsigned y = 0; y < p.height; ++y)
        for (unsigned x = 0; x < p.width; ++x) {
            unsigned const a = p.alpha[std::ptrdiff_t{p.alphaStride} * y + x];
            for (unsigned j = 0; j < components; ++j) {
                std::uint8_t& c = p.pixels[std::ptrdiff_t{p.stride} * y + components * x + j];
                c = static_cast<std::uint8_t>((c * (a + 1) + (255 - a) * k[j]) >> 8);
            }
        }
}

class AlphaBlend : public EveryTarget {
protected:
    Bytes MakeNoise(std::size_t size) {
        Bytes noise(size);
        std::generate(noise.begin(), noise.end(), [this] { return static_cast<std::uint8_t>(m_random()); });
        return noise;
    }

    /// Noise with long runs of opaque and of transparent pixels.
    Bytes MakeAlpha(std::size_t size) {
        Bytes alpha = MakeNoise(size);
        for (std::size_t i = 0; i < size;) {
            std::size_t const run = std::min<std::size_t>(m_random() % 300, size - i);
            if (m_random() % 3 != 0)
                std::fill_n(alpha.data() + i, run, static_cast<std::uint8_t>(m_random() % 2 * 255));
            i += run;
        }
        return alpha;
    }

    std::mt19937 m_random{1};
};

#ifdef NDEBUG
constexpr unsigned s_backgroundStep = 1;
#else
constexpr unsigned s_backgroundStep = 15; // 0 and 255 are among them.
#endif

// Rows of every alpha for one component, and of every component for one alpha: with the second, whole vectors
// are opaque or transparent.
TEST_P(AlphaBlend, EveryComponentAlphaAndBackground) {
    Bytes counting(256 * 256);
    Bytes constant(256 * 256);
    for (std::size_t i = 0; i < counting.size(); ++i) {
        counting[i] = static_cast<std::uint8_t>(i);
        constant[i] = static_cast<std::uint8_t>(i / 256);
    }
    for (unsigned k = 0; k < 256; k += s_backgroundStep)
        for (bool const isAlphaCounting : {true, false}) {
            Bytes const& alpha = isAlphaCounting ? counting : constant;
            Bytes pixels = isAlphaCounting ? constant : counting;
            Bytes expected = pixels;
            Background const background{static_cast<std::uint8_t>(k)};
            s_kernels[0].blend({pixels.data(), 256, alpha.data(), 256, 256, 256}, background);
            BlendPlainly({expected.data(), 256, alpha.data(), 256, 256, 256}, 1, background);
            ASSERT_EQ(pixels, expected) << "k = " << k;
        }
}

// All of the memory is compared, so nothing may be written beside the pixels.
TEST_P(AlphaBlend, EveryWidthAtAnyAddressAndStride) {
    for (Kernel const& kernel : s_kernels)
        for (unsigned width = 0; width <= 257; ++width) {
            auto const height = static_cast<unsigned>(m_random() % 8 == 0 ? 0 : 1 + m_random() % 3);
            int const stride = static_cast<int>(kernel.components * width + m_random() % 40);
            int const alphaStride = static_cast<int>(width + m_random() % 40);
            Bytes memory = MakeNoise(static_cast<std::size_t>(stride) * 4 + 64);
            Bytes const alpha = MakeAlpha(static_cast<std::size_t>(alphaStride) * 4 + 64);
            std::ptrdiff_t start = static_cast<std::ptrdiff_t>(m_random() % 64);
            std::ptrdiff_t alphaStart = static_cast<std::ptrdiff_t>(m_random() % 64);
            bool const isUpsideDown = m_random() % 2 != 0;
            bool const isAlphaUpsideDown = m_random() % 2 != 0;
            start += isUpsideDown ? 3 * stride : 0;
            alphaStart += isAlphaUpsideDown ? 3 * alphaStride : 0;
            Background background{};
            std::generate(background.begin(), background.end(),
                          [this] { return static_cast<std::uint8_t>(m_random()); });
            Bytes expected = memory;
            Plane plane{memory.data() + start,
                        isUpsideDown ? -stride : stride,
                        alpha.data() + alphaStart,
                        isAlphaUpsideDown ? -alphaStride : alphaStride,
                        width,
                        height};
            kernel.blend(plane, background);
            plane.pixels = expected.data() + start;
            BlendPlainly(plane, kernel.components, background);
            ASSERT_EQ(memory, expected) << kernel.name << ", width " << width;
        }
}

// Alpha inside the plane changes under way: each pixel takes what the pixels before it have left.
TEST_P(AlphaBlend, AlphaThatSharesMemoryWithThePixels) {
    constexpr unsigned width = 70;
    constexpr unsigned height = 2;
    for (Kernel const& kernel : s_kernels)
        for (int alphaStart = 0; alphaStart < 700; alphaStart += 7) {
            Bytes memory = MakeNoise(1400);
            Bytes expected = memory;
            Background const background{9, 99, 199, 250};
            int const stride = static_cast<int>(width * kernel.components);
            kernel.blend({memory.data() + 300, stride, memory.data() + alphaStart, 75, width, height},
                         background);
            BlendPlainly({expected.data() + 300, stride, expected.data() + alphaStart, 75, width, height},
                         kernel.components, background);
            ASSERT_EQ(memory, expected)
                << kernel.name << ", alpha " << alphaStart - 300 << " from the pixels";
        }
}

INSTANTIATE_TEST_SUITE_P(Targets, AlphaBlend, AllTargets(), TargetNames());

class ColorTables : public EveryTarget {};

// The rounding of the formula, in double precision, against what is done in 16 bits: every alpha, component
// and background (a row has its three channels from different ends of the range).
TEST_P(ColorTables, FlattenEveryColor) {
    Bytes row;
    for (unsigned alpha = 0; alpha < 256; ++alpha)
        for (unsigned color = 0; color < 256; ++color)
            for (unsigned const byte : {color, 255 - color, color ^ 0x55u, alpha})
                row.push_back(static_cast<std::uint8_t>(byte));
#ifdef NDEBUG
    constexpr unsigned step = 1;
#else
    constexpr unsigned step = 17;
#endif
    for (unsigned k = 0; k < 256; k += step) {
        std::uint8_t const behind[] = {static_cast<std::uint8_t>(k), static_cast<std::uint8_t>(255 - k),
                                       static_cast<std::uint8_t>(k / 2)};
        Bytes flat = row;
        FlattenRow(flat.data(), flat.size() / 4, {behind[0], behind[1], behind[2], 0});
        std::size_t differences = 0;
        for (std::size_t i = 0; i < row.size(); ++i) {
            int const alpha = row[i | 3];
            int const expected =
                i % 4 == 3 ? alpha
                           : static_cast<int>(
                                 std::trunc(((255 - alpha) * behind[i % 4] + row[i] * alpha) / 255.0 + 0.5));
            differences += flat[i] != expected ? 1 : 0;
        }
        ASSERT_EQ(differences, 0u) << "background " << k;
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, ColorTables, AllTargets(), TargetNames());

} // namespace
} // namespace Tarsel::Proc
