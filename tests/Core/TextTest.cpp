#include "Core/Text.h"

#include "Support/CommaLocale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
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

TEST(Text, JoinsLists) {
    auto const digit = [](int value) { return std::to_string(value); };
    EXPECT_EQ(Utils::ToString(std::vector<int>{}, "|", digit), "");
    EXPECT_EQ(Utils::ToString(std::vector<int>{1}, "|", digit), "1");
    EXPECT_EQ(Utils::ToString(std::vector<int>{1, 2, 3}, ", ", digit), "1, 2, 3");
}

} // namespace
