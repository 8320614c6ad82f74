#include "Media/Codec/VideoConversion.h"

#include "Conf/AVFormats.h"
#include "Conf/PixFmtDescription.h"

#include <algorithm>

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tarsel::Media {

namespace {

using Conf::PixFmt;
using Conf::Color::Form;

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
        bool const possible = plain == format || sws_isSupportedOutput(Conf::ToAVPixelFormat(plain)) != 0;
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

} // namespace

std::optional<Form> FindYuvOrigin(Form const& input) {
    if (input.format == PixFmt::None || Conf::Color::ModelOf(input.format) != Conf::Color::Model::Yuv)
        return std::nullopt;
    return WithoutFixedRange(input);
}

VideoConversion ChooseVideoConversion(PixFmt format, Conf::ColorSpace const& space, std::uint32_t width,
                                      std::uint32_t height, EncoderRules const& rules,
                                      std::optional<Form> const& origin) {
    Form const input = WithoutFixedRange(Form{format, space});
    PixFmt const from = input.format;
    bool const fromRgb = Conf::Color::IsRgbLike(from);
    VideoConversion picture{from, input.space};

    if (!rules.formats.empty()) {
        std::vector<PixFmt> const candidates = ListCandidates(from, width, height, rules);
        bool const isBackFromRgb = origin && fromRgb && Contains(candidates, origin->format);
        if (!Contains(candidates, from) && isBackFromRgb)
            picture.format = origin->format;
        else if (!Contains(candidates, from))
            picture.format =
                Conf::FindBestPixelFormatOfList(candidates, WithLeastChroma(from), true, &picture.loss);
        if (picture.format == PixFmt::None)
            return picture;
    }

    bool const toRgb = Conf::Color::IsRgbLike(picture.format);
    picture.space =
        !toRgb && fromRgb && origin ? origin->space : After(input, picture.format, Conf::Color::For::Encoder);
    if (!toRgb && rules.codec.isJpeg)
        picture.space = {AVCOL_SPC_BT470BG, AVCOL_RANGE_JPEG, picture.space.primaries};
    else if (!toRgb && rules.codec.isWebp)
        picture.space = {AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, picture.space.primaries};
    else if (!toRgb && rules.losesRange && picture.space.range != AVCOL_RANGE_UNSPECIFIED)
        picture.space.range = Conf::PixFmtDescription::Find(picture.format).IsFullRange({})
                                  ? AVCOL_RANGE_JPEG
                                  : AVCOL_RANGE_MPEG;

    picture.isConverted = picture.format != from || !MeansTheSame(input, {picture.format, picture.space});
    if (!Contains(rules.formats, picture.format) &&
        Contains(rules.formats, Conf::WithFullRange(picture.format)))
        picture.format = Conf::WithFullRange(picture.format);
    return picture;
}

} // namespace Tarsel::Media
