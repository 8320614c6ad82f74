#include "Core/NearNames.h"
#include "Core/Saturate.h"
#include "Core/Text.h"
#include "Support/CommaLocale.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace Tarsel::Core;
using Tarsel::Test::CommaLocale;

namespace {

TEST(Text, WritesTheShortestNumberInEveryLocale) {
    CommaLocale const comma;
    EXPECT_EQ(NumberToText(0.1), "0.1");
    EXPECT_EQ(NumberToText(0.1F), "0.1");
    EXPECT_EQ(NumberToText(1e30), "1e+30");
    EXPECT_EQ(NumberToText(-0.0), "-0");
    EXPECT_EQ(NumberToText(1234567.5), "1234567.5");
    EXPECT_EQ(NumberToText(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    for (double const value : {1.0 / 3, 5e-324, 1.7976931348623157e308, -2.5})
        EXPECT_EQ(TextToDouble(NumberToText(value)), value);
}

TEST(Text, ReadsWholeNumbersOnly) {
    CommaLocale const comma;
    EXPECT_EQ(TextToDouble("+2.5"), 2.5);
    EXPECT_EQ(TextToDouble("1e3"), 1000);
    EXPECT_EQ(TextToDouble("-inf"), -std::numeric_limits<double>::infinity());
    for (char const* text : {"", "+", "+-1", " 1", "1 ", "1,5", "1.5x", "1e999", "0x10"})
        EXPECT_FALSE(TextToDouble(text)) << text;

    EXPECT_EQ(TextToInt64("+7"), 7);
    EXPECT_EQ(TextToInt64("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
    for (char const* text : {"", "-", "++7", "7.0", "9223372036854775808", "0x7"})
        EXPECT_FALSE(TextToInt64(text)) << text;
}

TEST(Text, ReadsFlagsInAnyCase) {
    for (char const* text : {"1", "true", "TRUE", "Yes", "oN"})
        EXPECT_EQ(TextToBool(text), true) << text;
    for (char const* text : {"0", "false", "False", "NO", "off"})
        EXPECT_EQ(TextToBool(text), false) << text;
    for (char const* text : {"", "2", "t", "truee", "o"})
        EXPECT_EQ(TextToBool(text), std::nullopt) << text;
}

TEST(NearNames, AreTheNearestFirst) {
    std::vector<std::string> const names{"libx265", "libx264rgb", "libx264", "mpeg4",
                                         "msmpeg4", "h264_nvenc", "libx264"};
    for (auto const& [name, near] : {std::pair("x264", "; did you mean libx264, libx264rgb?"),
                                     {"libx263", "; did you mean libx264, libx265?"},
                                     {"mpg4", "; did you mean mpeg4?"},
                                     {"lbix264", "; did you mean libx264, libx265?"},
                                     {"xyz", ""},
                                     {"h265", ""},
                                     {"mp4", ""}}) // would take two steps
        EXPECT_EQ(NearNamesText(name, names), near);
    std::vector<std::string> const many{"ab", "ac", "ad", "ae", "af", "ag"};
    EXPECT_THAT(FindNearNames("aa", many), testing::ElementsAre("ab", "ac", "ad", "ae", "af"));
}

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
