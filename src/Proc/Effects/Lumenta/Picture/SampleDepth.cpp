#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"

#include "Conf/AVFormats.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <cstring>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Proc {
namespace {

std::uint16_t SwapBytes(std::uint16_t value) {
    return static_cast<std::uint16_t>(value << 8 | value >> 8);
}

/// All samples of a row in one. Without a way out before its end, so that compilers vectorise it.
std::uint16_t Unite(std::uint8_t const* row, std::size_t width) {
    std::uint16_t united = 0;
    for (std::size_t x = 0; x < width; ++x) {
        std::uint16_t sample = 0;
        std::memcpy(&sample, row + 2 * x, sizeof sample);
        united |= sample;
    }
    return united;
}

/// Whether the component is alone in its plane, in the lower bits of 16-bit samples that have others.
bool HasRoomAbove(AVComponentDescriptor const& component) {
    return component.depth > 8 && component.depth < 16 && component.shift == 0 && component.step == 2;
}

} // namespace

bool HasBitsAbove(std::uint8_t const* data, std::ptrdiff_t lineSize, std::size_t width, std::size_t height,
                  int depth, std::endian order) noexcept {
    auto const above = static_cast<std::uint16_t>(0xFFFFU << depth);
    std::uint16_t const forbidden = order == std::endian::native ? above : SwapBytes(above);
    for (std::size_t y = 0; y < height; ++y)
        if ((Unite(data + static_cast<std::ptrdiff_t>(y) * lineSize, width) & forbidden) != 0)
            return true;
    return false;
}

void RequireSamplesWithinDepth(IDataVideo const& data, std::string_view effect, Core::Site const& site) {
    AVFrame const* const frame = data.GetAVFrame();
    AVPixFmtDescriptor const* const format =
        frame ? av_pix_fmt_desc_get(Conf::ToAVPixelFormat(frame->format)) : nullptr;
    if (!format)
        return;
    auto const order = (format->flags & AV_PIX_FMT_FLAG_BE) != 0 ? std::endian::big : std::endian::little;
    for (int i = 0; i < format->nb_components; ++i) {
        AVComponentDescriptor const& component = format->comp[i];
        // A frame without pixels is for the graph to refuse.
        if (!HasRoomAbove(component) || !frame->data[component.plane])
            continue;
        ReadOnlyPlane const plane = data.GetReadOnlyPlane(component.plane);
        if (HasBitsAbove(plane.data, plane.lineSize, plane.rowBytes / sizeof(std::uint16_t), plane.rows,
                         component.depth, order))
            Core::Throw<EffectException>(
                site, fmt::format("{} takes samples of 0 to {} in {} frames; plane {} has higher ones",
                                  effect, (1 << component.depth) - 1, format->name, component.plane));
    }
}

} // namespace Tarsel::Proc
