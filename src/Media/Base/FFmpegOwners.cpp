#include "Media/Base/FFmpegOwners.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"

#include <cstdint>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/error.h>
}

namespace Tarsel::Media {

void FFmpegFree::operator()(AVAudioFifo* queue) const noexcept {
    av_audio_fifo_free(queue);
}

void FFmpegFree::operator()(AVCodecContext* context) const noexcept {
    avcodec_free_context(&context);
}

void FFmpegFree::operator()(AVCodecParameters* parameters) const noexcept {
    avcodec_parameters_free(&parameters);
}

void FFmpegFree::operator()(AVFormatContext* context) const noexcept {
    avformat_free_context(context);
}

void FFmpegFree::operator()(AVPacket* packet) const noexcept {
    av_packet_free(&packet);
}

void FFmpegCloseInput::operator()(AVFormatContext* context) const noexcept {
    avformat_close_input(&context);
}

void FFmpegCloseFile::operator()(AVIOContext* file) const noexcept {
    avio_closep(&file);
}

UniquePacket MakePacket() {
    return UniquePacket(CheckAllocated(av_packet_alloc(), "AVPacket"));
}

void ThrowNoMemory(char const* what) {
    Core::Throw<Core::MemoryException>(std::string("Unable to allocate memory for ") + what);
}

void CheckCopied(int error) {
    if (error < 0)
        ThrowNoMemory("metadata");
}

int CheckMemory(int error, char const* what) {
    if (error == AVERROR(ENOMEM))
        ThrowNoMemory(what);
    return error;
}

} // namespace Tarsel::Media
