#pragma once

#include <memory>

struct AVAudioFifo;
struct AVCodecContext;
struct AVCodecParameters;
struct AVFormatContext;
struct AVIOContext;
struct AVPacket;

namespace Tarsel::Media {

/// Frees what FFmpeg allocated.
struct FFmpegFree {
    void operator()(AVAudioFifo* queue) const noexcept;
    void operator()(AVCodecContext* context) const noexcept;
    void operator()(AVCodecParameters* parameters) const noexcept;
    /// With its streams; not for inputs that were opened. Its file stays open.
    void operator()(AVFormatContext* context) const noexcept;
    void operator()(AVPacket* packet) const noexcept;
};

struct FFmpegCloseInput {
    void operator()(AVFormatContext* context) const noexcept;
};

/// Errors of the last write are lost here: a file that matters is flushed and checked before.
struct FFmpegCloseFile {
    void operator()(AVIOContext* file) const noexcept;
};

using UniqueAudioFifo = std::unique_ptr<AVAudioFifo, FFmpegFree>;
using UniqueCodecContext = std::unique_ptr<AVCodecContext, FFmpegFree>;
using UniqueCodecParameters = std::unique_ptr<AVCodecParameters, FFmpegFree>;
using UniqueFormat = std::unique_ptr<AVFormatContext, FFmpegFree>;
using UniqueInput = std::unique_ptr<AVFormatContext, FFmpegCloseInput>;
using UniqueFile = std::unique_ptr<AVIOContext, FFmpegCloseFile>;
using UniquePacket = std::unique_ptr<AVPacket, FFmpegFree>;

/// An empty packet. MemoryException.
UniquePacket MakePacket();
/// `pointer` itself; MemoryException naming `what` FFmpeg had no memory for when it is null.
template <class T>
T* CheckAllocated(T* pointer, char const* what);

[[noreturn]] void ThrowNoMemory(char const* what);
/// `error` itself, FFmpeg's; MemoryException naming `what` where it is that memory ran out: a second try, or
/// another way, would hide it.
int CheckMemory(int error, char const* what);
/// MemoryException where `error` is one of FFmpeg's, whose functions that copy metadata, parameters and
/// packets fail for no other reason.
void CheckCopied(int error);

template <class T>
T* CheckAllocated(T* pointer, char const* what) {
    if (pointer == nullptr)
        ThrowNoMemory(what);
    return pointer;
}

} // namespace Tarsel::Media
