#include "Media/Codec/Encoders.h"

#include "Media/Base/FFmpegVersions.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Media {

namespace {

enum : unsigned {
    Range = 1,
    Rate = 2,
    Fields = 4,
    WholeChroma = 8,
    Jpeg = 16,
    Webp = 32,
    Films = 64,
    Clear = 128
};

struct CodecRow {
    AVCodecID codec;
    unsigned facts;
};

constexpr CodecRow s_codecs[] = {
    {AV_CODEC_ID_H264, Range | Fields | WholeChroma | Films},
    {AV_CODEC_ID_HEVC, Range | WholeChroma | Films},
    {AV_CODEC_ID_VP8, Films},
    {AV_CODEC_ID_VP9, Range | Films},
    {AV_CODEC_ID_AV1, Range | Films},
    {AV_CODEC_ID_MPEG1VIDEO, Rate | Films},
    {AV_CODEC_ID_MPEG2VIDEO, Rate | Fields | Films},
    {AV_CODEC_ID_MPEG4, Fields | Films},
    {AV_CODEC_ID_MSMPEG4V2, Rate | Films},
    {AV_CODEC_ID_MSMPEG4V3, Rate | Films},
    {AV_CODEC_ID_WMV1, Films},
    {AV_CODEC_ID_WMV2, Films},
    {AV_CODEC_ID_FLV1, Films},
    {AV_CODEC_ID_H261, Rate},
    {AV_CODEC_ID_H263, Rate | Films},
    {AV_CODEC_ID_H263P, Rate},
    {AV_CODEC_ID_THEORA, Rate | Films},
    {AV_CODEC_ID_DIRAC, Films},
    {AV_CODEC_ID_DVVIDEO, Rate | Fields | Films},
    {AV_CODEC_ID_DNXHD, Rate | Fields | Films},
    {AV_CODEC_ID_PRORES, Fields | Films},
    {AV_CODEC_ID_CFHD, Films},
    {AV_CODEC_ID_JPEG2000, Films},
    {AV_CODEC_ID_MJPEG, Jpeg | Films},
    {AV_CODEC_ID_LJPEG, Jpeg},
    {AV_CODEC_ID_WEBP, Webp},
    {AV_CODEC_ID_FFV1, Films},
    {AV_CODEC_ID_FFVHUFF, Films},
    {AV_CODEC_ID_HUFFYUV, Films},
    {AV_CODEC_ID_UTVIDEO, Films},
    {AV_CODEC_ID_MAGICYUV, Films},
    {AV_CODEC_ID_QTRLE, Films},
    {AV_CODEC_ID_V210, Films},
    {AV_CODEC_ID_PNG, Films | Clear},
    {AV_CODEC_ID_APNG, Clear},
    {AV_CODEC_ID_GIF, Clear},
};

constexpr std::size_t s_qualities = 5;

/// An encoder of pictures in its own terms. Options stand as "key=value key=value".
struct PictureRow {
    /// All that go by these terms.
    std::string_view names;
    /// Whatever the quality: the makers' medium.
    std::string_view effort;
    /// For each Quality; "" where it has none.
    std::array<std::string_view, s_qualities> quality;
    /// An option that is a list "key=value:key=value" of the encoder's own.
    std::string_view list = {};
    /// What makes it silent, in that list; and what tells it the threads, for those that do not take
    /// FFmpeg's.
    std::string_view silence = {};
    std::string_view threadsKey = {};
    std::string_view oneThread = {};
    /// What tells it, in that list, the light levels of HDR: of the display and of the content.
    std::string_view lightDisplay = {};
    std::string_view lightContent = {};
    int leastSize = 1;
};

/// Constant quality, so that the number of bits follows the picture. "Visually lossless" is what each
/// encoder's makers call so, "medium" their default. Of several encoders for a codec the first is the usual
/// one.
constexpr PictureRow s_pictureRows[] = {
    {.names = "libx264 libx264rgb",
     .effort = "preset=medium",
     .quality = {"crf=28", "crf=23", "crf=20", "crf=18", "qp=0"},
     .list = "x264-params",
     .lightDisplay = "mastering-display",
     .lightContent = "cll"},
    {.names = "libx265",
     .effort = "",
     .quality = {"crf=33", "crf=28", "crf=23", "crf=18", "x265-params=lossless=1"},
     .list = "x265-params",
     .silence = "log-level=error",
     .threadsKey = "pools",
     .oneThread = "none",
     .lightDisplay = "master-display",
     .lightContent = "max-cll"},
    // Without a rate of 0 the default of 200 kbit/s bounds the quality.
    {"libvpx-vp9",
     "row-mt=1 cpu-used=2",
     {"crf=40 b=0", "crf=31 b=0", "crf=24 b=0", "crf=18 b=0", "lossless=1"}},
    // Here the rate is a bound always.
    {"libvpx", "", {"crf=24 b=50M", "crf=14 b=50M", "crf=9 b=50M", "crf=6 b=50M", ""}},
    {.names = "libsvtav1",
     .effort = "",
     .quality = {"crf=50", "crf=35", "crf=26", "crf=18", ""},
     .list = "svtav1-params",
     .threadsKey = "lp",
     .oneThread = "1",
     .leastSize = 64},
    {"libaom-av1",
     "row-mt=1 cpu-used=4",
     {"crf=45 b=0", "crf=33 b=0", "crf=25 b=0", "crf=18 b=0", "aom-params=lossless=1"},
     "aom-params"},
    {"libopenh264", "", {"b=2M", "b=5M", "b=10M", "b=20M", ""}},
    {"libwebp libwebp_anim", "", {"quality=55", "quality=75", "quality=88", "quality=95", "lossless=1"}},
    {"libjxl", "", {"distance=3", "distance=2", "distance=1.5", "distance=1", "distance=0"}},
    // A quantizer scale in FFmpeg's unit of 1/118: 8, 5, 3, and 2, which is next to their finest.
    {"mpeg1video mpeg2video mpeg4 libxvid msmpeg4v2 msmpeg4 mjpeg flv h261 h263 h263p wmv1 wmv2 svq1 rv10 "
     "rv20",
     "",
     {"flags=+qscale global_quality=944", "flags=+qscale global_quality=590",
      "flags=+qscale global_quality=354", "flags=+qscale global_quality=236", ""}},
    // This one counts the other way: 10 is the best.
    {"libtheora",
     "",
     {"flags=+qscale global_quality=472", "flags=+qscale global_quality=708",
      "flags=+qscale global_quality=944", "flags=+qscale global_quality=1180", ""}},
};

/// Options, and entries of the encoders' own lists, by which a user sets the quality or the rate.
constexpr std::string_view s_qualityKeys[] = {
    "b",        "bitrate", "cq-level", "cqp", "crf",     "distance", "end-usage", "global_quality",
    "lossless", "qmax",    "qmin",     "qp",  "quality", "rc",       "tbr",       "target-bitrate",
};

/// How the encoders of a codec are told a quality.
struct AudioRow {
    AVCodecID codec;
    /// For each Quality but the last: bits a second of a channel, or a place on the encoder's own scale.
    std::array<int, s_qualities - 1> steps;
    /// Bits a second of all channels; 0: the steps are places on a scale, in FFmpeg's unit of 1/118.
    int most = 0;
};

/// "Visually lossless" is what the makers, and listening tests, call transparent.
constexpr AudioRow s_audioRows[] = {
    {AV_CODEC_ID_MP3, {708, 472, 354, 236}},    // V6, V4, V3, V2
    {AV_CODEC_ID_VORBIS, {236, 472, 590, 708}}, // q2, q4, q5, q6
    {AV_CODEC_ID_AAC, {48000, 64000, 80000, 96000}, 768000},
    {AV_CODEC_ID_OPUS, {32000, 48000, 64000, 80000}, 640000},
    {AV_CODEC_ID_AC3, {64000, 80000, 96000, 112000}, 640000},
    {AV_CODEC_ID_EAC3, {64000, 80000, 96000, 112000}, 1024000},
    {AV_CODEC_ID_MP2, {64000, 96000, 112000, 128000}, 256000},
    {AV_CODEC_ID_WMAV1, {48000, 64000, 80000, 96000}, 192000},
    {AV_CODEC_ID_WMAV2, {48000, 64000, 80000, 96000}, 192000},
};

/// Calls `visit` with each part of the text.
template <class Visit>
void ForEachPart(std::string_view text, char separator, Visit const& visit) {
    while (!text.empty()) {
        std::size_t const end = std::min(text.find(separator), text.size());
        visit(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

bool HasPart(std::string_view text, std::string_view part) {
    bool found = false;
    ForEachPart(text, ' ', [&](std::string_view each) { found = found || each == part; });
    return found;
}

PictureRow const& FindRow(AVCodec const& encoder) noexcept {
    static constexpr PictureRow unknown{};
    for (PictureRow const& row : s_pictureRows)
        if (HasPart(row.names, encoder.name))
            return row;
    return unknown;
}

bool IsQualityKey(std::string_view key) {
    return std::ranges::find(s_qualityKeys, key) != std::end(s_qualityKeys);
}

bool SetsQuality(EncoderOptions const& options, std::string_view list = {}) {
    bool found = false;
    for (auto const& [key, value] : options) {
        found = found || IsQualityKey(key);
        if (key == list)
            ForEachPart(value, ':', [&](std::string_view entry) {
                found = found || IsQualityKey(entry.substr(0, entry.find('=')));
            });
    }
    return found;
}

/// Whether the encoder has the option: old releases may not.
bool HasOption(AVCodec const& encoder, std::string const& name) {
    AVClass const* options = encoder.priv_class;
    return av_opt_find(&options, name.c_str(), nullptr, 0, AV_OPT_SEARCH_FAKE_OBJ) != nullptr;
}

void Add(EncoderOptions& options, std::string_view list, std::string_view key, std::string_view value) {
    auto const same =
        key == list ? std::ranges::find(options, key, &EncoderOptions::value_type::first) : options.end();
    if (same != options.end())
        same->second.append(":").append(value);
    else
        options.emplace_back(key, value);
}

void AddAll(EncoderOptions& options, std::string_view list, std::string_view text) {
    ForEachPart(text, ' ', [&](std::string_view option) {
        std::size_t const sign = option.find('=');
        Add(options, list, option.substr(0, sign), option.substr(sign + 1));
    });
}

/// Silence and threads, for an encoder that takes neither from FFmpeg.
void AddOwnWays(EncoderOptions& options, AVCodec const& encoder, PictureRow const& row, int threads) {
    if (row.threadsKey.empty() || !HasOption(encoder, std::string(row.list)))
        return;
    if (!row.silence.empty())
        Add(options, row.list, row.list, row.silence);
    if (threads > 0)
        Add(options, row.list, row.list,
            fmt::format("{}={}", row.threadsKey,
                        threads == 1 ? std::string(row.oneThread) : std::to_string(threads)));
}

} // namespace

std::string_view GetQualityName(Quality quality) noexcept {
    switch (quality) {
    case Quality::Low:
        return "low";
    case Quality::Medium:
        return "medium";
    case Quality::High:
        return "high";
    case Quality::VisuallyLossless:
        return "visually-lossless";
    case Quality::Lossless:
        return "lossless";
    }
    return "";
}

CodecFacts GetCodecFacts(int codec) noexcept {
    auto const* const row = std::ranges::find(s_codecs, static_cast<AVCodecID>(codec), &CodecRow::codec);
    unsigned const facts = row != std::end(s_codecs) ? row->facts : 0;
    auto const has = [&](unsigned fact) { return (facts & fact) != 0; };
    return {has(Range), has(Rate), has(Fields), has(WholeChroma),
            has(Jpeg),  has(Webp), has(Films),  has(Clear)};
}

bool WorksInOrdinaryMemory(AVCodec const& encoder) {
    auto const formats = GetPixelFormats(encoder);
    return formats.empty() || std::any_of(formats.begin(), formats.end(), [](AVPixelFormat format) {
               AVPixFmtDescriptor const* const descriptor = av_pix_fmt_desc_get(format);
               return descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0;
           });
}

std::vector<AVCodec const*> ListEncodersOf(int codec) {
    std::vector<AVCodec const*> encoders;
    auto const add = [&](AVCodec const* encoder) {
        if (encoder != nullptr && static_cast<int>(encoder->id) == codec && WorksInOrdinaryMemory(*encoder) &&
            (encoder->capabilities & (AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_EXPERIMENTAL)) == 0 &&
            std::ranges::find(encoders, encoder) == encoders.end())
            encoders.push_back(encoder);
    };
    for (PictureRow const& row : s_pictureRows)
        ForEachPart(row.names, ' ', [&](std::string_view name) {
            add(avcodec_find_encoder_by_name(std::string(name).c_str()));
        });
    void* position = nullptr;
    while (AVCodec const* const each = av_codec_iterate(&position))
        add(av_codec_is_encoder(each) != 0 ? each : nullptr);
    return encoders;
}

bool LosesNothing(AVCodec const& encoder) noexcept {
    return CodecLosesNothing(encoder.id);
}

bool CodecLosesNothing(int codec) noexcept {
    AVCodecDescriptor const* const descriptor = avcodec_descriptor_get(static_cast<AVCodecID>(codec));
    return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_LOSSLESS) != 0 &&
           (descriptor->props & AV_CODEC_PROP_LOSSY) == 0;
}

bool HasQuality(AVCodec const& encoder, Quality quality) {
    return LosesNothing(encoder) || !FindRow(encoder).quality[static_cast<std::size_t>(quality)].empty();
}

LightKeys GetLightKeys(AVCodec const& encoder) noexcept {
    PictureRow const& row = FindRow(encoder);
    return row.lightDisplay.empty() ? LightKeys{} : LightKeys{row.list, row.lightDisplay, row.lightContent};
}

int GetLeastSize(AVCodec const& encoder) noexcept {
    return FindRow(encoder).leastSize;
}

EncoderOptions MakeVideoOptions(AVCodec const& encoder, EncoderOptions const& users, Quality quality,
                                int threads) {
    PictureRow const& row = FindRow(encoder);
    EncoderOptions options;
    AddOwnWays(options, encoder, row, threads);
    AddAll(options, row.list, row.effort);
    if (!SetsQuality(users, row.list))
        AddAll(options, row.list, row.quality[static_cast<std::size_t>(quality)]);
    for (auto const& [key, value] : users)
        Add(options, row.list, key, value);
    return options;
}

EncoderOptions MakeAudioOptions(AVCodec const& encoder, int channels, EncoderOptions const& users,
                                Quality quality) {
    auto const* const row = std::ranges::find(s_audioRows, encoder.id, &AudioRow::codec);
    if (SetsQuality(users) || row == std::end(s_audioRows))
        return {};
    int const step = row->steps[std::min(static_cast<std::size_t>(quality), row->steps.size() - 1)];
    if (row->most == 0)
        return {{"flags", "+qscale"}, {"global_quality", std::to_string(step)}};
    return {{"b", std::to_string(std::min(step * channels, row->most))}};
}

} // namespace Tarsel::Media
