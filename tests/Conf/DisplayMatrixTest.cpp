#include "Conf/DisplayMatrix.h"
#include "Conf/Transform2D.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace Tarsel::Conf {

void PrintTo(FrameInfo const& info, std::ostream* stream) {
    *stream << info.width << "x" << info.height << " " << info.aspectNum << ":" << info.aspectDen;
}

namespace {

/// A small gray picture, row by row.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<int> pixels;

    friend bool operator==(Picture const&, Picture const&) = default;
};

Picture const s_picture{3, 2, {1, 2, 3, 4, 5, 6}};

/// Every pixel put where FFmpeg's equations for the nine words send its center.
Picture MapByMatrix(Picture const& from, std::array<std::int32_t, 9> const& words) {
    double const a = words[0] / 65536.0;
    double const b = words[1] / 65536.0;
    double const c = words[3] / 65536.0;
    double const d = words[4] / 65536.0;
    Picture to{int(std::abs(a) * from.width + std::abs(c) * from.height),
               int(std::abs(b) * from.width + std::abs(d) * from.height),
               {}};
    to.pixels.resize(from.pixels.size());
    for (int y = 0; y < from.height; ++y)
        for (int x = 0; x < from.width; ++x) {
            double const p = x + 0.5 - from.width / 2.0;
            double const q = y + 0.5 - from.height / 2.0;
            int const column = int(a * p + c * q + to.width / 2.0);
            int const row = int(b * p + d * q + to.height / 2.0);
            to.pixels.at(std::size_t(row * to.width + column)) = from.pixels[std::size_t(y * from.width + x)];
        }
    return to;
}

/// By EXIF's own words: which corner of the stored picture is shown at the top left, and whether its rows are
/// shown as columns.
TEST(DisplayMatrixTest, OrientationsTurnPictures) {
    std::vector<int> const shown[]{{1, 2, 3, 4, 5, 6}, {3, 2, 1, 6, 5, 4}, {6, 5, 4, 3, 2, 1},
                                   {4, 5, 6, 1, 2, 3}, {1, 4, 2, 5, 3, 6}, {4, 1, 5, 2, 6, 3},
                                   {6, 3, 5, 2, 4, 1}, {3, 6, 2, 5, 1, 4}};
    for (int code = 1; code <= 8; ++code) {
        DisplayMatrix const matrix = DisplayMatrix::FromOrientation(code).value();
        Picture const expected{code < 5 ? 3 : 2, code < 5 ? 2 : 3, shown[code - 1]};
        EXPECT_EQ(MapByMatrix(s_picture, matrix.words), expected) << code;
        EXPECT_EQ(matrix.GetOrientation(), code);
    }
    for (int const code : {-1, 0, 9})
        EXPECT_FALSE(DisplayMatrix::FromOrientation(code)) << code;
}

TEST(DisplayMatrixTest, ClockwiseRotations) {
    struct {
        double degrees;
        double read;
        std::optional<int> code;
    } const cases[] = {{0, 0, 1},     {90, 90, 6},      {180, 180, 3}, {-180, 180, 3},
                       {270, -90, 8}, {-90, -90, 8},    {450, 90, 6},  {90.01, 90.01, 6},
                       {33, 33, {}},  {-120, -120, {}}, {400, 40, {}}, {0.2, 0.2, {}},
                       {1, 1, {}},    {45, 45, {}},     {89, 89, {}},  {-179, -179, {}}};
    for (auto const& [degrees, read, code] : cases) {
        DisplayMatrix const matrix = DisplayMatrix::FromRotation(degrees);
        EXPECT_NEAR(matrix.GetRotation(), read, 1e-3) << degrees;
        EXPECT_EQ(matrix.GetOrientation(), code) << degrees;
    }
    constexpr double inf = std::numeric_limits<double>::infinity();
    for (double const degrees : {0.0, inf, -inf, std::nan("")}) // what is no number turns nothing
        EXPECT_EQ(DisplayMatrix::FromRotation(degrees), DisplayMatrix::s_default);
    for (auto const& words :
         {std::array<std::int32_t, 9>{}, {65536, 65536, 0, 65536, 65536}, {65536, 0, 0, 131072, 0}})
        EXPECT_TRUE(std::isnan(DisplayMatrix{words}.GetRotation()));
}

TEST(DisplayMatrixTest, ScaleAndOffsetDoNotChangeTheOrientation) {
    for (int code = 1; code <= 8; ++code)
        for (double const scale : {0.01, 0.37, 2.0, 30000.0}) {
            DisplayMatrix matrix = DisplayMatrix::FromOrientation(code).value();
            for (std::size_t const i : {0U, 1U, 3U, 4U})
                matrix.words[i] = static_cast<std::int32_t>(matrix.words[i] * scale);
            matrix.words[0] /= 2; // not the same for both axes
            matrix.words[3] /= 2;
            matrix.words[6] = 1080 << 16;
            matrix.words[7] = -5;
            matrix.words[8] = 0;
            EXPECT_EQ(matrix.GetOrientation(), code) << scale;
        }
}

TEST(DisplayMatrixTest, OtherTransformsHaveNoOrientation) {
    constexpr std::int32_t unit = 0x10000;
    std::array<std::int32_t, 9> const others[] = {
        {},                                // everything into one point
        {unit, 0, 0, 0, 0},                // into a line
        {unit, 0, 0, 200, unit},           // sheared
        {unit, unit, 0, unit, -unit},      // mirrored and turned by 45 degrees
        {unit, 0, 1 << 20, 0, unit, 0},    // with a perspective
        {unit, 0, 0, 0, unit, -(1 << 20)}, // with another
    };
    for (std::size_t i = 0; i < std::size(others); ++i)
        EXPECT_FALSE(DisplayMatrix{others[i]}.GetOrientation()) << i;
}

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
