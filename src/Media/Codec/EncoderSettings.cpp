#include "Media/Codec/EncoderSettings.h"

#include "Conf/AVFormats.h"
#include "Conf/FFmpegFormats.h"
#include "Conf/PixFmtDescription.h"
#include "Core/NearNames.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/FFmpegVersions.h"
#include "Media/Base/Times.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <sstream>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

namespace Tarsel::Media {

namespace {

/// Calls `visit` with each encoding option of the context and of the encoder itself.
template <class Visit>
void ForEachOption(AVCodecContext const& context, Visit const& visit) {
    for (void const* object :
         {static_cast<void const*>(&context), static_cast<void const*>(context.priv_data)}) {
        if (object == nullptr || *static_cast<AVClass const* const*>(object) == nullptr)
            continue;
        AVOption const* option = nullptr;
        while ((option = av_opt_next(object, option)) != nullptr)
            if ((option->flags & AV_OPT_FLAG_ENCODING_PARAM) != 0)
                visit(*option);
    }
}

std::string ListOptionNames(AVCodecContext const& context, std::string_view unit,
                            std::string_view separator) {
    std::vector<std::string> names;
    ForEachOption(context, [&](AVOption const& option) {
        if (option.type == AV_OPT_TYPE_CONST && option.unit != nullptr && unit == option.unit)
            names.emplace_back(option.name);
    });
    return Core::Utils::ToString(names, separator, [](std::string const& name) { return name; });
}

std::vector<std::string> ListOptions(AVCodecContext const& context) {
    std::vector<std::string> names;
    ForEachOption(context, [&](AVOption const& option) {
        if (option.type != AV_OPT_TYPE_CONST)
            names.emplace_back(option.name);
    });
    return names;
}

/// "; legal: 0 to 51", "; legal: a, b": what an option takes, as far as it can be told.
std::string LegalText(AVCodecContext const& context, AVOption const& option) {
    std::string names = option.unit != nullptr ? ListOptionNames(context, option.unit, ", ") : std::string();
    bool const isNumber = option.type == AV_OPT_TYPE_INT || option.type == AV_OPT_TYPE_INT64 ||
                          option.type == AV_OPT_TYPE_FLOAT || option.type == AV_OPT_TYPE_DOUBLE ||
                          option.type == AV_OPT_TYPE_BOOL;
    // Beyond that an option has no bound but that of its type.
    constexpr double bound = std::numeric_limits<int>::max();
    if (isNumber && names.empty())
        return option.max < bound ? fmt::format("; legal: {} to {}", option.min, option.max)
                                  : fmt::format("; legal: {} or more", option.min);
    return names.empty() ? names : "; legal: " + names;
}

UniqueCodecContext MakeContext(AVCodec const& encoder) {
    return UniqueCodecContext(CheckAllocated(avcodec_alloc_context3(&encoder), "AVCodecContext"));
}

/// Opens the encoder for audio of the usual kind, or what it takes that is next to it.
int TryOpenForAudio(AVCodec const& encoder, EncoderOptions const& options, Quality quality) {
    constexpr std::int32_t usualRate = 48000;
    auto const stereo = Conf::ChannelLayout::FromCount(2);
    UniqueCodecContext const context = MakeContext(encoder);
    context->sample_fmt = Conf::ToAVSampleFormat(Conf::SampleFormatFFMPEGFromTarsel(
        ChooseSampleFormat(GetSampleFormats(encoder), Conf::SampleFormats::S16, 16)));
    context->sample_rate = ChooseSampleRate(GetSampleRates(encoder), usualRate);
    context->ch_layout =
        Conf::AVChannelLayoutFromTarsel(RankLayouts(GetChannelLayouts(encoder), stereo).front());
    context->time_base = {1, context->sample_rate};
    context->thread_count = 1;
    ApplyEncoderOptions(*context,
                        MakeAudioOptions(encoder, context->ch_layout.nb_channels, options, quality));
    ApplyEncoderOptions(*context, options);
    return CheckMemory(avcodec_open2(context.get(), &encoder, nullptr), "an encoder");
}

/// Opens the encoder for a small film of the usual kind.
int TryOpen(AVCodec const& encoder, EncoderOptions const& options, Quality quality) {
    if (encoder.type == AVMEDIA_TYPE_AUDIO)
        return TryOpenForAudio(encoder, options, quality);
    UniqueCodecContext const context = MakeContext(encoder);
    auto const formats = GetPixelFormats(encoder);
    context->width = 256;
    context->height = 256;
    context->pix_fmt = formats.empty() ? AV_PIX_FMT_YUV420P : formats.front();
    context->color_range = encoder.id == AV_CODEC_ID_MJPEG ? AVCOL_RANGE_JPEG : AVCOL_RANGE_UNSPECIFIED;
    context->time_base = {1, 25};
    context->framerate = {25, 1};
    context->thread_count = 1;
    ApplyEncoderOptions(*context, MakeVideoOptions(encoder, options, quality, context->thread_count));
    return CheckMemory(avcodec_open2(context.get(), &encoder, nullptr), "an encoder");
}

/// The formats whose raw video a file of the container brings back; empty: any.
std::vector<Conf::PixFmt> ListRawVideoFormats(AVOutputFormat const& container) {
    std::vector<Conf::PixFmt> formats;
    std::istringstream names(std::string(GetTraits(container).plainRawFormats));
    for (std::string name; names >> name;)
        formats.push_back(Conf::PixFmtDescription::FindByName(name).value());
    return formats;
}

} // namespace

void ApplyEncoderOptions(AVCodecContext& context, EncoderOptions const& options) {
    auto const fail = [&](std::string const& description, int error) {
        Core::Throw<OptionsException>(description, Proc::TagFFmpegError(error));
    };
    for (auto const& [key, value] : options) {
        AVOption const* const option =
            av_opt_find(&context, key.c_str(), nullptr, AV_OPT_FLAG_ENCODING_PARAM, AV_OPT_SEARCH_CHILDREN);
        if (option == nullptr)
            fail(fmt::format("The encoder \"{}\" has no option \"{}\"{}", context.codec->name, key,
                             Core::NearNamesText(key, ListOptions(context))),
                 AVERROR_OPTION_NOT_FOUND);
        int const error = CheckMemory(
            av_opt_set(&context, key.c_str(), value.c_str(), AV_OPT_SEARCH_CHILDREN), "an option");
        if (error < 0)
            fail(fmt::format("The encoder \"{}\" cannot take {}={}: {}{}", context.codec->name, key, value,
                             Proc::GetFFmpegErrorText(error), LegalText(context, *option)),
                 error);
    }
}

void CheckEncoderOptions(AVCodec const& encoder, EncoderOptions const& options, Quality quality) {
    UniqueCodecContext const context = MakeContext(encoder);
    ApplyEncoderOptions(*context, options);
    if (options.empty())
        return;
    int const error = TryOpen(encoder, options, quality);
    // An encoder that does not open for such a film anyway says nothing about the options.
    if (error >= 0 || TryOpen(encoder, {}, quality) < 0)
        return;
    Core::Throw<OptionsException>(
        fmt::format("The encoder \"{}\" cannot be opened with {}: {}", encoder.name,
                    Core::Utils::ToString(
                        options, " ", [](auto const& option) { return option.first + "=" + option.second; }),
                    Proc::GetFFmpegErrorText(error)),
        Proc::TagFFmpegError(error));
}

EncoderRules GetEncoderRules(AVCodec const& encoder, AVOutputFormat const& container) {
    EncoderRules rules;
    rules.codec = GetCodecFacts(encoder.id);
    for (AVPixelFormat const format : GetPixelFormats(encoder))
        rules.formats.push_back(static_cast<Conf::PixFmt>(format));
    if (encoder.id == AV_CODEC_ID_RAWVIDEO)
        rules.formats = ListRawVideoFormats(container);
    if (!HoldsSideAlpha(container, encoder.id))
        std::erase_if(rules.formats,
                      [](Conf::PixFmt each) { return Conf::PixFmtDescription::Find(each).HasAlpha(); });
    rules.losesRange = !GetTraits(container).saysRange && !rules.codec.tellsRange;
    return rules;
}

Ratio ChooseLegalRate(std::vector<Ratio> const& legal, Ratio wanted) noexcept {
    auto const isLess = [](Ratio a, Ratio b) { return av_cmp_q(ToAV(a), ToAV(b)) < 0; };
    Ratio best = legal.front();
    for (Ratio const rate : legal) {
        bool const isNear = !isLess(rate, wanted) && (isLess(best, wanted) || isLess(rate, best));
        if (isNear || (isLess(best, wanted) && isLess(best, rate)))
            best = rate;
    }
    return best;
}

Ratio ChooseEncoderTimeBase(int codec, Ratio wanted, Ratio frameRate) {
    // MPEG-4 Visual stores the number of ticks a second in 16 bits.
    constexpr std::int64_t mostMpeg4Ticks = 65535;
    auto const id = static_cast<AVCodecID>(codec);
    bool const wantedFits = !GetCodecFacts(codec).hasConstantRate &&
                            (id != AV_CODEC_ID_MPEG4 || wanted.denominator <= mostMpeg4Ticks);
    if (wantedFits)
        return wanted;
    bool const rateFits = frameRate.numerator > 0 && frameRate.numerator <= mostMpeg4Ticks;
    return rateFits ? Ratio{frameRate.denominator, frameRate.numerator} : Ratio{1, 25};
}

} // namespace Tarsel::Media
