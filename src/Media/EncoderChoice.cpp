#include "Media/EncoderChoice.h"

#include "Core/NearNames.h"
#include "Core/Throw.h"
#include "Media/EncoderNames.h"
#include "Media/MediaExceptions.h"
#include "Media/MessageText.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

constexpr char const* s_file = "Media/EncoderChoice";

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
    for (char const* name : GetTraits(*container.format).pictureEncoders)
        if (AVCodec const* const encoder = name != nullptr ? avcodec_find_encoder_by_name(name) : nullptr)
            return encoder;
    AVOutputFormat const* const named = container.isStill ? &GetStillFormat() : container.format;
    AVCodecID const codec = av_guess_codec(named, nullptr, output.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
    // The first one FFmpeg knows for WebP makes animations.
    AVCodec const* const still =
        codec == AV_CODEC_ID_WEBP ? avcodec_find_encoder_by_name("libwebp") : nullptr;
    return still != nullptr ? still : avcodec_find_encoder(codec);
}

} // namespace

std::vector<std::string> ListEncoders(bool isAudio) {
    return ListEncoders(isAudio ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_VIDEO);
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
    AVCodec const* const encoder = FindUsualEncoder(container, output);
    if (encoder == nullptr)
        ThrowNoEncoder(fmt::format("There is no encoder for {}", Quote(output.filename())));
    return *encoder;
}

bool CanHold(Container const& container, std::filesystem::path const& output, int codec) {
    if (container.isStill)
        return codec == GetStillCodec(output);
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
