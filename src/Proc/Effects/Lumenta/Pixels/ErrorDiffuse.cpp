#include "Proc/Effects/Lumenta/Pixels/ErrorDiffuse.h"

#include "Proc/Effects/Lumenta/Pixels/NearestColor.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Tarsel::Proc {
namespace {

/// By how much a pixel's value exceeds the color that it got.
struct Error {
    int red;
    int green;
    int blue;
};

/// What a pixel's neighbors leave to it.
struct Neighbors {
    Error left;
    Error aboveLeft;
    Error above;
    Error aboveRight;
};

template <int Error::*Component>
std::uint8_t Reach(std::uint8_t component, Neighbors const& errors) noexcept {
    int const value = 16 * component + 8 * errors.left.*Component + 5 * errors.above.*Component +
                      2 * errors.aboveLeft.*Component + errors.aboveRight.*Component;
    return static_cast<std::uint8_t>(std::clamp(value / 16, 0, 255));
}

Error Difference(Rgb value, Rgb got) noexcept {
    return {value.red - got.red, value.green - got.green, value.blue - got.blue};
}

} // namespace

void error_diffuse(PlaneView pixels, MutablePlane indices, std::size_t width, std::size_t height,
                   std::span<Rgb const> palette) {
    NearestColors colors(palette);
    // By column and 1: the error of the lowest pixel so far, with one pixel beyond either end.
    std::vector<Error> errors(width + 2);
    for (std::size_t y = 0; y < height; ++y) {
        std::uint8_t const* pixel = pixels.Row(y);
        std::uint8_t* const row = indices.Row(y);
        Neighbors near{};
        for (std::size_t x = 0; x < width; ++x, pixel += 4) {
            near.above = errors[x + 1];
            near.aboveRight = errors[x + 2];
            Rgb const value{Reach<&Error::red>(pixel[0], near), Reach<&Error::green>(pixel[1], near),
                            Reach<&Error::blue>(pixel[2], near)};
            std::uint8_t const place = nearest_color(colors, value);
            row[x] = place;
            near.left = Difference(value, palette[place - 1u]);
            near.aboveLeft = near.above;
            errors[x + 1] = near.left;
        }
    }
}

} // namespace Tarsel::Proc
