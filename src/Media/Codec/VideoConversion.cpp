#include "Media/Codec/VideoConversion.h"

#include "Conf/PixFmtDescription.h"

#include <algorithm>

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tarsel::Media {

namespace {

using Conf::PixFmt;

bool Contains(std::vector<PixFmt> const& formats, PixFmt format) {
    return std::find(formats.begin(), formats.end(), format) != formats.end();
}

bool HasWholeChroma(PixFmt format, std::uint32_t width, std::uint32_t height) {
    auto const& description = Conf::PixFmtDescription::Find(format);
    return width % (1U << description.GetChromaShiftX()) == 0 &&
           height % (1U << description.GetChromaShiftY()) == 0;
}

/// The encoder's formats that pictures of this size can have and the scaler can make, "j" formats by their
/// plain names.
std::vector<PixFmt> ListCandidates(PixFmt format, std::uint32_t width, std::uint32_t height,
                                   EncoderRules const& rules) {
    std::vector<PixFmt> candidates;
    for (PixFmt const listed : rules.formats) {
        PixFmt const plain = Conf::WithoutFixedRange(listed);
        bool const possible =
            plain == format || sws_isSupportedOutput(static_cast<AVPixelFormat>(plain)) != 0;
        if (possible && !Contains(candidates, plain) &&
            (!rules.codec.wantsWholeChroma || HasWholeChroma(plain, width, height)))
            candidates.push_back(plain);
    }
    return candidates;
}

/// The YUV that a gray format of that depth fits into: it has no chroma to lose. Other formats themselves.
PixFmt WithLeastChroma(PixFmt format) {
    auto const& description = Conf::PixFmtDescription::Find(format);
    if (!description.IsGray() || description.HasAlpha())
        return format;
    int const depth = description.GetDepth();
    AVPixelFormat const like = depth <= 8    ? AV_PIX_FMT_YUV420P
                               : depth <= 10 ? AV_PIX_FMT_YUV420P10
                               : depth <= 12 ? AV_PIX_FMT_YUV420P12
                                             : AV_PIX_FMT_YUV420P16;
    return static_cast<PixFmt>(like);
}

/// What YUV made from RGB is: the colors of HD, which players assume, and the usual range.
constexpr Conf::ColorSpace MakeYuvFromRgb(Conf::ColorSpace const& rgb) noexcept {
    return {AVCOL_SPC_BT709, AVCOL_RANGE_MPEG,
            rgb.primaries == AVCOL_PRI_UNSPECIFIED ? std::int32_t{AVCOL_PRI_BT709} : rgb.primaries};
}

/// The three names of BT.601's matrix are one.
bool IsSameMatrix(std::int32_t a, std::int32_t b) noexcept {
    auto const is601 = [](std::int32_t matrix) {
        return matrix == AVCOL_SPC_UNSPECIFIED || matrix == AVCOL_SPC_BT470BG ||
               matrix == AVCOL_SPC_SMPTE170M;
    };
    return a == b || (is601(a) && is601(b));
}

} // namespace

bool IsRgb(PixFmt format) {
    auto const& description = Conf::PixFmtDescription::Find(format);
    return description.IsRgb() || (description.GetFlags() & Conf::PixFmtDescription::Palette) != 0;
}

std::optional<VideoFormat> FindYuvOrigin(VideoFormat const& input) {
    if (input.format == PixFmt::None || IsRgb(input.format) ||
        Conf::PixFmtDescription::Find(input.format).IsGray())
        return std::nullopt;
    VideoFormat origin{Conf::WithoutFixedRange(input.format), input.space};
    if (origin.format != input.format)
        origin.space.range = AVCOL_RANGE_JPEG;
    return origin;
}

VideoConversion ChooseVideoConversion(PixFmt format, Conf::ColorSpace const& space, std::uint32_t width,
                                      std::uint32_t height, EncoderRules const& rules,
                                      std::optional<VideoFormat> const& origin) {
    PixFmt const from = Conf::WithoutFixedRange(format);
    Conf::ColorSpace fromSpace = space;
    if (from != format)
        fromSpace.range = AVCOL_RANGE_JPEG;
    VideoConversion picture{from, fromSpace};

    if (!rules.formats.empty()) {
        std::vector<PixFmt> const candidates = ListCandidates(from, width, height, rules);
        bool const isBackFromRgb = origin && IsRgb(from) && Contains(candidates, origin->format);
        if (!Contains(candidates, from) && isBackFromRgb)
            picture.format = origin->format;
        else if (!Contains(candidates, from))
            picture.format =
                Conf::FindBestPixelFormatOfList(candidates, WithLeastChroma(from), true, &picture.loss);
        if (picture.format == PixFmt::None)
            return picture;
    }

    bool const toRgb = IsRgb(picture.format);
    if (toRgb && !IsRgb(from))
        picture.space = {AVCOL_SPC_RGB, AVCOL_RANGE_JPEG, fromSpace.primaries};
    else if (!toRgb && IsRgb(from))
        picture.space = origin ? origin->space : MakeYuvFromRgb(fromSpace);
    if (!toRgb && picture.space.matrix == AVCOL_SPC_RGB) // gray that came from RGB
        picture.space.matrix = AVCOL_SPC_UNSPECIFIED;
    if (!toRgb && rules.codec.isJpeg)
        picture.space = {AVCOL_SPC_BT470BG, AVCOL_RANGE_JPEG, picture.space.primaries};
    else if (!toRgb && rules.codec.isWebp)
        picture.space = {AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, picture.space.primaries};
    else if (!toRgb && rules.losesRange && picture.space.range == AVCOL_RANGE_JPEG)
        picture.space.range = AVCOL_RANGE_MPEG;

    auto const& description = Conf::PixFmtDescription::Find(picture.format);
    bool const sameRange =
        Conf::PixFmtDescription::Find(from).IsFullRange(fromSpace) == description.IsFullRange(picture.space);
    bool const sameMatrix = Conf::PixFmtDescription::Find(from).IsGray() || description.IsGray() ||
                            IsRgb(from) || toRgb || IsSameMatrix(fromSpace.matrix, picture.space.matrix);
    picture.isConverted = picture.format != from || !sameRange || !sameMatrix;
    if (!Contains(rules.formats, picture.format) &&
        Contains(rules.formats, Conf::WithFullRange(picture.format)))
        picture.format = Conf::WithFullRange(picture.format);
    return picture;
}

} // namespace Tarsel::Media
