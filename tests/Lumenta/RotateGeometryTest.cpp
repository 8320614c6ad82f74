#include "Proc/Effects/Lumenta/Picture/RotateGeometry.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace Tarsel::Test {
namespace {

using Proc::PictureSize;

constexpr double s_degree = std::numbers::pi / 180;

TEST(RotateGeometry, TakesWholeTurnsOut) {
    struct Case {
        double degrees;
        double left;
        int quarters;
        bool isWhole;
    };
    for (Case const& row : {Case{0, 0, 0, true},
                            {90, 90, 1, true},
                            {360, 0, 0, true},
                            {450, 90, 1, true},
                            {-90, -90, -1, true},
                            {-450, -90, -1, true},
                            {90.000001, 90.000001, 1, true},
                            {-89.999999, -89.999999, -1, true},
                            {89.99999, 89.99999, 1, false},
                            {-90.00001, -90.00001, 0, false},
                            {400, 40, 0, false},
                            {-400, -400, -3, false},
                            {-500, -140, -1, false}}) {
        Proc::SplitAngle const split = Proc::TakeApart(row.degrees * s_degree);
        EXPECT_NEAR(split.angle, row.left * s_degree, 1e-12) << row.degrees;
        EXPECT_EQ(split.quarters, row.quarters) << row.degrees;
        EXPECT_EQ(split.isWhole, row.isWhole) << row.degrees;
    }
    for (double quarters : {-7.0, -1.0, 0.0, 2.0})
        for (auto const& [distance, isWhole] : {std::pair{0.99e-7, true}, {1.01e-7, false}})
            for (double sign : {-1.0, 1.0})
                EXPECT_EQ(Proc::TakeApart(quarters * 90 * s_degree + sign * distance).isWhole, isWhole)
                    << quarters << ' ' << distance;
}

TEST(RotateGeometry, CountsQuarterTurnsIn32Bits) {
    double const most = std::numeric_limits<std::int32_t>::max();
    for (double turns : {most, -most - 1})
        EXPECT_EQ(Proc::TakeApart(turns * std::numbers::pi / 2).quarters, turns < 0 ? 0 : 3);
    for (double turns : {most + 1, -most - 2, 1e300, HUGE_VAL, -HUGE_VAL, std::nan("")})
        EXPECT_THROW(Proc::TakeApart(turns * std::numbers::pi / 2), Proc::EffectException) << turns;
    Failure const failure = Catch([] { Proc::TakeApart(3e11 * s_degree); });
    EXPECT_EQ(failure.text, "Cannot rotate by 3e+11 degrees: quarter turns are counted from -2147483648 to "
                            "2147483647");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/Picture/RotateGeometry");
    EXPECT_TRUE(failure.hasStack);
}

/// A picture of random size, turned by a random angle.
struct Turned {
    std::uint32_t width;
    std::uint32_t height;
    double angle;
};

std::vector<Turned> MakeTurned() {
    std::mt19937 random(62);
    std::uniform_int_distribution<std::uint32_t> side(1, 5000);
    std::uniform_real_distribution<double> angle(-4 * std::numbers::pi, 4 * std::numbers::pi);
    std::vector<Turned> all(2000);
    for (Turned& each : all)
        each = {side(random), side(random), angle(random)};
    return all;
}

TEST(RotateGeometry, PadHoldsThePictureAndNoMore) {
    constexpr std::uint32_t huge = std::numeric_limits<std::uint32_t>::max();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(Proc::ComputeSizePad(huge, huge, 1), (PictureSize{most, most}));
    for (Turned const& each : MakeTurned()) {
        SCOPED_TRACE(testing::Message() << each.width << 'x' << each.height << ' ' << each.angle);
        double const sine = std::abs(std::sin(each.angle));
        double const cosine = std::abs(std::cos(each.angle));
        PictureSize const size = Proc::ComputeSizePad(each.width, each.height, each.angle);
        for (auto const& [side, extent] : {std::pair{size.width, each.width * cosine + each.height * sine},
                                           {size.height, each.width * sine + each.height * cosine}}) {
            EXPECT_EQ(side % 2, 0);
            EXPECT_GE(side, extent - 0.5 - 1e-6);
            EXPECT_LE(side, extent + 1.5 + 1e-6);
        }
    }
}

TEST(RotateGeometry, CropIsTheLargestBoxInside) {
    EXPECT_EQ(Proc::ComputeSizeCrop(1, 1, 30 * s_degree), (PictureSize{0, 0}));
    for (Turned const& each : MakeTurned()) {
        SCOPED_TRACE(testing::Message() << each.width << 'x' << each.height << ' ' << each.angle);
        PictureSize const size = Proc::ComputeSizeCrop(each.width, each.height, each.angle);
        double const sine = std::abs(std::sin(each.angle));
        double const cosine = std::abs(std::cos(each.angle));
        // Of the picture's proportions; its corners touch the turned sides.
        double const width = cosine > sine ? each.width : each.height;
        double const height = cosine > sine ? each.height : each.width;
        double const scale = std::min(each.width / (width * cosine + height * sine),
                                      each.height / (width * sine + height * cosine));
        for (auto const& [side, extent] :
             {std::pair{size.width, scale * width}, {size.height, scale * height}}) {
            EXPECT_EQ(side % 2, 0);
            EXPECT_GE(side, extent - 1.5 - 1e-6);
            EXPECT_LE(side, extent + 0.5 + 1e-6);
        }
    }
}

} // namespace
} // namespace Tarsel::Test
