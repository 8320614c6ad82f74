#include "Media/StillDamage.h"

#include "Media/FFmpegOwners.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/SafeFrame.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

std::string DescribeStillDamage(AVStream const& stream, AVPacket const& packet) {
    // Strict decoders of other codecs refuse good pictures too, as TIFF with a tag that they do not know.
    if (stream.codecpar->codec_id != AV_CODEC_ID_MJPEG)
        return {};
    AVCodec const* const decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    UniqueCodecContext const context(CheckAllocated(avcodec_alloc_context3(decoder), "AVCodecContext"));
    if (avcodec_parameters_to_context(context.get(), stream.codecpar) < 0)
        ThrowNoMemory("codec parameters");
    context->thread_count = 1;
    context->err_recognition = AV_EF_EXPLODE;
    int error = avcodec_open2(context.get(), decoder, nullptr);
    if (error >= 0)
        error = avcodec_send_packet(context.get(), &packet);
    if (error >= 0)
        error = avcodec_send_packet(context.get(), nullptr);
    Proc::SafeFrame frame;
    if (error >= 0)
        error = avcodec_receive_frame(context.get(), frame.Get());
    if (error >= 0)
        return {};
    return error == AVERROR_EOF ? "it breaks off" : Proc::GetFFmpegErrorText(error);
}

} // namespace Tarsel::Media
