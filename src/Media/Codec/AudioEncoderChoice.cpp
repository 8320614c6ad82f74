#include "Media/Codec/AudioEncoderChoice.h"

#include "Conf/FFmpegFormats.h"
#include "Core/Throw.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/MessageText.h"
#include "Media/Codec/AudioEncoder.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/Container/FileHeader.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

namespace {

using Conf::SampleFormats;

/// Codecs that films and audio files are made of.
constexpr AVCodecID s_commonCodecs[] = {
    AV_CODEC_ID_AAC,  AV_CODEC_ID_MP3,  AV_CODEC_ID_OPUS,    AV_CODEC_ID_VORBIS, AV_CODEC_ID_AC3,
    AV_CODEC_ID_EAC3, AV_CODEC_ID_FLAC, AV_CODEC_ID_WAVPACK, AV_CODEC_ID_ALAC,   AV_CODEC_ID_TTA,
};

/// Codecs that hold the samples as they are.
struct PlainCodec {
    AVCodecID codec;
    int bits;
    bool isReal;
};

/// In the order in which they are tried.
constexpr PlainCodec s_plainCodecs[] = {
    {AV_CODEC_ID_PCM_U8, 8, false},     {AV_CODEC_ID_PCM_S8, 8, false},
    {AV_CODEC_ID_PCM_S16LE, 16, false}, {AV_CODEC_ID_PCM_S16BE, 16, false},
    {AV_CODEC_ID_PCM_S24LE, 24, false}, {AV_CODEC_ID_PCM_S24BE, 24, false},
    {AV_CODEC_ID_PCM_S32LE, 32, false}, {AV_CODEC_ID_PCM_S32BE, 32, false},
    {AV_CODEC_ID_PCM_F32LE, 32, true},  {AV_CODEC_ID_PCM_F32BE, 32, true},
    {AV_CODEC_ID_PCM_F64LE, 64, true},  {AV_CODEC_ID_PCM_F64BE, 64, true},
};

[[noreturn]] void ThrowNoEncoder(Core::Reason const& reason) {
    Core::Throw<OptionsException>(reason);
}

template <class List, class Value>
bool Contains(List const& list, Value const& value) {
    return std::find(std::begin(list), std::end(list), value) != std::end(list);
}

bool IsPlain(AVCodecID codec) noexcept {
    return std::ranges::find(s_plainCodecs, codec, &PlainCodec::codec) != std::end(s_plainCodecs);
}

/// Plain samples that blocks cannot have (see AudioDecoder).
bool IsWide(AVCodecID codec) noexcept {
    return codec == AV_CODEC_ID_PCM_S64LE || codec == AV_CODEC_ID_PCM_S64BE;
}

/// What the encoder makes of two channels, or of what it takes that is next to them. Codecs of telephones do
/// not tell that they take their own rate only: where the encoder does not open, its codec has to do.
UniqueCodecParameters MakeParameters(AVCodec const& encoder, Container const& container, bool& isOpened) {
    Conf::SampleInfo const usual{SampleFormats::S16, 48000, Conf::ChannelLayout::FromCount(2)};
    UniqueCodecParameters parameters(CheckAllocated(avcodec_parameters_alloc(), "AVCodecParameters"));
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = encoder.id;
    try {
        AudioEncoder const trial({&encoder, {}, s_usualQuality, container.format, usual, 16});
        isOpened = true;
        if (avcodec_parameters_from_context(parameters.get(), &trial.GetContext()) < 0)
            ThrowNoMemory("codec parameters");
    } catch (OutputException const&) {
        parameters->sample_rate = usual.rate;
        parameters->ch_layout = Conf::AVChannelLayoutFromTarsel(usual.layout);
    }
    return parameters;
}

/// Where FFmpeg's own choice for the container is a codec of samples as they are: the one for these.
AVCodecID FitPlain(Container const& container, AVCodecID usual, SampleFormats format, int depth) {
    if (!IsPlain(usual) && !IsWide(usual))
        return usual;
    constexpr int mostIntegerBits = 24;
    bool const wantsReal = Conf::IsReal(format) && depth > mostIntegerBits;
    auto const fits = [&](PlainCodec const& plain) {
        return plain.isReal == wantsReal && plain.bits >= depth &&
               avformat_query_codec(container.format, plain.codec, FF_COMPLIANCE_EXPERIMENTAL) == 1;
    };
    auto const found = std::ranges::find_if(s_plainCodecs, fits);
    return found != std::end(s_plainCodecs) ? found->codec : usual;
}

} // namespace

AVCodec const& ChooseNamedAudioEncoder(Container const& container, std::string const& name) {
    AVCodec const& encoder = FindNamedEncoder(name, true);
    bool isOpened = false;
    UniqueCodecParameters const parameters = MakeParameters(encoder, container, isOpened);
    bool const isSaid = avformat_query_codec(container.format, encoder.id, FF_COMPLIANCE_EXPERIMENTAL) == 1;
    if (!CanHoldAudio(container, *parameters) && (isOpened || !isSaid || container.isStill))
        ThrowNoEncoder(fmt::format("Choose another encoder: \"{}\" produces {}, which {} cannot hold", name,
                                   avcodec_get_name(encoder.id), container.name));
    return encoder;
}

AVCodec const* FindUsualAudioEncoder(Container const& container, SampleFormats format, int depth) {
    for (char const* name : GetTraits(*container.format).audioEncoders)
        if (AVCodec const* const encoder = name != nullptr ? avcodec_find_encoder_by_name(name) : nullptr)
            return encoder;
    AVCodecID const codec =
        av_guess_codec(container.format, nullptr, container.file.c_str(), nullptr, AVMEDIA_TYPE_AUDIO);
    if (container.isStill || codec == AV_CODEC_ID_NONE)
        return nullptr;
    AVCodec const* const encoder = avcodec_find_encoder(FitPlain(container, codec, format, depth));
    if (encoder == nullptr)
        ThrowNoEncoder(fmt::format("This FFmpeg has no encoder for the audio of {}", container.name));
    return encoder;
}

AVCodec const* FindSameAudioEncoder(Container const& container, AVCodecParameters const& input,
                                    SampleFormats format, int depth) {
    AVCodecID codec = input.codec_id;
    if (!CanHoldAudio(container, input))
        return nullptr;
    if (depth > 0 || IsWide(codec))
        codec = FitPlain(container, codec, format, depth > 0 ? depth : GetDepth(input));
    return Contains(s_commonCodecs, codec) || IsPlain(codec) ? avcodec_find_encoder(codec) : nullptr;
}

bool CanHoldAudio(Container const& container, AVCodecParameters const& stream) {
    if (container.isStill || !IsKnownIn(*container.format, stream.codec_id))
        return false;
    int const answer = avformat_query_codec(container.format, stream.codec_id, FF_COMPLIANCE_EXPERIMENTAL);
    // Bare streams of one codec go out under the name of any.
    bool const isBare = (container.format->flags & AVFMT_NOTIMESTAMPS) != 0;
    if (answer == 0 || isBare)
        return answer == 1 || stream.codec_id == container.format->audio_codec;
    return TakesAlone(*container.format, stream, {1, std::max(stream.sample_rate, 1)}, {});
}

} // namespace Tarsel::Media
