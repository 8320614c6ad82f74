#include "Proc/Wrappers/SafeSwrContext.h"

#include "Conf/AVFormats.h"
#include "Conf/FFmpegFormats.h"
#include "Core/CoreExceptions.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/common.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

namespace Tarsel::Proc {

namespace {

constexpr char const* s_resamplerFile = "Proc/Wrappers/SafeSwrContext";
constexpr char const* s_convert =
    "std::optional<SafeFrame> Tarsel::Proc::SafeSwrContext::Convert(const AVFrame &)";
constexpr char const* s_flush = "std::optional<SafeFrame> Tarsel::Proc::SafeSwrContext::Flush()";

constexpr std::int64_t s_second = 1'000'000; // in microseconds
constexpr std::int64_t s_mostTimes = 256;
constexpr int s_mostChannels = 64; // SWR_CH_MAX

std::string SidesText(SwrCtxParams const& params) {
    return fmt::format("Cannot convert audio from {} to {}", AudioText(params.from), AudioText(params.to));
}

AVSampleFormat FFmpegFormat(Conf::SampleInfo const& info) noexcept {
    return Conf::ToAVSampleFormat(Conf::SampleFormatFFMPEGFromTarsel(info.format));
}

bool AreRatesFarApart(SwrCtxParams const& params) noexcept {
    auto const [low, high] = std::minmax({std::int64_t{params.from.rate}, std::int64_t{params.to.rate}});
    return high > s_mostTimes * low;
}

bool ChangesRate(SwrCtxParams const& params) noexcept {
    return params.from.rate != params.to.rate;
}

/// Whether single precision would lose bits of either side.
bool NeedsDouble(SwrCtxParams const& params) noexcept {
    return std::ranges::any_of(std::array{params.from.format, params.to.format}, [](auto format) {
        auto const packed = av_get_packed_sample_fmt(Conf::ToAVSampleFormat(format));
        return packed == AV_SAMPLE_FMT_S32 || packed == AV_SAMPLE_FMT_DBL;
    });
}

/// libswresample takes a layout without mask for the default one of as many channels, and would mix.
bool KeepsPlaces(SwrCtxParams const& params) noexcept {
    Conf::ChannelLayout const& from = params.from.layout;
    Conf::ChannelLayout const& to = params.to.layout;
    return from.channels == to.channels && (from.mask == 0 || to.mask == 0);
}

/// Returns a negative AVERROR when libswresample refuses.
int Init(SwrContext*& context, SwrCtxParams const& params) {
    AVChannelLayout toLayout = Conf::AVChannelLayoutFromTarsel(params.to.layout);
    AVChannelLayout fromLayout =
        KeepsPlaces(params) ? toLayout : Conf::AVChannelLayoutFromTarsel(params.from.layout);
    int error = swr_alloc_set_opts2(&context, &toLayout, FFmpegFormat(params.to), params.to.rate, &fromLayout,
                                    FFmpegFormat(params.from), params.from.rate, 0, nullptr);
    if (error >= 0 && NeedsDouble(params))
        error = av_opt_set_sample_fmt(context, "internal_sample_fmt", AV_SAMPLE_FMT_DBLP, 0);
    // Channels that are mixed stay within full scale, as libswresample has it of itself for integers alone.
    if (error >= 0)
        error = av_opt_set_double(context, "rematrix_maxval", 1, 0);
    return error < 0 ? error : swr_init(context);
}

/// A block of audio with buffers of its own.
SafeFrame MakeBlock(Conf::SampleInfo const& info, std::int64_t samples) {
    SafeFrame frame;
    SetFrameSampleInfo(*frame, info);
    frame->nb_samples = static_cast<int>(samples);
    frame.AllocateBuffers();
    return frame;
}

/// Where the samples from number `first` on lie.
std::vector<std::uint8_t*> PlanesFrom(AVFrame const& frame, std::int64_t first) {
    bool const planar = av_sample_fmt_is_planar(Conf::ToAVSampleFormat(frame.format)) != 0;
    int const planes = planar ? frame.ch_layout.nb_channels : 1;
    std::int64_t const step = av_get_bytes_per_sample(Conf::ToAVSampleFormat(frame.format)) *
                              std::int64_t{frame.ch_layout.nb_channels / planes};
    std::vector<std::uint8_t*> result(frame.extended_data, frame.extended_data + planes);
    for (std::uint8_t*& plane : result)
        plane += first * step;
    return result;
}

/// Converts `input`, or what the context still has in itself when null, into the frame from its sample
/// `first` on up to its sample count. Returns the number of samples written.
std::int64_t Run(Core::Site const& site, SwrContext* context, SwrCtxParams const& params,
                 AVFrame const* input, AVFrame& to, std::int64_t first) {
    auto const** const from =
        input != nullptr ? const_cast<std::uint8_t const**>(input->extended_data) : nullptr;
    int const written =
        swr_convert(context, PlanesFrom(to, first).data(), static_cast<int>(to.nb_samples - first), from,
                    input != nullptr ? input->nb_samples : 0);
    if (written == AVERROR(ENOMEM))
        Core::Throw<Core::MemoryException>(site, SidesText(params));
    if (written < 0)
        Core::Throw<EffectException>(site, SidesText(params), TagFFmpegError(written));
    return written;
}

} // namespace

void SafeSwrContext::FreeContext::operator()(SwrContext* context) const noexcept {
    swr_free(&context);
}

SafeSwrContext::Context SafeSwrContext::MakeContext(SwrCtxParams const& params) {
    Core::Site const site{s_resamplerFile,
                          "Tarsel::Proc::SafeSwrContext::SafeSwrContext(const SwrCtxParams &)"};
    int error = AVERROR(EINVAL);
    if (Conf::IsKnown(params.from) && Conf::IsKnown(params.to)) {
        if (AreRatesFarApart(params))
            Core::Throw<EffectException>(site, fmt::format("{}: one rate is more than {} times the other",
                                                           SidesText(params), s_mostTimes));
        SwrContext* context = nullptr;
        error = Init(context, params);
        Context owner(context);
        if (error >= 0)
            return owner;
        if (int const most = std::max(params.from.layout.channels, params.to.layout.channels);
            most > s_mostChannels)
            Core::Throw<EffectException>(site, fmt::format("{}: at most {} channels can be converted",
                                                           SidesText(params), s_mostChannels));
        if (params.from.layout.channels != params.to.layout.channels &&
            (params.from.layout.mask == 0 || params.to.layout.mask == 0))
            Core::Throw<EffectException>(
                site, fmt::format("{}: channels without a layout cannot be mixed", SidesText(params)));
    }
    if (error == AVERROR(ENOMEM))
        Core::Throw<Core::MemoryException>(site, SidesText(params));
    Core::Throw<EffectException>(site, SidesText(params), TagFFmpegError(error));
}

SafeSwrContext::SafeSwrContext(SwrCtxParams const& params)
    : m_params(params), m_context(MakeContext(params)) {}

std::optional<SafeFrame> SafeSwrContext::Convert(AVFrame const& block) {
    Core::Site const site{s_resamplerFile, s_convert};
    if (!m_context)
        Core::Throw<EffectException>(site, "The audio converter is empty");
    if (Conf::SampleInfo const form = GetFrameSampleInfo(block); form != m_params.from)
        Core::Throw<EffectException>(site,
                                     fmt::format("{}: the converter is for {}",
                                                 SidesText({form, m_params.to}), AudioText(m_params.from)));
    if (block.nb_samples <= 0)
        return std::nullopt;
    if (!HasSamples(block))
        Core::Throw<EffectException>(
            site, fmt::format("A block of audio said to be of {} samples of {} holds fewer", block.nb_samples,
                              AudioText(m_params.from)));
    try {
        return ConvertBlock(block);
    } catch (...) {
        StartAfresh();
        throw;
    }
}

std::optional<SafeFrame> SafeSwrContext::ConvertBlock(AVFrame const& block) {
    Core::Site const site{s_resamplerFile, s_convert};
    if (m_isSpent) {
        m_context = MakeContext(m_params);
        m_isSpent = false;
    }
    int const most = swr_get_out_samples(m_context.get(), block.nb_samples);
    if (most < 0)
        Core::Throw<EffectException>(
            site, fmt::format("{}: {} samples at once are too many", SidesText(m_params), block.nb_samples),
            TagFFmpegError(most));

    if (block.pts != AV_NOPTS_VALUE)
        m_anchors.push_back({m_taken, block.pts});
    m_taken += block.nb_samples;
    SafeFrame result = MakeBlock(m_params.to, std::max(most, 1));
    std::int64_t const written = Run(site, m_context.get(), m_params, &block, *result, 0);
    if (written == 0)
        return std::nullopt;
    result->nb_samples = static_cast<int>(written);
    Stamp(*result);
    if (std::int64_t const said = GetFrameDuration(block); said > 0 && !ChangesRate(m_params))
        SetFrameDuration(*result, said);
    return result;
}

std::optional<SafeFrame> SafeSwrContext::Flush() {
    if (!m_context)
        Core::Throw<EffectException>({s_resamplerFile, s_flush}, "The audio converter is empty");
    std::optional<SafeFrame> rest;
    try {
        rest = TakeRest();
    } catch (...) {
        StartAfresh();
        throw;
    }
    StartAfresh();
    return rest;
}

/// libswresample mirrors the end of the stream as far as its filter reaches. A stream shorter than the filter
/// needs silence after that to come out.
std::optional<SafeFrame> SafeSwrContext::TakeRest() {
    Core::Site const site{s_resamplerFile, s_flush};
    std::int64_t const rest = av_rescale(m_taken, m_params.to.rate, m_params.from.rate) - m_given;
    if (!ChangesRate(m_params) || rest <= 0)
        return std::nullopt;
    SafeFrame result = MakeBlock(m_params.to, rest);
    std::int64_t filled = Run(site, m_context.get(), m_params, nullptr, *result, 0);
    if (filled < rest) {
        constexpr int atOnce = 1024;
        SafeFrame const silence = MakeBlock(m_params.from, atOnce);
        av_samples_set_silence(silence->extended_data, 0, atOnce, m_params.from.layout.channels,
                               FFmpegFormat(m_params.from));
        while (filled < rest)
            filled += Run(site, m_context.get(), m_params, silence.Get(), *result, filled);
    }
    Stamp(*result);
    return result;
}

/// Of an output sample. Those before it may not be asked for any more.
std::int64_t SafeSwrContext::GetTime(std::int64_t sample) {
    std::int64_t const common = std::gcd(m_params.from.rate, m_params.to.rate);
    std::int64_t const from = m_params.from.rate / common;
    std::int64_t const to = m_params.to.rate / common;
    // In common/(from·to) of a second, which both kinds of samples are whole multiples of.
    std::int64_t const place = sample * from;
    while (m_anchors.size() > 1 && std::next(m_anchors.begin())->sample * to <= place)
        m_anchors.pop_front();
    if (m_anchors.empty() || m_anchors.front().sample * to > place)
        return AV_NOPTS_VALUE;
    std::int64_t const offset =
        av_rescale(place - m_anchors.front().sample * to, s_second, from * m_params.to.rate);
    return av_sat_add64(m_anchors.front().time, offset);
}

/// The samples of `result` are the next given.
void SafeSwrContext::Stamp(AVFrame& result) {
    result.pts = GetTime(m_given);
    SetFrameDuration(result, av_rescale(result.nb_samples, s_second, m_params.to.rate));
    m_given += result.nb_samples;
}

void SafeSwrContext::StartAfresh() noexcept {
    m_isSpent = m_isSpent || m_taken > 0;
    m_taken = 0;
    m_given = 0;
    m_anchors.clear();
}

} // namespace Tarsel::Proc
