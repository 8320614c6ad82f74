#include "Media/Codec/EncoderChoice.h"

#include "Conf/PixFmtDescription.h"
#include "Core/NearNames.h"
#include "Core/Throw.h"
#include "Media/Base/FFmpegVersions.h"
#include "Media/Base/MessageText.h"
#include "Media/MediaExceptions.h"
#include "Media/Run.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

/// What is lost of pictures in the format by those that the encoder takes: FFmpeg's FF_LOSS_* bits.
int GetFormatLoss(AVCodec const& encoder, Conf::PixFmt format) {
    std::vector<Conf::PixFmt> formats;
    for (AVPixelFormat const each : GetPixelFormats(encoder))
        formats.push_back(Conf::WithoutFixedRange(static_cast<Conf::PixFmt>(each)));
    int loss = 0;
    if (!formats.empty())
        Conf::FindBestPixelFormatOfList(formats, Conf::WithoutFixedRange(format), true, &loss);
    return loss;
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
    Core::Throw<OptionsException>(description);
}

AVCodec const* FindUsualEncoder(Container const& container) {
    for (char const* name : GetTraits(*container.format).videoEncoders)
        if (AVCodec const* const encoder = name != nullptr ? avcodec_find_encoder_by_name(name) : nullptr)
            return encoder;
    AVOutputFormat const* const named = container.isStill ? &GetStillFormat() : container.format;
    AVCodecID const codec =
        av_guess_codec(named, nullptr, container.file.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
    if (!container.isStill)
        return avcodec_find_encoder(codec);
    // The first one FFmpeg knows for WebP makes animations.
    auto const encoders = ListEncodersOf(codec);
    return encoders.empty() ? nullptr : encoders.front();
}

} // namespace

std::vector<std::string> ListEncoders(bool isAudio) {
    return ListEncoders(isAudio ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_VIDEO);
}

AVCodec const& FindNamedEncoder(std::string const& name, bool isAudio) {
    AVMediaType const type = isAudio ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_VIDEO;
    auto const fail = [](std::string const& description) { Core::Throw<OptionsException>(description); };
    AVCodec const* const encoder = avcodec_find_encoder_by_name(name.c_str());
    if (AVCodecDescriptor const* const codec = avcodec_descriptor_get_by_name(name.c_str());
        encoder == nullptr && codec != nullptr && codec->type == type)
        if (auto const encoders = ListEncoders(type, codec->id); !encoders.empty())
            fail(fmt::format("Name an encoder of the codec \"{}\": {}", name, fmt::join(encoders, ", ")));
    if (encoder == nullptr)
        fail(
            fmt::format("There is no encoder \"{}\"{}", name, Core::NearNamesText(name, ListEncoders(type))));
    if (encoder->type != type)
        fail(fmt::format("The encoder \"{}\" is not for {}", name, isAudio ? "audio" : "video"));
    if (!WorksInOrdinaryMemory(*encoder))
        fail(fmt::format("The encoder \"{}\" takes only frames in GPU memory", name));
    return *encoder;
}

AVCodec const& ChooseEncoder(Container const& container, std::string const& name) {
    if (!name.empty()) {
        AVCodec const& encoder = FindNamedEncoder(name, false);
        if (!CanHold(container, encoder.id))
            ThrowNoEncoder(fmt::format("Choose another encoder: \"{}\" produces {}, which {} cannot hold",
                                       name, avcodec_get_name(encoder.id), container.name));
        return encoder;
    }
    AVCodec const* const encoder = FindUsualEncoder(container);
    if (encoder == nullptr)
        ThrowNoEncoder(fmt::format("This FFmpeg has no encoder for {}", container.name));
    return *encoder;
}

std::vector<AVCodec const*> FindSameEncoders(Container const& container, int codec, Conf::PixFmt format,
                                             std::optional<Quality> quality) {
    ContainerTraits const& traits = GetTraits(*container.format);
    // Of what it takes only when it is rewritten no films are made.
    bool const isForeign = traits.wantsStartCodes && (codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC);
    if (container.isStill || isForeign || !GetCodecFacts(codec).isOfFilms || !CanHold(container, codec))
        return {};
    std::vector<AVCodec const*> usual;
    std::vector<AVCodec const*> fitting;
    for (AVCodec const* const encoder : ListEncodersOf(codec)) {
        if (quality && !HasQuality(*encoder, *quality))
            continue;
        if (usual.empty())
            usual.push_back(encoder);
        if (GetFormatLoss(*encoder, format) == 0)
            fitting.push_back(encoder);
    }
    return fitting.empty() ? usual : fitting;
}

void CheckQuality(AVCodec const& encoder, Quality quality) {
    if (HasQuality(encoder, quality))
        return;
    std::string known;
    for (Quality const each : s_everyQuality)
        if (HasQuality(encoder, each))
            known += fmt::format("{}{}", known.empty() ? "" : ", ", GetQualityName(each));
    Core::Throw<OptionsException>(fmt::format("The encoder \"{}\" has no quality \"{}\"; {}", encoder.name,
                                              GetQualityName(quality),
                                              known.empty() ? "use its own options" : "choose " + known));
}

bool CanHold(Container const& container, int codec) {
    if (container.isStill)
        return codec == GetStillCodec(container.file);
    if (GetTraits(*container.format).takesOwnCodecOnly)
        return codec == container.format->video_codec;
    int const answer =
        avformat_query_codec(container.format, static_cast<AVCodecID>(codec), FF_COMPLIANCE_EXPERIMENTAL);
    // Bare streams of one codec go out under the name of any.
    bool const isBare = (container.format->flags & AVFMT_NOTIMESTAMPS) != 0 &&
                        container.format->audio_codec == AV_CODEC_ID_NONE;
    return IsKnownIn(*container.format, codec) && (isBare ? answer == 1 : answer != 0);
}

} // namespace Tarsel::Media
