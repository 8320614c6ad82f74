#pragma once

#include <array>

namespace Tarsel::Core {

/// A 3 by 3 matrix of reals, row by row; acts on column vectors (x, y, 1).
struct Matrix3x3 {
    std::array<std::array<double, 3>, 3> rows{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

    friend bool operator==(Matrix3x3 const&, Matrix3x3 const&) = default;
};

} // namespace Tarsel::Core
