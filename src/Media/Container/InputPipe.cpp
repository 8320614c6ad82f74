#include "Media/Container/InputPipe.h"

#include "Core/Throw.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Input.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

namespace {

namespace fs = std::filesystem;

/// Somebody has to look now and then whether to stop.
constexpr int s_waitMilliseconds = 100;
constexpr int s_bufferSize = 1 << 16;
/// Given back to the disk at a time.
constexpr std::int64_t s_forgottenAtOnce = 1 << 24;

fs::path GetStoreFolder() {
    std::error_code error;
    fs::path folder = fs::temp_directory_path(error);
    return error ? fs::path("/tmp") : folder;
}

/// A file that goes with its descriptor, however the process ends; −1 and errno.
int CreateNameless(fs::path const& folder) {
    int const file = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != ENOENT))
        return file;
    std::string name = (folder / "tarsel-XXXXXX").string(); // a file system that has none without a name
    int const named = mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0)
        unlink(name.c_str());
    return named;
}

} // namespace

InputPipe::InputPipe(fs::path name, bool keepsAll) : m_name(std::move(name)), m_keepsAll(keepsAll) {}

InputPipe::~InputPipe() {
    if (m_isOpened && m_pipe >= 0)
        close(m_pipe);
    if (m_store >= 0 && !m_isFile)
        close(m_store);
}

void InputPipe::Open() {
    std::lock_guard const lock(m_mutex);
    if (m_pipe >= 0)
        return;
    auto const fail = [this](std::string const& reason) {
        m_pipe = -1;
        Core::Throw<InputException>(fmt::format("Cannot open {}: {}", Quote(m_name), reason));
    };
    m_pipe = FindDescriptor(m_name, STDIN_FILENO);
    m_isOpened = m_pipe < 0;
    if (m_isOpened) {
        // Without this a FIFO is not even opened before somebody writes.
        m_pipe = open(m_name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (m_pipe < 0)
            fail(GetSystemErrorText(errno));
        return;
    }
    if (isatty(m_pipe) == 1)
        fail("it is a terminal: pipe a file into it, or redirect one");
    struct stat found {};
    if (fstat(m_pipe, &found) != 0)
        fail(GetSystemErrorText(errno));
    if (!S_ISREG(found.st_mode))
        return;
    m_isFile = m_isWhole = true;
    m_store = m_pipe;
    m_base = std::max<std::int64_t>(lseek(m_pipe, 0, SEEK_CUR), 0);
    m_size = std::max<std::int64_t>(found.st_size - m_base, 0);
}

bool InputPipe::IsWhole() const {
    std::lock_guard const lock(m_mutex);
    return m_isWhole && m_forgotten == 0;
}

std::int64_t InputPipe::GetSize() const {
    std::lock_guard const lock(m_mutex);
    return m_size;
}

std::string InputPipe::GetFailure() const {
    std::lock_guard const lock(m_mutex);
    return m_failure;
}

void InputPipe::ForgetRead() {
    std::lock_guard const lock(m_mutex);
    m_forgetsRead = !m_keepsAll && !m_isWhole;
}

int InputPipe::FetchAll(std::stop_token const& stop) {
    std::vector<std::uint8_t> buffer(s_bufferSize);
    for (;;) {
        int const count = Read(GetSize(), buffer.data(), s_bufferSize, stop, true);
        if (count < 0)
            return count == AVERROR_EOF ? 0 : count;
    }
}

std::string InputPipe::Peek(std::int64_t position, std::size_t count, std::stop_token const& stop) {
    std::vector<std::uint8_t> skipped(s_bufferSize);
    while (GetSize() < position)
        if (Read(GetSize(), skipped.data(), s_bufferSize, stop, true) < 0)
            return {};
    std::string bytes(count, '\0');
    std::size_t there = 0;
    while (there < count) {
        int const read = Read(position + static_cast<std::int64_t>(there),
                              reinterpret_cast<std::uint8_t*>(bytes.data()) + there,
                              static_cast<int>(count - there), stop, true);
        if (read < 0)
            break;
        there += static_cast<std::size_t>(read);
    }
    bytes.resize(there);
    return bytes;
}

int InputPipe::Read(PipeReader& reader, std::uint8_t* bytes, int size) {
    bool stores = true;
    {
        std::lock_guard const lock(m_mutex);
        Forget();
        stores = !m_forgetsRead || m_readers.size() > 1;
    }
    return Read(reader.m_position, bytes, size, reader.m_stop, stores);
}

/// `stores`: another reader may want the same.
int InputPipe::Read(std::int64_t position, std::uint8_t* bytes, int size, std::stop_token const& stop,
                    bool stores) {
    std::unique_lock lock(m_mutex);
    for (;;) {
        if (position < m_size) {
            auto const there = static_cast<std::size_t>(std::min<std::int64_t>(size, m_size - position));
            lock.unlock();
            ssize_t const count = pread(m_store, bytes, there, m_base + position);
            return count > 0 ? static_cast<int>(count) : count == 0 ? AVERROR_EOF : AVERROR(errno);
        }
        if (m_isWhole)
            return AVERROR_EOF;
        if (m_error < 0)
            return m_error;
        if (!m_isFetching)
            break;
        m_changed.wait(lock, stop, [&] { return !m_isFetching || m_size > position; });
        if (stop.stop_requested())
            return AVERROR_EXIT;
    }
    m_isFetching = true;
    lock.unlock();
    int count = Fetch(bytes, size, stop);
    if (count > 0 && stores)
        count = Store(bytes, count);
    lock.lock();
    m_isFetching = false;
    m_isWhole = count == AVERROR_EOF;
    if (count < 0 && count != AVERROR_EOF && count != AVERROR_EXIT)
        m_error = count;
    m_size += std::max(count, 0);
    if (!stores)
        m_forgotten = m_size;
    m_changed.notify_all();
    return count;
}

/// What comes next: how many bytes, at least one, or an AVERROR.
int InputPipe::Fetch(std::uint8_t* bytes, int size, std::stop_token const& stop) const {
    for (;;) {
        if (stop.stop_requested())
            return AVERROR_EXIT;
        pollfd pipe{m_pipe, POLLIN, 0};
        int const ready = poll(&pipe, 1, s_waitMilliseconds);
        if (ready == 0 || (ready < 0 && errno == EINTR))
            continue;
        ssize_t const count = ready < 0 ? -1 : read(m_pipe, bytes, static_cast<std::size_t>(size));
        if (count >= 0)
            return count > 0 ? static_cast<int>(count) : AVERROR_EOF;
        if (errno != EINTR && errno != EAGAIN)
            return AVERROR(errno);
    }
}

/// Called by one thread at a time: the one that fetches. `size`, or an AVERROR.
int InputPipe::Store(std::uint8_t const* bytes, int size) {
    auto const fail = [this](int error) {
        std::lock_guard const lock(m_mutex);
        m_failure = fmt::format("Set TMPDIR to another folder: what came through {} cannot be kept in {}: {}",
                                Quote(m_name), Quote(GetStoreFolder()), GetSystemErrorText(error));
        return AVERROR(error);
    };
    if (m_store < 0)
        m_store = CreateNameless(GetStoreFolder());
    if (m_store < 0)
        return fail(errno);
    std::int64_t const end = GetSize();
    for (int there = 0; there < size;) {
        ssize_t const count =
            pwrite(m_store, bytes + there, static_cast<std::size_t>(size - there), end + there);
        if (count <= 0 && errno != EINTR)
            return fail(errno);
        there += static_cast<int>(std::max<ssize_t>(count, 0));
    }
    return size;
}

/// Gives the disk back what all readers have read.
void InputPipe::Forget() {
    if (!m_forgetsRead || m_readers.empty() || m_store < 0)
        return;
    std::int64_t least = INT64_MAX;
    for (PipeReader const* reader : m_readers)
        least = std::min(least, reader->m_position);
    if (least - m_forgotten < s_forgottenAtOnce)
        return;
    // Where a file system cannot do that, the file grows.
    (void)fallocate(m_store, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, m_forgotten, least - m_forgotten);
    m_forgotten = least;
}

PipeReader::PipeReader(std::shared_ptr<InputPipe> pipe, std::stop_token stop)
    : m_pipe(std::move(pipe)), m_stop(std::move(stop)), m_seeks(m_pipe->IsWhole()) {
    auto* const buffer = static_cast<unsigned char*>(av_malloc(s_bufferSize));
    m_io = buffer != nullptr ? avio_alloc_context(buffer, s_bufferSize, 0, this, &PipeReader::Read, nullptr,
                                                  &PipeReader::Seek)
                             : nullptr;
    if (m_io == nullptr) {
        av_free(buffer);
        ThrowNoMemory("a pipe's buffer");
    }
    m_io->seekable = m_seeks ? AVIO_SEEKABLE_NORMAL : 0;
    std::lock_guard const lock(m_pipe->m_mutex);
    m_pipe->m_readers.push_back(this);
}

PipeReader::~PipeReader() {
    {
        std::lock_guard const lock(m_pipe->m_mutex);
        std::erase(m_pipe->m_readers, this);
    }
    av_freep(&m_io->buffer); // not always the one that it was made with
    avio_context_free(&m_io);
}

int PipeReader::Read(void* self, std::uint8_t* bytes, int size) noexcept {
    auto& reader = *static_cast<PipeReader*>(self);
    try {
        int const count = reader.m_pipe->Read(reader, bytes, size);
        if (count > 0) {
            std::lock_guard const lock(reader.m_pipe->m_mutex);
            reader.m_position += count;
        }
        return count;
    } catch (std::exception const&) {
        return AVERROR(ENOMEM);
    }
}

std::int64_t PipeReader::Seek(void* self, std::int64_t offset, int whence) noexcept {
    auto& reader = *static_cast<PipeReader*>(self);
    // FFmpeg's reader of MP3 takes an error for a size, and does not cut the end then.
    if ((whence & AVSEEK_SIZE) != 0)
        return reader.m_seeks ? reader.m_pipe->GetSize() : 0;
    if (!reader.m_seeks)
        return AVERROR(EPIPE);
    if ((whence & ~AVSEEK_FORCE) != SEEK_SET || offset < 0)
        return AVERROR(EINVAL);
    std::lock_guard const lock(reader.m_pipe->m_mutex);
    return reader.m_position = offset;
}

Input::Input(fs::path name, Passes passes) : m_name(std::move(name)) {
    if (passes == Passes::Several && IsPipe())
        m_pipe = std::make_shared<InputPipe>(m_name, true);
}

bool Input::IsPipe() const {
    return IsInputPipe(m_name);
}

std::vector<std::string> Input::GetNotes() const {
    constexpr double mega = 1e6;
    if (m_pipe == nullptr || m_pipe->GetSize() == 0)
        return {};
    return {fmt::format("Kept what came through {} in a temporary file, {:.1f} MB, to read it several times.",
                        Quote(m_name), static_cast<double>(m_pipe->GetSize()) / mega)};
}

Input ForOneCall(Input const& input) {
    Input shared = input;
    if (shared.m_pipe == nullptr && shared.IsPipe())
        shared.m_pipe = std::make_shared<InputPipe>(shared.m_name, false);
    return shared;
}

} // namespace Tarsel::Media
