#include "Conf/Transform2D.h"
#include "Conf/DisplayMatrix.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace Tarsel::Conf {

void PrintTo(FrameInfo const& info, std::ostream* stream) {
    *stream << info.width << "x" << info.height << " " << info.aspectNum << ":" << info.aspectDen;
}

namespace {

TEST(Transform2DTest, OrientationsKeepThePixelGrid) {
    for (int code = 1; code <= 8; ++code) {
        Transform2D const transform = Transform2D::FromOrientation(code).value();
        struct {
            FrameInfo from;
            bool square;
            FrameInfo to;
        } const cases[] = {
            {{1920, 1080, 1, 1}, false, {1920, 1080, 1, 1}},
            {{721, 577, 16, 15}, false, {721, 577, 16, 15}},
            {{721, 577, 32, 30}, false, {721, 577, 32, 30}},
            {{721, 577, 0, 7}, false, {721, 577, 0, 1}},
            {{721, 577, 16, 15}, true, {769, 577, 1, 1}}, // 721 * 16 / 15 = 769.07
            {{721, 577, 3, 0}, true, {721, 577, 1, 1}},
            {{4000000000U, 1, 1, 1}, false, {4000000000U, 1, 1, 1}},
        };
        for (auto const& [from, square, to] : cases) {
            FrameInfo expected = to;
            if (code >= 5) {
                std::swap(expected.width, expected.height);
                if (to.aspectNum != 0)
                    std::swap(expected.aspectNum, expected.aspectDen);
            }
            EXPECT_EQ(transform.GetBoundingBox(from, square), expected) << code;
        }
    }
}

TEST(Transform2DTest, ScaledOrientationsKeepTheGridTooUnlessSquareOnesAreWanted) {
    Transform2D const turned{0, 2, -3, 0};
    EXPECT_EQ(turned.GetBoundingBox({100, 50, 4, 3}, false), (FrameInfo{50, 100, 3, 4}));
    EXPECT_EQ(turned.GetBoundingBox({100, 50, 2, 1}, true), (FrameInfo{150, 400, 1, 1}));
}

/// Against the corners themselves, turned one by one.
TEST(Transform2DTest, BoxHoldsTheTurnedCorners) {
    for (double degrees = -360; degrees <= 360; degrees += 7.5)
        for (FrameInfo const& frame : {FrameInfo{1920, 1080, 1, 1}, {720, 576, 64, 45}, {33, 1000, 3, 4}}) {
            double const radians = degrees * M_PI / 180;
            Transform2D const turn{std::cos(radians), std::sin(radians), -std::sin(radians),
                                   std::cos(radians)};
            double const halfWidth = frame.width * double(frame.aspectNum) / frame.aspectDen / 2;
            double const halfHeight = frame.height / 2.0;
            double right = 0;
            double bottom = 0;
            for (double const x : {-halfWidth, halfWidth})
                for (double const y : {-halfHeight, halfHeight}) {
                    right = std::max(right, turn.a * x + turn.c * y);
                    bottom = std::max(bottom, turn.b * x + turn.d * y);
                }
            FrameInfo const box = turn.GetBoundingBox(frame, true);
            EXPECT_NEAR(box.width, 2 * right, 0.5 + 1e-6) << degrees;
            EXPECT_NEAR(box.height, 2 * bottom, 0.5 + 1e-6) << degrees;
            EXPECT_EQ(box.aspectNum, 1U);
            EXPECT_EQ(box.aspectDen, 1U);
            if (!turn.GetOrientation()) {
                EXPECT_EQ(turn.GetBoundingBox(frame, false), box) << degrees;
            }
        }
    // cos 30 = 0.8660: 1662.77 + 540, 960 + 935.31
    EXPECT_EQ(DisplayMatrix::FromRotation(30).GetTransform().GetBoundingBox({1920, 1080, 1, 1}, false),
              (FrameInfo{2203, 1895, 1, 1}));
}

TEST(Transform2DTest, BoxesAreNeverEmptyNorTooLarge) {
    constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
    constexpr double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ((Transform2D{0, 0, 0, 0}.GetBoundingBox({640, 480, 1, 1}, false)), (FrameInfo{1, 1, 1, 1}));
    EXPECT_EQ((Transform2D{1e-9, 0.5, 0, 1e9}.GetBoundingBox({640, 480, 1, 1}, true)),
              (FrameInfo{1, largest, 1, 1}));
    EXPECT_EQ((Transform2D{inf, 0, 0, std::nan("")}.GetBoundingBox({640, 480, 1, 1}, false)),
              (FrameInfo{largest, 1, 1, 1}));
}

} // namespace

} // namespace Tarsel::Conf
