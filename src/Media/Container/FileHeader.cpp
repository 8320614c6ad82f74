#include "Media/Container/FileHeader.h"

#include "Host/FFmpegMessages.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Container/Containers.h"

#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

int WriteHeader(AVFormatContext& context) {
    // Phones write their own keys, which only this form of metadata holds.
    AVDictionaryEntry const* const phones =
        av_dict_get(context.metadata, "com.apple.quicktime.", nullptr, AV_DICT_IGNORE_SUFFIX);
    AVDictionary* options = nullptr;
    int error = 0;
    if (phones != nullptr && GetTraits(*context.oformat).isMovFamily)
        error = av_dict_set(&options, "movflags", "+use_metadata_tags", 0);
    bool const isPiped = (context.pb->seekable & AVIO_SEEKABLE_NORMAL) == 0;
    if (isPiped)
        for (auto const& [key, value] : ListPipeOptions(*context.oformat))
            if (error >= 0)
                error = av_dict_set(&options, key.c_str(), value.c_str(), AV_DICT_APPEND);
    auto const& [key, value] = GetTraits(*context.oformat).writerOption;
    if (error >= 0 && key != nullptr)
        error = av_dict_set(&options, key, value, 0);
    if (error >= 0)
        error = avformat_write_header(&context, &options);
    av_dict_free(&options);
    return error;
}

namespace {

/// Calls `write` with a context that writes into memory, which is dropped.
template <class Write>
int Try(AVFormatContext& context, bool isPiped, Write const& write) {
    Host::FFmpegMessages::Trial const trial;
    if (avio_open_dyn_buf(&context.pb) < 0)
        ThrowNoMemory("a trial of the header");
    if (isPiped)
        context.pb->seekable = 0;
    int const error = write();
    std::uint8_t* written = nullptr;
    avio_close_dyn_buf(context.pb, &written);
    context.pb = nullptr;
    av_free(written);
    return error;
}

UniqueFormat MakeAlone(AVOutputFormat const& format, AVCodecParameters const& parameters, AVRational timeBase,
                       AVRational frameRate) {
    AVFormatContext* made = nullptr;
    avformat_alloc_output_context2(&made, &format, nullptr, nullptr);
    UniqueFormat context(CheckAllocated(made, "AVFormatContext"));
    context->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    AVStream& stream = *CheckAllocated(avformat_new_stream(made, nullptr), "AVStream");
    if (avcodec_parameters_copy(stream.codecpar, &parameters) < 0)
        ThrowNoMemory("codec parameters");
    stream.codecpar->codec_tag = 0;
    stream.time_base = timeBase;
    stream.avg_frame_rate = frameRate;
    return context;
}

} // namespace

int TryHeader(AVFormatContext& context, bool isPiped) {
    return Try(context, isPiped, [&] { return WriteHeader(context); });
}

bool TakesAlone(AVOutputFormat const& format, AVCodecParameters const& parameters, AVRational timeBase,
                AVRational frameRate) {
    return TryHeader(*MakeAlone(format, parameters, timeBase, frameRate), false) >= 0;
}

bool TakesAlone(AVOutputFormat const& format, AVStream const& stream) {
    return TakesAlone(format, *stream.codecpar, stream.time_base, stream.avg_frame_rate);
}

bool TakesPacket(AVOutputFormat const& format, AVStream const& stream, AVPacket const& packet) {
    UniqueFormat const context = MakeAlone(format, *stream.codecpar, stream.time_base, stream.avg_frame_rate);
    UniquePacket const first = MakePacket();
    if (av_packet_ref(first.get(), &packet) < 0)
        ThrowNoMemory("a packet");
    first->stream_index = 0;
    first->pts = first->dts = 0; // whether it has times is no matter here
    int const error = Try(*context, false, [&] {
        if (int const header = WriteHeader(*context); header < 0)
            return header;
        int const written = av_write_frame(context.get(), first.get());
        av_write_trailer(context.get()); // some writers keep the packet until then
        return written;
    });
    return error >= 0;
}

} // namespace Tarsel::Media
