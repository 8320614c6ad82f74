#include "Conf/Color.h"

#include "Conf/AVFormats.h"
#include "Conf/ColorMatrix.h"
#include "Conf/PixFmtDescription.h"

#include <string_view>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Conf::Color {

namespace {

AVPixFmtDescriptor const& DescriptorOf(PixFmt format) {
    return *av_pix_fmt_desc_get(ToAVPixelFormat(PixFmtDescription::Find(format).GetFormat()));
}

bool HasFixedRange(PixFmt format) noexcept {
    return Conf::WithoutFixedRange(format) != format;
}

bool IsFull(PixFmt format, ColorSpace const& space) {
    return PixFmtDescription::Find(format).IsFullRange(space);
}

ColorSpace RgbOfYuv(ColorSpace space, For whom) noexcept {
    bool const isNamed = space.matrix != AVCOL_SPC_UNSPECIFIED;
    if (whom != For::Encoder && isNamed && space.primaries == AVCOL_PRI_UNSPECIFIED)
        space.primaries = PrimariesOf(space.matrix);
    if (whom == For::Encoder || isNamed)
        space.matrix = AVCOL_SPC_RGB;
    space.range = AVCOL_RANGE_JPEG;
    return space;
}

ColorSpace YuvOfRgb(ColorSpace space, PixFmt to, For whom) {
    if (whom == For::Encoder || space.matrix == AVCOL_SPC_RGB)
        space.matrix = MatrixOf(space.primaries);
    if (whom == For::Encoder && space.primaries == AVCOL_PRI_UNSPECIFIED)
        space.primaries = AVCOL_PRI_BT709;
    bool const isFull = whom == For::RoundTrip || HasFixedRange(to) || ModelOf(to) == Model::Gray;
    space.range = isFull ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    return space;
}

ColorSpace YuvOfYuv(Form const& from, PixFmt to, For whom) {
    ColorSpace space = from.space;
    bool const isFull = IsFull(from.format, space);
    if (space.matrix == AVCOL_SPC_RGB) // gray that came from RGB
        space.matrix = AVCOL_SPC_UNSPECIFIED;
    if (HasFixedRange(to))
        space.range = AVCOL_RANGE_JPEG;
    else if (whom != For::Encoder && IsFull(to, space) != isFull)
        space.range = isFull ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    return space;
}

} // namespace

Model ModelOf(AVPixFmtDescriptor const& format) noexcept {
    if ((format.flags & AV_PIX_FMT_FLAG_PAL) != 0)
        return Model::Palette;
    if ((format.flags & AV_PIX_FMT_FLAG_RGB) != 0)
        return Model::Rgb;
    if (std::string_view(format.name).starts_with("xyz"))
        return Model::Xyz;
    return format.nb_components <= 2 ? Model::Gray : Model::Yuv;
}

Model ModelOf(PixFmt format) {
    return ModelOf(DescriptorOf(format));
}

bool IsRgbLike(PixFmt format) {
    Model const model = ModelOf(format);
    return model != Model::Gray && model != Model::Yuv;
}

bool HasPlanePerComponent(PixFmt format) {
    AVPixFmtDescriptor const& descriptor = DescriptorOf(format);
    int const planes = PixFmtDescription::Find(format).GetPlaneCount();
    return planes > 0 && planes == descriptor.nb_components &&
           (descriptor.flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL)) ==
               0;
}

PixFmt Workable(PixFmt format) {
    if (format == PixFmt::PAL8 || PixFmtDescription::IsSupported(format))
        return WithoutPalette(format);
    int loss = 0;
    return FindBestPixelFormatOfList(PixFmtDescription::s_supportedFormats, format, true, &loss);
}

PixFmt WithoutPalette(PixFmt format) noexcept {
    return format == PixFmt::PAL8 ? PixFmt::RGBA : format;
}

Form WithoutFixedRange(Form const& form) {
    PixFmt const plain = Conf::WithoutFixedRange(form.format);
    return {plain, After(form, plain, For::Effect)};
}

bool MeansTheSame(Form const& a, Form const& b) {
    bool const haveMatrices = ModelOf(a.format) == Model::Yuv && ModelOf(b.format) == Model::Yuv;
    return IsFull(a.format, a.space) == IsFull(b.format, b.space) &&
           (!haveMatrices || IsSameMatrix(a.space.matrix, b.space.matrix));
}

ColorSpace After(Form const& from, PixFmt to, For whom) {
    bool const toRgb = IsRgbLike(to);
    if (IsRgbLike(from.format))
        return toRgb ? from.space : YuvOfRgb(from.space, to, whom);
    return toRgb ? RgbOfYuv(from.space, whom) : YuvOfYuv(from, to, whom);
}

} // namespace Tarsel::Conf::Color
