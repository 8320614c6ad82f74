#pragma once

#include <cstdint>

namespace Tarsel::Proc {

/// An opaque colour of 8 bits a component.
struct Rgb {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

} // namespace Tarsel::Proc
