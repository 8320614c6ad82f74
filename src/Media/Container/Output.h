#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stop_token>

struct AVIOContext;

namespace Tarsel::Media {

/// Where the bytes of an output go. One thread at a time.
class Output {
public:
    Output() = default;
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;
    virtual ~Output() = default;

    /// The name that it was given, or gets.
    virtual std::filesystem::path const& GetPath() const noexcept = 0;
    /// FFmpeg's view of it, valid until Close.
    virtual AVIOContext* GetIO() const noexcept = 0;
    /// Where what was written can be read back once it is closed; empty where it is gone.
    virtual std::filesystem::path GetWrittenPath() const = 0;
    /// How much was written, once it is closed.
    virtual std::int64_t GetByteCount() const noexcept = 0;

    /// Writes what is still buffered. OutputException when any write failed; Stopped.
    virtual void Close() = 0;
    /// Makes what was closed appear as a whole. OutputException.
    virtual void Publish() = 0;
};

/// A file under a temporary name, or a pipe; `overwrite`: an existing file may be replaced. Waits for whoever
/// reads a FIFO. OutputException; Stopped.
std::unique_ptr<Output> OpenOutput(std::filesystem::path const& path, bool overwrite, std::stop_token stop);

} // namespace Tarsel::Media
