#include "Proc/Effects/Lumenta/Pixels/PixelRows.h"
#include "Support/EveryTarget.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
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

INSTANTIATE_TEST_SUITE_P(Targets, ColorTables, AllTargets(), TargetNames());

} // namespace
} // namespace Tarsel::Proc
