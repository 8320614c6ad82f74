#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

struct AVIOContext;

namespace Tarsel::Media {

class Input;
class PipeReader;

/// The bytes that come through a pipe, for readers that each begin with the first. What has come lies in a
/// file without a name until all readers have passed it. A reader that asks for more than has come fetches it
/// for all. Any thread.
class InputPipe {
public:
    /// Nothing is opened. `keepsAll`: whatever ForgetRead says.
    InputPipe(std::filesystem::path name, bool keepsAll);
    InputPipe(InputPipe const&) = delete;
    InputPipe& operator=(InputPipe const&) = delete;
    ~InputPipe();

    /// Opens it, once. Never waits for who writes. InputException.
    void Open();
    /// Fetches all there is, after which readers may seek. 0, or an AVERROR.
    int FetchAll(std::stop_token const& stop);
    /// Whether all has come, and is there.
    bool IsWhole() const;
    /// How much has come.
    std::int64_t GetSize() const;
    /// No other reader begins: what all of them have read is not needed any more.
    void ForgetRead();
    /// The bytes from a position on, at most so many, as far as they come. Before ForgetRead.
    std::string Peek(std::int64_t position, std::size_t count, std::stop_token const& stop);
    /// Why bytes could not be kept, "" where they could.
    std::string GetFailure() const;
    bool KeepsAll() const noexcept { return m_keepsAll; }

private:
    friend class PipeReader;

    /// Bytes from the reader's position on: how many, or an AVERROR. Waits.
    int Read(PipeReader& reader, std::uint8_t* bytes, int size);
    int Read(std::int64_t position, std::uint8_t* bytes, int size, std::stop_token const& stop, bool stores);
    int Fetch(std::uint8_t* bytes, int size, std::stop_token const& stop) const;
    int Store(std::uint8_t const* bytes, int size);
    void Forget();

    std::filesystem::path const m_name;
    bool const m_keepsAll;
    mutable std::mutex m_mutex;
    std::condition_variable_any m_changed;
    int m_pipe = -1;
    bool m_isOpened = false;
    /// Without a name; or what was to be read, where that is a file.
    int m_store = -1;
    /// Of the first byte in the store.
    std::int64_t m_base = 0;
    bool m_isFile = false;
    std::int64_t m_size = 0;
    bool m_isWhole = false;
    /// An AVERROR.
    int m_error = 0;
    std::string m_failure;
    /// One of the readers is waiting for more.
    bool m_isFetching = false;
    bool m_forgetsRead = false;
    std::int64_t m_forgotten = 0;
    std::vector<PipeReader const*> m_readers;
};

/// FFmpeg's view of a pipe. It seeks if all has come before it was made. One thread at a time.
class PipeReader {
public:
    /// MemoryException.
    PipeReader(std::shared_ptr<InputPipe> pipe, std::stop_token stop);
    PipeReader(PipeReader const&) = delete;
    PipeReader& operator=(PipeReader const&) = delete;
    ~PipeReader();

    AVIOContext* GetIO() const noexcept { return m_io; }

private:
    friend class InputPipe;

    static int Read(void* self, std::uint8_t* bytes, int size) noexcept;
    static std::int64_t Seek(void* self, std::int64_t offset, int whence) noexcept;

    std::shared_ptr<InputPipe> m_pipe;
    std::stop_token m_stop;
    bool m_seeks;
    std::int64_t m_position = 0;
    AVIOContext* m_io = nullptr;
};

/// The input for all that one call opens of it: they share what comes through a pipe.
Input ForOneCall(Input const& input);

} // namespace Tarsel::Media
