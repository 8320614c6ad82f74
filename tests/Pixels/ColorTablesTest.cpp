#include "Proc/Effects/Lumenta/Pixels/NearestColor.h"
#include "Proc/Effects/Lumenta/Pixels/PixelRows.h"
#include "Support/EveryTarget.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace Tarsel::Proc {
namespace {

using Bytes = std::vector<std::uint8_t>;

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

TEST_P(ColorTables, RowsOfAnyWidthAndAddress) {
    std::mt19937 random(3);
    for (std::size_t width = 0; width <= 70; ++width) {
        Bytes memory(4 * width + 16);
        for (std::uint8_t& byte : memory)
            byte = static_cast<std::uint8_t>(random());
        std::size_t const start = 1 + width % 15;
        Bytes expected = memory;
        for (std::size_t x = 0; x < width; ++x)
            FlattenRow(expected.data() + start + 4 * x, 1, {1, 2, 3, 4});
        FlattenRow(memory.data() + start, width, {1, 2, 3, 4});
        ASSERT_EQ(memory, expected);

        std::vector<ColorCode> codes(width + 1, 77);
        MakeColorCodes(memory.data() + start, width, codes.data());
        for (std::size_t x = 0; x < width; ++x) {
            std::uint8_t const* const pixel = memory.data() + start + 4 * x;
            ASSERT_EQ(GetColor(codes[x]).red, pixel[0]);
            ASSERT_EQ(GetColor(codes[x]).green, pixel[1]);
            ASSERT_EQ(GetColor(codes[x]).blue, pixel[2]);
            ASSERT_EQ(codes[x], MakeColorCode({pixel[0], pixel[1], pixel[2]}));
        }
        ASSERT_EQ(codes[width], 77u);
    }
}

std::uint8_t FindNearestPlainly(std::vector<Rgb> const& palette, int red, int green, int blue) {
    std::size_t nearest = 0;
    int best = 100000000;
    for (std::size_t i = 0; i < palette.size(); ++i) {
        int const distance = 3 * std::abs(palette[i].red - red) + 5 * std::abs(palette[i].green - green) +
                             2 * std::abs(palette[i].blue - blue);
        if (distance < best) {
            best = distance;
            nearest = i + 1;
        }
    }
    return static_cast<std::uint8_t>(nearest);
}

// Palettes over the whole range and crowded ones, in which many colors are equally near.
TEST_P(ColorTables, NearestColor) {
    std::mt19937 random(5);
    for (std::size_t const size : {1u, 2u, 15u, 16u, 17u, 255u})
        for (unsigned const step : {1u, 16u, 85u}) {
            auto const component = [&] {
                return static_cast<std::uint8_t>(random() % (256 / step) * step + (step == 16 ? 8 : 0));
            };
            std::vector<Rgb> palette(size);
            for (Rgb& color : palette)
                color = {component(), component(), component()};
            NearestColors nearest(palette);
            for (int i = 0; i < 3000; ++i) {
                auto const red = static_cast<std::uint8_t>(random());
                auto const green = static_cast<std::uint8_t>(random());
                auto const blue = static_cast<std::uint8_t>(random());
                ASSERT_EQ(nearest_color(nearest, {red, green, blue}),
                          FindNearestPlainly(palette, red, green, blue))
                    << size << " colors, step " << step << ": " << +red << ", " << +green << ", " << +blue;
            }
        }
}

INSTANTIATE_TEST_SUITE_P(Targets, ColorTables, AllTargets(), TargetNames());

} // namespace
} // namespace Tarsel::Proc
