#include "Media/EncoderChoice.h"

#include "Core/NearNames.h"
#include "Core/Throw.h"
#include "Media/EncoderNames.h"
#include "Media/FFmpegVersions.h"
#include "Media/MediaExceptions.h"
#include "Media/MessageText.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Media {

namespace {

constexpr char const* s_file = "Media/EncoderChoice";

/// The usual encoders of containers, best first; others get FFmpeg's own choice.
struct UsualEncoders {
    std::string_view container;
    std::array<char const*, 2> encoders;
};

constexpr UsualEncoders s_usualEncoders[] = {
    {"mp4", {"libx264", "mpeg4"}},         {"mov", {"libx264", "mpeg4"}}, {"ipod", {"libx264", "mpeg4"}},
    {"matroska", {"libx264", "mpeg4"}},    {"flv", {"libx264", "flv"}},   {"f4v", {"libx264", nullptr}},
    {"mpegts", {"libx264", "mpeg2video"}}, {"3gp", {"libx264", "mpeg4"}}, {"3g2", {"libx264", "mpeg4"}},
    {"webm", {"libvpx-vp9", "libvpx"}},
};

/// Settings of one encoder.
struct Defaults {
    std::string_view encoder;
    char const* key;
    char const* value;
    bool isQuality;
};

/// Constant quality, so that the number of bits follows the picture: what each encoder's makers advise for
/// "visually lossless". The effort is each encoder's medium.
constexpr Defaults s_defaults[] = {
    {"libx264", "preset", "medium", false},
    {"libx264", "crf", "18", true},
    {"libx264rgb", "preset", "medium", false},
    {"libx264rgb", "crf", "18", true},
    {"libx265", "crf", "18", true},
    {"libvpx-vp9", "row-mt", "1", false},
    {"libvpx-vp9", "cpu-used", "2", false},
    {"libvpx-vp9", "crf", "18", true},
    // Without a rate of 0 the default of 200 kbit/s bounds the quality.
    {"libvpx-vp9", "b", "0", true},
    // Here the rate is a bound always.
    {"libvpx", "crf", "6", true},
    {"libvpx", "b", "50M", true},
    {"libaom-av1", "row-mt", "1", false},
    {"libaom-av1", "cpu-used", "4", false},
    {"libaom-av1", "crf", "18", true},
    {"libaom-av1", "b", "0", true},
    {"libsvtav1", "crf", "18", true},
    {"libopenh264", "b", "20M", true},
    {"libwebp", "quality", "95", true},
};

/// Codecs with a quantiser scale. 2, in FFmpeg's unit of 1/118, is next to their finest.
constexpr AVCodecID s_quantiserCodecs[] = {
    AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MPEG4, AV_CODEC_ID_MSMPEG4V2,
    AV_CODEC_ID_MSMPEG4V3,  AV_CODEC_ID_MJPEG,      AV_CODEC_ID_FLV1,  AV_CODEC_ID_H263,
    AV_CODEC_ID_H263P,      AV_CODEC_ID_WMV1,       AV_CODEC_ID_WMV2,  AV_CODEC_ID_SVQ1,
};
constexpr Defaults s_quantiserDefaults[] = {{"", "flags", "+qscale", true},
                                            {"", "global_quality", "236", true}};
/// Theora counts the other way: 10 is the best.
constexpr Defaults s_theoraDefaults[] = {{"", "flags", "+qscale", true},
                                         {"", "global_quality", "1180", true}};

/// Options by which a user sets the quality or the rate.
constexpr std::string_view s_qualityKeys[] = {
    "b",           "crf",      "cqp",         "global_quality", "lossless",
    "qp",          "qmin",     "qmax",        "quality",        "rc",
    "x264-params", "x264opts", "x265-params", "svtav1-params",  "aom-params"};

bool WorksInOrdinaryMemory(AVCodec const& encoder) {
    auto const formats = GetPixelFormats(encoder);
    return formats.empty() || std::any_of(formats.begin(), formats.end(), [](AVPixelFormat format) {
               AVPixFmtDescriptor const* const descriptor = av_pix_fmt_desc_get(format);
               return descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0;
           });
}

/// All of a kind, or those of one codec.
std::vector<std::string> ListEncoders(AVMediaType type, AVCodecID codec = AV_CODEC_ID_NONE) {
    std::vector<std::string> names;
    void* position = nullptr;
    while (AVCodec const* const each = av_codec_iterate(&position))
        if (av_codec_is_encoder(each) != 0 && each->type == type && WorksInOrdinaryMemory(*each) &&
            (codec == AV_CODEC_ID_NONE || each->id == codec))
            names.emplace_back(each->name);
    return names;
}

[[noreturn]] void ThrowNoEncoder(std::string const& description) {
    Core::Throw<OptionsException>({s_file,
                                   "const AVCodec &Tarsel::Media::ChooseEncoder(const Container &, const "
                                   "std::filesystem::path &, const std::string &)"},
                                  description);
}

AVCodec const* FindUsualEncoder(Container const& container, std::filesystem::path const& output) {
    for (UsualEncoders const& usual : s_usualEncoders)
        if (usual.container == container.format->name)
            for (char const* name : usual.encoders)
                if (AVCodec const* const encoder =
                        name != nullptr ? avcodec_find_encoder_by_name(name) : nullptr)
                    return encoder;
    AVCodecID const codec =
        av_guess_codec(container.format, nullptr, output.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
    // The first one FFmpeg knows for WebP makes animations.
    AVCodec const* const still =
        codec == AV_CODEC_ID_WEBP ? avcodec_find_encoder_by_name("libwebp") : nullptr;
    return still != nullptr ? still : avcodec_find_encoder(codec);
}

/// Whether files of the name hold sound alone, though the container could hold pictures too.
bool IsNamedForSound(std::filesystem::path const& output) {
    constexpr std::string_view extensions[] = {".m4a", ".m4b",  ".m4r", ".oga",
                                               ".ogg", ".opus", ".spx", ".wma"};
    std::string const extension = output.extension().string();
    return std::any_of(std::begin(extensions), std::end(extensions), [&](std::string_view name) {
        return av_strcasecmp(extension.c_str(), name.data()) == 0;
    });
}

/// Whether the pictures of the container's files are covers.
bool HasCoversOnly(AVOutputFormat const& format) {
    constexpr std::string_view names[] = {"mp3", "flac", "aiff"};
    return std::find(std::begin(names), std::end(names), format.name) != std::end(names);
}

/// The codec an image file's extension stands for.
AVCodecID GetStillCodec(std::filesystem::path const& output) {
    AVOutputFormat const* const images = av_guess_format("image2", nullptr, nullptr);
    return images == nullptr ? AV_CODEC_ID_NONE
                             : av_guess_codec(images, nullptr, output.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
}

} // namespace

std::vector<std::string> ListEncoders(bool isAudio) {
    return ListEncoders(isAudio ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_VIDEO);
}

Container ChooseContainer(std::filesystem::path const& output) {
    auto const fail = [&](std::string const& reason) {
        Core::Throw<OptionsException>(
            {s_file, "Container Tarsel::Media::ChooseContainer(const std::filesystem::path &)"},
            fmt::format("Cannot write {}: {}", Quote(output), reason));
    };
    AVOutputFormat const* format = av_guess_format(nullptr, output.filename().c_str(), nullptr);
    if (format == nullptr)
        fail(fmt::format("no container is known by the extension \"{}\"", output.extension().string()));
    std::string_view const name = format->name;
    bool const isStill = name == "image2" || name == "webp";
    if (isStill)
        // It writes to a file that is open, and reads no pattern in the name.
        format = av_guess_format("image2pipe", nullptr, nullptr);
    else if ((format->flags & AVFMT_NOFILE) != 0 || name == "hls" || name == "dash")
        fail(fmt::format("\"{}\" is not a single file", name));
    bool const isSound = !isStill && (format->video_codec == AV_CODEC_ID_NONE || HasCoversOnly(*format) ||
                                      IsNamedForSound(output));
    if (format == nullptr || (isSound && format->audio_codec == AV_CODEC_ID_NONE))
        fail(fmt::format("\"{}\" holds neither pictures nor sound", name));
    return {format, isStill, isSound};
}

AVCodec const& FindNamedEncoder(std::string const& name, bool isSound) {
    AVMediaType const type = isSound ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_VIDEO;
    auto const fail = [](std::string const& description) {
        Core::Throw<OptionsException>(
            {s_file, "const AVCodec &Tarsel::Media::FindNamedEncoder(const std::string &, bool)"},
            description);
    };
    AVCodec const* const encoder = avcodec_find_encoder_by_name(name.c_str());
    if (AVCodecDescriptor const* const codec = avcodec_descriptor_get_by_name(name.c_str());
        encoder == nullptr && codec != nullptr && codec->type == type)
        if (auto const encoders = ListEncoders(type, codec->id); !encoders.empty())
            fail(
                fmt::format("\"{}\" is a codec; name an encoder of it: {}", name, fmt::join(encoders, ", ")));
    if (encoder == nullptr)
        fail(
            fmt::format("There is no encoder \"{}\"{}", name, Core::NearNamesText(name, ListEncoders(type))));
    if (encoder->type != type)
        fail(fmt::format("The encoder \"{}\" is not for {}", name, isSound ? "sound" : "pictures"));
    if (!WorksInOrdinaryMemory(*encoder))
        fail(fmt::format("The encoder \"{}\" takes pictures in graphics memory only", name));
    return *encoder;
}

AVCodec const& ChooseEncoder(Container const& container, std::filesystem::path const& output,
                             std::string const& name) {
    if (!name.empty()) {
        AVCodec const& encoder = FindNamedEncoder(name, false);
        if (!CanHold(container, output, encoder.id))
            ThrowNoEncoder(fmt::format("The encoder \"{}\" makes {}, which {} cannot hold", name,
                                       avcodec_get_name(encoder.id), Quote(output.filename())));
        return encoder;
    }
    Container const named{container.isStill ? av_guess_format("image2", nullptr, nullptr) : container.format,
                          container.isStill, container.isSound};
    AVCodec const* const encoder = FindUsualEncoder(named, output);
    if (encoder == nullptr)
        ThrowNoEncoder(fmt::format("There is no encoder for {}", Quote(output.filename())));
    return *encoder;
}

bool CanHold(Container const& container, std::filesystem::path const& output, int codec) {
    if (container.isStill)
        return codec == GetStillCodec(output);
    // FFmpeg does not say what these take.
    constexpr std::string_view ownCodecOnly[] = {"gif", "apng"};
    if (std::ranges::find(ownCodecOnly, container.format->name) != std::end(ownCodecOnly))
        return codec == container.format->video_codec;
    return avformat_query_codec(container.format, static_cast<AVCodecID>(codec),
                                FF_COMPLIANCE_EXPERIMENTAL) != 0;
}

bool CanHoldCover(AVOutputFormat const& format) {
    constexpr std::string_view names[] = {"matroska", "mp3", "flac", "aiff"};
    return IsMovFamily(format) ||
           std::find(std::begin(names), std::end(names), format.name) != std::end(names);
}

bool IsMovFamily(AVOutputFormat const& format) {
    constexpr std::string_view names[] = {"mov", "mp4", "ipod", "3gp", "3g2", "psp", "ismv", "f4v"};
    return std::find(std::begin(names), std::end(names), format.name) != std::end(names);
}

EncoderOptions ChooseDefaults(AVCodec const& encoder, EncoderOptions const& users) {
    bool const hasQuality = std::any_of(users.begin(), users.end(), [](auto const& option) {
        return std::find(std::begin(s_qualityKeys), std::end(s_qualityKeys), option.first) !=
               std::end(s_qualityKeys);
    });
    EncoderOptions options;
    auto const add = [&](std::span<Defaults const> rows) {
        for (Defaults const& row : rows)
            if ((row.encoder.empty() || row.encoder == encoder.name) && !(row.isQuality && hasQuality))
                options.emplace_back(row.key, row.value);
    };
    add(s_defaults);
    if (std::find(std::begin(s_quantiserCodecs), std::end(s_quantiserCodecs), encoder.id) !=
        std::end(s_quantiserCodecs))
        add(s_quantiserDefaults);
    if (encoder.id == AV_CODEC_ID_THEORA)
        add(s_theoraDefaults);
    return options;
}

} // namespace Tarsel::Media
