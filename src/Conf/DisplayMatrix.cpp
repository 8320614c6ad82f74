#include "Conf/DisplayMatrix.h"

#include <cmath>
#include <limits>

extern "C" {
#include <libavutil/display.h>
}

namespace Tarsel::Conf {

namespace {

/// Places of the terms in the nine words.
enum Word : std::size_t { A = 0, B = 1, U = 2, C = 3, D = 4, V = 5 };

constexpr double s_one = 1 << 16;

} // namespace

constinit DisplayMatrix const DisplayMatrix::s_default{};

DisplayMatrix DisplayMatrix::FromRotation(double degrees) noexcept {
    DisplayMatrix matrix;
    if (std::isfinite(degrees))
        av_display_rotation_set(matrix.words.data(), degrees);
    return matrix;
}

std::optional<DisplayMatrix> DisplayMatrix::FromOrientation(int orientation) noexcept {
    std::optional<Transform2D> const transform = Transform2D::FromOrientation(orientation);
    if (!transform)
        return std::nullopt;
    DisplayMatrix matrix;
    matrix.words[A] = static_cast<std::int32_t>(transform->a * s_one);
    matrix.words[B] = static_cast<std::int32_t>(transform->b * s_one);
    matrix.words[C] = static_cast<std::int32_t>(transform->c * s_one);
    matrix.words[D] = static_cast<std::int32_t>(transform->d * s_one);
    return matrix;
}

double DisplayMatrix::GetRotation() const noexcept {
    Transform2D const transform = GetTransform();
    if (transform.a * transform.d == transform.b * transform.c)
        return std::numeric_limits<double>::quiet_NaN();
    return -av_display_rotation_get(words.data());
}

std::optional<int> DisplayMatrix::GetOrientation() const noexcept {
    // u and v make a perspective; w scales both axes alike, and careless writers leave it 0.
    if (words[U] != 0 || words[V] != 0)
        return std::nullopt;
    return GetTransform().GetOrientation();
}

Transform2D DisplayMatrix::GetTransform() const noexcept {
    return {words[A] / s_one, words[B] / s_one, words[C] / s_one, words[D] / s_one};
}

} // namespace Tarsel::Conf
