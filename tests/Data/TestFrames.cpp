#include "Data/TestFrames.h"

#include "Conf/PixFmtDescription.h"

#include <climits>
#include <cstring>
#include <random>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Proc {

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

SafeFrame MakeNoise(Conf::PixFmt format, std::uint32_t width, std::uint32_t height) {
    SafeFrame frame({}, format, width, height, 1, 1);
    std::minstd_rand random;
    for (AVBufferRef const* buffer : frame->buf)
        for (std::size_t i = 0; buffer != nullptr && i < buffer->size; ++i)
            buffer->data[i] = static_cast<std::uint8_t>(random() >> 8);
    return frame;
}

SafeFrame StoreBottomUp(AVFrame const& frame) {
    SafeFrame flipped({}, static_cast<Conf::PixFmt>(frame.format), static_cast<std::uint32_t>(frame.width),
                      static_cast<std::uint32_t>(frame.height), 1, 1);
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

AllocationLimit::AllocationLimit(std::size_t bytes) {
    av_max_alloc(bytes);
}

AllocationLimit::~AllocationLimit() {
    av_max_alloc(INT_MAX);
}

} // namespace Tarsel::Proc
