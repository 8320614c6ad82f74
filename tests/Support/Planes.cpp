#include "Support/Planes.h"

#include "Conf/PixFmtDescription.h"

#include <cstring>
#include <random>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
}

namespace Tarsel::Test {

namespace {

struct Rows {
    std::size_t bytes;
    int count;
};

Rows RowsOf(AVFrame const& frame, int plane) {
    auto const format = static_cast<Conf::PixFmt>(frame.format);
    return {static_cast<std::size_t>(
                av_image_get_linesize(static_cast<AVPixelFormat>(frame.format), frame.width, plane)),
            static_cast<int>(Conf::PixFmtDescription::Find(format).GetPlanHeight(
                plane, static_cast<std::uint32_t>(frame.height)))};
}

int PlaneCount(AVFrame const& frame) {
    return Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(frame.format)).GetPlaneCount();
}

} // namespace

Conf::PixFmt ByName(std::string_view name) {
    return Conf::PixFmtDescription::FindByName(name).value();
}

std::string const& NameOf(Conf::PixFmt format) {
    return Conf::PixFmtDescription::Find(format).GetName();
}

Proc::SafeFrame MakeNoise(Conf::PixFmt format, std::uint32_t width, std::uint32_t height) {
    Proc::SafeFrame frame({}, format, width, height, 1, 1);
    std::minstd_rand random;
    for (AVBufferRef const* buffer : frame->buf)
        for (std::size_t i = 0; buffer != nullptr && i < buffer->size; ++i)
            buffer->data[i] = static_cast<std::uint8_t>(random() >> 8);
    return frame;
}

Proc::SafeFrame StoreBottomUp(AVFrame const& frame) {
    Proc::SafeFrame flipped({}, static_cast<Conf::PixFmt>(frame.format),
                            static_cast<std::uint32_t>(frame.width), static_cast<std::uint32_t>(frame.height),
                            1, 1);
    for (int plane = 0; plane < PlaneCount(frame); ++plane) {
        Rows const rows = RowsOf(frame, plane);
        flipped->data[plane] += (rows.count - 1) * flipped->linesize[plane];
        flipped->linesize[plane] = -flipped->linesize[plane];
        for (int row = 0; row < rows.count; ++row)
            std::memcpy(flipped->data[plane] + row * flipped->linesize[plane],
                        frame.data[plane] + row * frame.linesize[plane], rows.bytes);
    }
    if (static_cast<Conf::PixFmt>(frame.format) == Conf::PixFmt::PAL8)
        std::memcpy(flipped->data[1], frame.data[1], AVPALETTE_SIZE);
    return flipped;
}

Proc::SafeFrame MakeUncounted(std::uint8_t* pixels, int width, int height) {
    Proc::SafeFrame frame;
    frame->format = AV_PIX_FMT_GRAY8;
    frame->width = width;
    frame->height = height;
    frame->data[0] = pixels;
    frame->linesize[0] = width;
    return frame;
}

std::vector<std::uint8_t> PlaneBytes(AVFrame const& frame, int plane) {
    std::vector<std::uint8_t> bytes;
    Rows const rows = RowsOf(frame, plane);
    for (int row = 0; row < rows.count; ++row) {
        std::uint8_t const* const start = frame.data[plane] + row * frame.linesize[plane];
        bytes.insert(bytes.end(), start, start + rows.bytes);
    }
    return bytes;
}

void FillPlane(AVFrame& frame, int plane, std::uint8_t value) {
    Rows const rows = RowsOf(frame, plane);
    for (int row = 0; row < rows.count; ++row)
        std::memset(frame.data[plane] + row * frame.linesize[plane], value, rows.bytes);
}

} // namespace Tarsel::Test
