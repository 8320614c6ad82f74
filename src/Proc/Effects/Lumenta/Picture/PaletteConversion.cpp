#include "Proc/Effects/Lumenta/Picture/PaletteConversion.h"

#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Proc/Wrappers/FrameFields.h"

#include <cstdint>
#include <cstring>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

void ConvertToPalette(AVFrame& rgba, AVFrame& palette, PaletteParams const& params) {
    constexpr std::size_t entries = 256;
    Conf::PixColor background = params.background;
    background.alpha = 255;
    std::memset(palette.data[1], 0, entries * 4);
    ColorQuant::Process(rgba, palette, GetFrameInfo(rgba), params.colors, params.dither ? 1 : 0, background);
    // Bytes red, green, blue, alpha there; numbers 0xAARRGGBB in the machine's order for FFmpeg.
    for (std::size_t i = 0; i < entries; ++i) {
        std::uint8_t* const entry = palette.data[1] + 4 * i;
        std::uint32_t const color = 0xFF000000U | std::uint32_t{entry[0]} << 16 |
                                    std::uint32_t{entry[1]} << 8 | std::uint32_t{entry[2]};
        std::memcpy(entry, &color, sizeof color);
    }
}

} // namespace Tarsel::Proc
