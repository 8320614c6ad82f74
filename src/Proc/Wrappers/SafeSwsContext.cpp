#include "Proc/Wrappers/SafeSwsContext.h"

#include "Conf/AVFormats.h"
#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Proc/Wrappers/FrameRoom.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <fmt/format.h>

#include <utility>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tarsel::Proc {

namespace {

constexpr char const* s_scalerFile = "Proc/Wrappers/SafeSwsContext";

std::string SizeText(SwsCtxSide const& side) {
    return fmt::format("{}x{} {}", side.width, side.height, PixelFormatText(static_cast<int>(side.format)));
}

std::string SideText(SwsCtxSide const& side) {
    return fmt::format("{} (matrix {}, range {})", SizeText(side), side.space.matrix, side.space.range);
}

/// Of a format that FFmpeg knows.
AVPixFmtDescriptor const& Descriptor(SwsCtxSide const& side) noexcept {
    return *av_pix_fmt_desc_get(Conf::ToAVPixelFormat(side.format));
}

bool IsFullRange(SwsCtxSide const& side) {
    return Conf::PixFmtDescription::Find(side.format).IsFullRange(side.space);
}

bool IsYuv(SwsCtxSide const& side) {
    return Conf::Color::ModelOf(side.format) == Conf::Color::Model::Yuv;
}

/// The format as libswscale wants it, which warns of "j" formats.
std::int64_t ScalerFormat(Conf::PixFmt format) noexcept {
    return static_cast<std::int64_t>(Conf::WithoutFixedRange(format));
}

bool IsSameSize(SwsCtxParams const& params) noexcept {
    return params.from.width == params.to.width && params.from.height == params.to.height;
}

/// Whether pixels stay as they are. libswscale's own copies (5.1) leave out the chroma of semi-planar formats
/// and half of every row of float formats.
bool IsCopy(SwsCtxParams const& params) {
    return IsSameSize(params) && params.from.format == params.to.format &&
           (!IsYuv(params.from) || Conf::Color::MeansTheSame({params.from.format, params.from.space},
                                                             {params.to.format, params.to.space}));
}

/// Whether U and V share a plane.
bool MixesChroma(AVPixFmtDescriptor const& format) noexcept {
    return format.comp[1].plane == format.comp[2].plane;
}

/// Whether libswscale would merely reorder chroma, which it does not do to the end where a width or height is
/// odd (5.1: yuyv422 to yuv420p, yuv422p to yuyv422, yuv420p to p010); or would copy gray and leave out the
/// chroma of semi-planar formats (5.1: gray to nv12).
bool NeedsDetour(SwsCtxParams const& params) {
    if (!IsSameSize(params))
        return false;
    bool const odd = (params.from.width | params.from.height) % 2 != 0;
    AVPixFmtDescriptor const& from = Descriptor(params.from);
    AVPixFmtDescriptor const& to = Descriptor(params.to);
    if (Conf::Color::ModelOf(params.from.format) == Conf::Color::Model::Gray)
        return IsYuv(params.to) && MixesChroma(to);
    return odd && from.log2_chroma_w > 0 && to.log2_chroma_w > 0 && MixesChroma(from) != MixesChroma(to);
}

/// libswscale (5.1) shows XYZ of negative line sizes the other way up.
bool IsTurnedOver(AVFrame const& frame, SwsCtxSide const& side) {
    return frame.linesize[0] < 0 && Conf::Color::ModelOf(side.format) == Conf::Color::Model::Xyz;
}

/// Where a detour goes: nothing is lost there, and nothing is subsampled.
constexpr auto s_detourFormat = static_cast<Conf::PixFmt>(AV_PIX_FMT_YUVA444P16);

/// libswscale takes RGB's matrix for that of HD; but YUV that has its name was made of RGB by a filter (5.1),
/// which goes by BT.601 and leaves the name.
int const* CoefficientsOf(SwsCtxSide const& side) {
    bool const isMisnamed = IsYuv(side) && side.space.matrix == AVCOL_SPC_RGB;
    return sws_getCoefficients(isMisnamed ? std::int32_t{AVCOL_SPC_UNSPECIFIED} : side.space.matrix);
}

/// What a release of libswscale cannot take in stays at its default: no reason to refuse a picture.
void SetColors(SwsContext* context, SwsCtxParams const& params) {
    constexpr int brightness = 0;
    constexpr int contrast = 1 << 16;
    constexpr int saturation = 1 << 16;
    // RGB goes to RGB by way of YUV, where the two matrices would not cancel out.
    bool const staysRgb =
        Conf::Color::IsRgbLike(params.from.format) && Conf::Color::IsRgbLike(params.to.format);
    sws_setColorspaceDetails(context, CoefficientsOf(params.from), IsFullRange(params.from) ? 1 : 0,
                             CoefficientsOf(staysRgb ? params.from : params.to),
                             IsFullRange(params.to) ? 1 : 0, brightness, contrast, saturation);
}

/// Returns a negative AVERROR when libswscale refuses.
int Init(SwsContext* context, SwsCtxParams const& params) {
    struct {
        char const* name;
        std::int64_t value;
    } const options[] = {{"srcw", params.from.width},
                         {"srch", params.from.height},
                         {"src_format", ScalerFormat(params.from.format)},
                         {"dstw", params.to.width},
                         {"dsth", params.to.height},
                         {"dst_format", ScalerFormat(params.to.format)},
                         {"sws_flags", params.flags}};
    for (auto const& option : options)
        if (int const error = av_opt_set_int(context, option.name, option.value, 0); error < 0)
            return error;

    // Before the initialization, which takes a plain copy for two ranges that are the same by then; and after
    // it, because it makes gray full range whatever was said.
    SetColors(context, params);
    if (int const error = sws_init_context(context, nullptr, nullptr); error < 0)
        return error;
    SetColors(context, params);
    return 0;
}

bool IsKnown(SwsCtxSide const& side) noexcept {
    return av_pix_fmt_desc_get(Conf::ToAVPixelFormat(side.format)) != nullptr;
}

bool IsLike(AVFrame const& frame, SwsCtxSide const& side) noexcept {
    return frame.format == static_cast<int>(side.format) && std::cmp_equal(frame.width, side.width) &&
           std::cmp_equal(frame.height, side.height);
}

void CheckResult(Core::Site const& site, int result, AVFrame const& from, AVFrame const& to) {
    if (result < 0)
        Core::Throw<EffectException>(
            site, fmt::format("Cannot scale from {} to {}", PictureText(from), PictureText(to)),
            TagFFmpegError(result));
}

} // namespace

SwsCtxSide SideOf(AVFrame const& frame) noexcept {
    return {static_cast<std::uint32_t>(frame.width), static_cast<std::uint32_t>(frame.height),
            static_cast<Conf::PixFmt>(frame.format), GetFrameColorSpace(frame)};
}

void SafeSwsContext::FreeContext::operator()(SwsContext* context) const noexcept {
    sws_freeContext(context);
}

SafeSwsContext::Context SafeSwsContext::MakeContext(SwsCtxParams const& params) {
    Context context;
    int error = AVERROR(EINVAL);
    if (IsKnown(params.from) && IsKnown(params.to)) {
        context.reset(sws_alloc_context());
        error = context ? Init(context.get(), params) : AVERROR(ENOMEM);
    }
    if (error >= 0)
        return context;
    Core::Site const site{s_scalerFile, "Tarsel::Proc::SafeSwsContext::SafeSwsContext(const SwsCtxParams &)"};
    std::string const text =
        fmt::format("Cannot scale from {} to {}", SideText(params.from), SideText(params.to));
    if (error == AVERROR(ENOMEM))
        Core::Throw<Core::MemoryException>(site, text);
    Core::Throw<EffectException>(site, text, TagFFmpegError(error));
}

SafeSwsContext::SafeSwsContext(SwsCtxParams const& params)
    : m_params(params), m_context(MakeContext(params)) {
    if (!NeedsDetour(params))
        return;
    SwsCtxSide const between{params.to.width, params.to.height, s_detourFormat, params.to.space};
    m_context = MakeContext({params.from, between, params.flags});
    m_rest = std::make_unique<SafeSwsContext>(SwsCtxParams{between, params.to, params.flags});
}

void SafeSwsContext::Scale(AVFrame const& from, AVFrame& to) const {
    Core::Site const site{s_scalerFile,
                          "void Tarsel::Proc::SafeSwsContext::Scale(const AVFrame &, AVFrame &) const"};
    if (!m_context)
        Core::Throw<EffectException>(site, "The scaler is empty");
    if (!IsLike(from, m_params.from) || !IsLike(to, m_params.to))
        Core::Throw<EffectException>(
            site, fmt::format("Cannot scale from {} to {}: the scaler is for {} to {}", PictureText(from),
                              PictureText(to), SizeText(m_params.from), SizeText(m_params.to)));
    auto const run = [&](AVFrame& target) {
        int const rows = sws_scale(m_context.get(), from.data, from.linesize, 0, from.height, target.data,
                                   target.linesize);
        CheckResult(site, rows, from, target);
    };
    Details::RequireWholeRows(from);
    Details::RequireWholeRows(to);
    if (IsCopy(m_params)) {
        CheckResult(site, av_frame_copy(&to, &from), from, to);
    } else if (!HasRoomBehind(from) || IsTurnedOver(from, m_params.from)) {
        Scale(*CopyWithRoomBehind(from), to);
    } else if (m_rest) {
        SwsCtxSide const& between = m_rest->m_params.from;
        SafeFrame frame(between.space, between.format, between.width, between.height, 0, 1);
        run(*frame);
        m_rest->Scale(*frame, to);
    } else {
        run(to);
    }
}

} // namespace Tarsel::Proc
