#include "Conf/FormatCodecVideo.h"

namespace Tarsel::Conf {

FormatCodecVideo::FormatCodecVideo() : FormatCodecVideo(PixFmt::None, {}) {}

FormatCodecVideo::FormatCodecVideo(PixFmt format, FrameInfo const& info, Ratio frameRate)
    : m_format(format), m_info(WithDefinedAspect(info)) {
    SetChildT(TAG_FPS, frameRate);
}

PixFmt FormatCodecVideo::GetPixelFormat() const {
    return m_format;
}

void FormatCodecVideo::SetPixelFormat(PixFmt format) {
    m_format = format;
}

FrameInfo FormatCodecVideo::GetFrameInfo() const {
    return m_info;
}

void FormatCodecVideo::InitByPixelAspect(std::uint32_t width, std::uint32_t height, std::uint32_t aspectNum,
                                         std::uint32_t aspectDen) {
    m_info = WithDefinedAspect({width, height, aspectNum, aspectDen});
}

DisplayMatrix FormatCodecVideo::GetDisplayMatrix() const {
    return m_matrix.value_or(DisplayMatrix::s_default);
}

void FormatCodecVideo::SetDisplayMatrix(DisplayMatrix const& matrix) {
    m_matrix = matrix;
}

bool FormatCodecVideo::ExistsDisplayMatrix() const {
    return m_matrix.has_value();
}

ColorSpace FormatCodecVideo::GetColorSpace() const {
    return m_space;
}

void FormatCodecVideo::SetColorSpace(ColorSpace const& space) {
    m_space = space;
}

} // namespace Tarsel::Conf
