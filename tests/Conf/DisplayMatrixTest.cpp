#include "Conf/DisplayMatrix.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace Tarsel::Conf {

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

} // namespace

} // namespace Tarsel::Conf
