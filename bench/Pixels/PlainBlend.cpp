#include "PlainBlend.h"

void BlendPlainly(std::uint8_t* pixels, std::uint8_t const* alpha, std::size_t count, std::size_t components,
                  std::uint8_t const* background) {
    for (std::size_t i = 0; i < count; ++i) {
        unsigned const a = alpha[i];
        for (std::size_t j = 0; j < components; ++j) {
            *pixels = static_cast<std::uint8_t>((*pixels * (a + 1) + (255 - a) * background[j]) >> 8);
            ++pixels;
        }
    }
}
