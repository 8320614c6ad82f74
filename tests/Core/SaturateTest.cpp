#include "Core/Saturate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <type_traits>

namespace Tarsel::Core {
namespace {

template <class To, class From>
void CheckLimits() {
    using Limits = std::numeric_limits<To>;
    using Reals = std::numeric_limits<From>;
    for (From const large : {From(0x1p64), Reals::max(), Reals::infinity()}) {
        EXPECT_EQ(Saturate<To>(large), Limits::max());
        EXPECT_EQ(Saturate<To>(-large), Limits::min());
    }
    EXPECT_EQ(Saturate<To>(Reals::quiet_NaN()), To{0});
    EXPECT_EQ(Saturate<To>(From(-0.9)), To{0});
    EXPECT_EQ(Saturate<To>(From(100.99)), To{100});
    if constexpr (std::is_signed_v<To>) {
        EXPECT_EQ(Saturate<To>(From(-1.99)), To{-1});
        EXPECT_EQ(Saturate<To>(std::nextafter(From(Limits::min()), From{0})),
                  static_cast<To>(std::nextafter(From(Limits::min()), From{0})));
    }
    // The neighbors of the first number that is too large.
    From const above = std::ldexp(From{1}, Limits::digits);
    EXPECT_EQ(Saturate<To>(above), Limits::max());
    From const below = std::nextafter(above, From{0});
    EXPECT_EQ(Saturate<To>(below), static_cast<To>(below));
}

TEST(Saturate, HoldsAtTheLimitsOfEveryType) {
    CheckLimits<std::int8_t, double>();
    CheckLimits<std::uint8_t, float>();
    CheckLimits<std::int16_t, float>();
    CheckLimits<std::int32_t, float>();
    CheckLimits<std::int32_t, double>();
    CheckLimits<std::uint32_t, double>();
    CheckLimits<std::int64_t, double>();
    CheckLimits<std::uint64_t, double>();
}

} // namespace
} // namespace Tarsel::Core
