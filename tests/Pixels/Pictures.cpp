#include "Pixels/Pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace Tarsel::Proc {
namespace {

std::uint8_t ToByte(double value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
}

class Painter {
public:
    Painter(PictureKind kind, unsigned texture) : m_kind(kind), m_texture(texture) {}

    /// x and y from 0 to 1.
    std::array<std::uint8_t, 3> Paint(double x, double y) {
        switch (m_kind) {
        case PictureKind::Noise:
            return {Random(), Random(), Random()};
        case PictureKind::Ramp:
            return {ToByte(256 * x), ToByte(256 * y), ToByte(128 * (x + y))};
        case PictureKind::Photo:
            return {ToByte(130 + 100 * std::sin(3 * x + 2 * y) + Texture()),
                    ToByte(120 + 90 * std::cos(4 * y - x) + Texture()),
                    ToByte(110 + 110 * std::sin(5 * x * y + 1) + Texture())};
        case PictureKind::Drawing: {
            auto const area = static_cast<unsigned>(6 * x + 3 * std::sin(9 * y) + 3) * 37u;
            return {static_cast<std::uint8_t>(area * 3), static_cast<std::uint8_t>(area * 5),
                    static_cast<std::uint8_t>(area * 11)};
        }
        case PictureKind::OneColor:
            return {10, 200, 77};
        }
        return {};
    }

    std::uint8_t Random() { return static_cast<std::uint8_t>(m_random() >> 8); }

private:
    double Texture() {
        return static_cast<double>(m_random() % (2 * m_texture + 1)) - static_cast<double>(m_texture);
    }

    PictureKind m_kind;
    unsigned m_texture;
    std::mt19937 m_random{7};
};

std::uint8_t PaintAlpha(Painter& painter, PictureAlpha alpha, double x, double y) {
    switch (alpha) {
    case PictureAlpha::Opaque:
        return 255;
    case PictureAlpha::Noise:
        return painter.Random();
    case PictureAlpha::Disc:
        return ToByte(255 * (4.5 - 10 * std::hypot(x - 0.5, y - 0.5)));
    }
    return 0;
}

} // namespace

std::vector<std::uint8_t> MakePicture(PictureKind kind, PictureAlpha alpha, std::size_t width,
                                      std::size_t height, unsigned texture) {
    std::vector<std::uint8_t> picture;
    picture.reserve(4 * width * height);
    Painter painter(kind, texture);
    for (std::size_t row = 0; row < height; ++row)
        for (std::size_t column = 0; column < width; ++column) {
            double const x = static_cast<double>(column) / static_cast<double>(width);
            double const y = static_cast<double>(row) / static_cast<double>(height);
            auto const color = painter.Paint(x, y);
            picture.insert(picture.end(), color.begin(), color.end());
            picture.push_back(PaintAlpha(painter, alpha, x, y));
        }
    return picture;
}

} // namespace Tarsel::Proc
