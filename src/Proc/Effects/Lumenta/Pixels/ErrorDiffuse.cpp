#include "Proc/Effects/Lumenta/Pixels/ErrorDiffuse.h"

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/NearestColor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace Tarsel::Proc {
namespace {

/// Red, green and blue in the three lower 16-bit fields of one number, so that one addition adds all three.
/// Every field is kept positive, then nothing is ever borrowed from the next.
using Fields = std::uint64_t;

constexpr unsigned RED_SHIFT = 0;
constexpr unsigned GREEN_SHIFT = 16;
constexpr unsigned BLUE_SHIFT = 32;

constexpr Fields MakeFields(std::uint64_t red, std::uint64_t green, std::uint64_t blue) noexcept {
    return red << RED_SHIFT | green << GREEN_SHIFT | blue << BLUE_SHIFT;
}

/// An error of -255 to 255 is kept as 1 to 511.
constexpr unsigned ERROR_BIAS = 256;
constexpr Fields NO_ERROR = MakeFields(ERROR_BIAS, ERROR_BIAS, ERROR_BIAS);

/// A pixel's value is 16 times its component and the weighted errors of its neighbours, so between -16 * 255
/// and 2 * 16 * 255; with the bias of the errors, whose weights sum to 16, that is 16 to 12256. A sixteenth
/// of that is below this.
constexpr std::size_t VALUE_COUNT = 768;
constexpr unsigned VALUE_SHIFT = 4;
constexpr unsigned VALUE_MASK = 0x3FF;

/// What a value stands for: the component, back in its field, and above the fields its share of the color
/// code.
constexpr unsigned CODE_SHIFT = 40;
constexpr Fields COMPONENTS = MakeFields(0xFF, 0xFF, 0xFF);
static_assert(COMPONENTS >> CODE_SHIFT == 0 && CODE_SHIFT + COLOR_CODE_BITS == 64);

using ValueTable = std::array<Fields, VALUE_COUNT>;

constexpr ValueTable MakeValues(unsigned shift, std::array<ColorCode, 256> const& codes) noexcept {
    ValueTable values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::size_t const component = i < ERROR_BIAS ? 0 : std::min<std::size_t>(i - ERROR_BIAS, 255);
        values[i] = Fields{codes[component]} << CODE_SHIFT | Fields{component} << shift;
    }
    return values;
}

constexpr ValueTable RED_VALUES = MakeValues(RED_SHIFT, RED_CODE);
constexpr ValueTable GREEN_VALUES = MakeValues(GREEN_SHIFT, GREEN_CODE);
constexpr ValueTable BLUE_VALUES = MakeValues(BLUE_SHIFT, BLUE_CODE);

class Diffuser {
public:
    Diffuser(std::size_t width, std::span<Rgb const> palette)
        : m_width(width), m_colors(palette), m_errors(width + 2, NO_ERROR) {
        for (std::size_t i = 0; i < palette.size(); ++i)
            m_errorWithoutValue[i + 1] =
                NO_ERROR - MakeFields(palette[i].red, palette[i].green, palette[i].blue);
    }

    /// Rows below each other. They are taken side by side, each two pixels behind the one above it, which is
    /// as far as its errors reach back: a single row waits at every pixel for the one before.
    template <std::size_t N>
    void DiffuseRows(PlaneView pixels, MutablePlane indices, std::size_t y) {
        constexpr std::size_t LAG = 2;
        std::array<Row, N> rows;
        for (std::size_t i = 0; i < N; ++i)
            rows[i] = {pixels.Row(y + i), indices.Row(y + i), NO_ERROR, NO_ERROR};
        for (std::size_t step = 0; step < m_width + LAG * (N - 1); ++step)
            for (std::size_t i = 0; i < N; ++i)
                if (std::size_t const x = step - LAG * i; x < m_width)
                    DiffusePixel(rows[i], x);
    }

private:
    struct Row {
        std::uint8_t const* pixels;
        std::uint8_t* indices;
        Fields left;
        Fields aboveLeft;
    };

    void DiffusePixel(Row& row, std::size_t x) {
        // The error of the pixel above is at x + 1; it gives way to this pixel's.
        Fields const above = m_errors[x + 1];
        std::uint8_t const* const pixel = row.pixels + 4 * x;
        Fields const value = MakeFields(16u * pixel[0], 16u * pixel[1], 16u * pixel[2]) + 8 * row.left +
                             5 * above + 2 * row.aboveLeft + m_errors[x + 2];
        Fields const reached = RED_VALUES[value >> (RED_SHIFT + VALUE_SHIFT) & VALUE_MASK] |
                               GREEN_VALUES[value >> (GREEN_SHIFT + VALUE_SHIFT) & VALUE_MASK] |
                               BLUE_VALUES[value >> (BLUE_SHIFT + VALUE_SHIFT) & VALUE_MASK];
        std::uint8_t const index = nearest_color(m_colors, static_cast<ColorCode>(reached >> CODE_SHIFT));
        row.indices[x] = index;
        row.left = (reached & COMPONENTS) + m_errorWithoutValue[index];
        row.aboveLeft = above;
        m_errors[x + 1] = row.left;
    }

    std::size_t m_width;
    NearestColors m_colors;
    /// The biased errors of the row above, with one pixel beyond either end.
    std::vector<Fields> m_errors;
    /// By index: what a pixel's components make the biased error.
    std::array<Fields, 256> m_errorWithoutValue{};
};

} // namespace

void error_diffuse(PlaneView pixels, MutablePlane indices, std::size_t width, std::size_t height,
                   std::span<Rgb const> palette) {
    constexpr std::size_t TOGETHER = 4;
    Diffuser diffuser(width, palette);
    std::size_t y = 0;
    for (; y + TOGETHER <= height; y += TOGETHER)
        diffuser.DiffuseRows<TOGETHER>(pixels, indices, y);
    for (; y < height; ++y)
        diffuser.DiffuseRows<1>(pixels, indices, y);
}

} // namespace Tarsel::Proc
