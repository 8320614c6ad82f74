#include "Media/Base/FFmpegVersions.h"

#include "Conf/FFmpegFormats.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/Times.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

// Since 6.1 a stream's side data belong to its codec parameters.
#if LIBAVFORMAT_VERSION_INT >= AV_VERSION_INT(60, 15, 100)

std::span<std::uint8_t const> GetSideData(AVStream const& stream, AVPacketSideDataType type) noexcept {
    AVPacketSideData const* const found =
        av_packet_side_data_get(stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, type);
    return found != nullptr ? std::span<std::uint8_t const>(found->data, found->size)
                            : std::span<std::uint8_t const>();
}

void SetSideData(AVStream& stream, AVPacketSideDataType type, std::span<std::uint8_t const> data) {
    AVPacketSideData* const added =
        CheckAllocated(av_packet_side_data_new(&stream.codecpar->coded_side_data,
                                               &stream.codecpar->nb_coded_side_data, type, data.size(), 0),
                       "stream side data");
    std::copy(data.begin(), data.end(), added->data);
}

void RemoveSideData(AVStream& stream, AVPacketSideDataType type) {
    av_packet_side_data_remove(stream.codecpar->coded_side_data, &stream.codecpar->nb_coded_side_data, type);
}

void CopySideData(AVStream const&, AVStream&) {}

void CopySideData(AVCodecContext const&, AVStream&) {}

#else

std::span<std::uint8_t const> GetSideData(AVStream const& stream, AVPacketSideDataType type) noexcept {
    std::size_t size = 0;
    std::uint8_t const* const data = av_stream_get_side_data(&stream, type, &size);
    return data != nullptr ? std::span(data, size) : std::span<std::uint8_t const>();
}

void SetSideData(AVStream& stream, AVPacketSideDataType type, std::span<std::uint8_t const> data) {
    std::uint8_t* const added =
        CheckAllocated(av_stream_new_side_data(&stream, type, data.size()), "stream side data");
    std::copy(data.begin(), data.end(), added);
}

void RemoveSideData(AVStream& stream, AVPacketSideDataType type) {
    for (int i = stream.nb_side_data - 1; i >= 0; --i)
        if (stream.side_data[i].type == type) {
            av_free(stream.side_data[i].data);
            stream.side_data[i] = stream.side_data[--stream.nb_side_data];
        }
}

void CopySideData(AVStream const& from, AVStream& to) {
    for (int i = 0; i < from.nb_side_data; ++i)
        SetSideData(to, from.side_data[i].type, {from.side_data[i].data, from.side_data[i].size});
}

void CopySideData(AVCodecContext const& from, AVStream& to) {
    for (int i = 0; i < from.nb_coded_side_data; ++i)
        SetSideData(to, from.coded_side_data[i].type,
                    {from.coded_side_data[i].data, from.coded_side_data[i].size});
}

#endif

namespace {

#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)

template <class Value>
std::span<Value const> List(AVCodec const& encoder, AVCodecConfig what) {
    void const* values = nullptr;
    int count = 0;
    if (avcodec_get_supported_config(nullptr, &encoder, what, 0, &values, &count) < 0 || values == nullptr)
        return {};
    return {static_cast<Value const*>(values), static_cast<std::size_t>(count)};
}

std::span<AVPixelFormat const> ListPixelFormats(AVCodec const& encoder) {
    return List<AVPixelFormat>(encoder, AV_CODEC_CONFIG_PIX_FORMAT);
}

std::span<AVRational const> ListFrameRates(AVCodec const& encoder) {
    return List<AVRational>(encoder, AV_CODEC_CONFIG_FRAME_RATE);
}

std::span<AVSampleFormat const> ListSampleFormats(AVCodec const& encoder) {
    return List<AVSampleFormat>(encoder, AV_CODEC_CONFIG_SAMPLE_FORMAT);
}

std::span<int const> ListSampleRates(AVCodec const& encoder) {
    return List<int>(encoder, AV_CODEC_CONFIG_SAMPLE_RATE);
}

std::span<AVChannelLayout const> ListChannelLayouts(AVCodec const& encoder) {
    return List<AVChannelLayout>(encoder, AV_CODEC_CONFIG_CHANNEL_LAYOUT);
}

#else

/// Up to the value that marks the end.
template <class Value, class IsEnd>
std::span<Value const> List(Value const* values, IsEnd const& isEnd) {
    std::size_t count = 0;
    while (values != nullptr && !isEnd(values[count]))
        ++count;
    return {values, count};
}

std::span<AVPixelFormat const> ListPixelFormats(AVCodec const& encoder) {
    return List(encoder.pix_fmts, [](AVPixelFormat format) { return format == AV_PIX_FMT_NONE; });
}

std::span<AVRational const> ListFrameRates(AVCodec const& encoder) {
    return List(encoder.supported_framerates, [](AVRational rate) { return rate.num == 0; });
}

std::span<AVSampleFormat const> ListSampleFormats(AVCodec const& encoder) {
    return List(encoder.sample_fmts, [](AVSampleFormat format) { return format == AV_SAMPLE_FMT_NONE; });
}

std::span<int const> ListSampleRates(AVCodec const& encoder) {
    return List(encoder.supported_samplerates, [](int rate) { return rate == 0; });
}

std::span<AVChannelLayout const> ListChannelLayouts(AVCodec const& encoder) {
    return List(encoder.ch_layouts, [](AVChannelLayout const& layout) { return layout.nb_channels == 0; });
}

#endif

} // namespace

std::vector<AVPixelFormat> GetPixelFormats(AVCodec const& encoder) {
    auto const formats = ListPixelFormats(encoder);
    return {formats.begin(), formats.end()};
}

std::vector<Ratio> GetFrameRates(AVCodec const& encoder) {
    std::vector<Ratio> rates;
    for (AVRational const rate : ListFrameRates(encoder))
        rates.push_back(FromAV(rate));
    return rates;
}

std::vector<Conf::SampleFormats> GetSampleFormats(AVCodec const& encoder) {
    std::vector<Conf::SampleFormats> formats;
    for (AVSampleFormat const format : ListSampleFormats(encoder))
        if (auto const known = Conf::SampleFormatTarselFromFFMPEG(format);
            known != Conf::SampleFormats::Unknown)
            formats.push_back(known);
    return formats;
}

std::vector<std::int32_t> GetSampleRates(AVCodec const& encoder) {
    auto const rates = ListSampleRates(encoder);
    return {rates.begin(), rates.end()};
}

std::vector<Conf::ChannelLayout> GetChannelLayouts(AVCodec const& encoder) {
    std::vector<Conf::ChannelLayout> layouts;
    for (AVChannelLayout const& layout : ListChannelLayouts(encoder))
        layouts.push_back(Conf::TarselFromAVChannelLayout(layout));
    return layouts;
}

} // namespace Tarsel::Media
