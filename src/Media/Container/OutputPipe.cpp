#include "Media/Container/OutputPipe.h"

#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Base/Stopped.h"
#include "Media/Container/WriteFailure.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

namespace {

/// Somebody has to look now and then whether to stop.
constexpr int s_tickMilliseconds = 100;
constexpr int s_pipeBufferSize = 1 << 16;

} // namespace

OutputPipe::OutputPipe(std::filesystem::path path, std::stop_token stop)
    : m_path(std::move(path)), m_stop(std::move(stop)) {
    Open();
    // Releases of FFmpeg disagree on whether the bytes are const.
    auto const write = [](void* self, auto* bytes, int size) {
        return static_cast<OutputPipe*>(self)->Write(bytes, size);
    };
    auto* const buffer = static_cast<unsigned char*>(av_malloc(s_pipeBufferSize));
    if (buffer != nullptr)
        m_io = avio_alloc_context(buffer, s_pipeBufferSize, 1, this, nullptr, write, nullptr);
    if (m_io == nullptr) {
        av_free(buffer);
        End();
        ThrowNoMemory("a pipe's buffer");
    }
    m_io->seekable = 0;
}

OutputPipe::~OutputPipe() {
    av_freep(&m_io->buffer);
    avio_context_free(&m_io);
    End();
}

void OutputPipe::Open() {
    m_pipe = FindDescriptor(m_path, STDOUT_FILENO);
    m_isOpened = m_pipe < 0;
    if (!m_isOpened)
        return;
    for (;;) {
        // Without this a FIFO is not opened before somebody reads, whatever signals come.
        m_pipe = open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (m_pipe >= 0)
            return;
        if (errno != ENXIO || !std::filesystem::is_fifo(m_path))
            ThrowCannotWrite(m_path, AVERROR(errno));
        if (m_stop.stop_requested())
            throw Stopped();
        poll(nullptr, 0, s_tickMilliseconds);
    }
}

void OutputPipe::End() noexcept {
    if (m_isOpened && m_pipe >= 0)
        close(m_pipe);
    m_pipe = -1;
}

int OutputPipe::Write(std::uint8_t const* bytes, int size) {
    for (int done = 0; done < size;) {
        if (m_stop.stop_requested())
            return AVERROR_EXIT;
        pollfd pipe{m_pipe, POLLOUT, 0};
        int const ready = poll(&pipe, 1, s_tickMilliseconds);
        if (ready == 0 || (ready < 0 && errno == EINTR))
            continue;
        // A pipe that takes anything takes so much without making anybody wait.
        auto const count = static_cast<std::size_t>(std::min(size - done, PIPE_BUF));
        ssize_t const written = ready < 0 ? -1 : write(m_pipe, bytes + done, count);
        if (written < 0 && errno != EINTR && errno != EAGAIN)
            return AVERROR(errno);
        done += static_cast<int>(std::max<ssize_t>(written, 0));
        m_bytes += std::max<ssize_t>(written, 0);
    }
    return size;
}

void OutputPipe::Close() {
    avio_flush(m_io);
    if (m_io->error < 0)
        ThrowCannotWrite(m_path, m_io->error);
}

void OutputPipe::Publish() {
    End();
}

} // namespace Tarsel::Media
