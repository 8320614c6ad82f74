#pragma once

#include <cstdint>

namespace Tarsel {

/// A fraction as it is written: neither reduced nor checked; 0/1 stands for "unknown" in frame rates.
struct Ratio {
    std::int64_t numerator = 0;
    std::int64_t denominator = 1;

    friend bool operator==(Ratio const&, Ratio const&) = default;
};

} // namespace Tarsel
