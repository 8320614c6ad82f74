#pragma once

#include <cstddef>
#include <cstdint>

/// c' = (c (a + 1) + (255 - a) k) >> 8 for one pixel after the other, without padding between the rows.
void BlendPlainly(std::uint8_t* pixels, std::uint8_t const* alpha, std::size_t count, std::size_t components,
                  std::uint8_t const* background);
