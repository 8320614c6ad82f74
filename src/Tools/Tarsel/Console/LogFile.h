#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>

namespace Tarsel::Tools {

/// A file of lines, "2026-01-31T12:34:56.789Z warning text", each appended as it comes, in one step. Any
/// thread.
class LogFile {
public:
    LogFile() = default;
    LogFile(LogFile const&) = delete;
    LogFile& operator=(LogFile const&) = delete;
    ~LogFile();

    /// Once. Media::OutputException where it cannot be written, or has content that is not a log: that of a
    /// file whose name was not meant.
    void Open(std::filesystem::path const& path);
    /// `level` is one word. Does nothing before Open; what cannot be written is lost.
    void Write(std::string_view level, std::string_view text);
    /// What the user should know; "" when everything was written.
    std::string GetNote() const;

private:
    std::filesystem::path m_path;
    int m_descriptor = -1;
    std::atomic<int> m_error = 0;
};

/// "error" and so on, of one of FFmpeg's levels. Any thread.
std::string_view GetLevelName(int level) noexcept;

} // namespace Tarsel::Tools
