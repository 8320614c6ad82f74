#pragma once

#include "Core/TemporaryFile.h"
#include "Media/Base/FFmpegOwners.h"

#include <filesystem>

namespace Tarsel::Media {

/// Many files that are written one after the other into one folder.
struct OutputSeries {
    /// After which all temporary files are called; "": there is one file, whose name that is.
    std::filesystem::path name{};
    /// What earlier runs have left is looked for once.
    bool isFirst = true;
};

/// A file being written under a temporary name beside its own. It appears under its name when it is
/// published; otherwise the destructor removes it. One thread at a time.
class OutputFile {
public:
    /// Creates the temporary file; `overwrite`: an existing file may be replaced. OutputException.
    OutputFile(std::filesystem::path path, bool overwrite, OutputSeries const& series = {});
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;
    ~OutputFile();

    /// The name it gets.
    std::filesystem::path const& GetPath() const noexcept { return m_path; }
    /// Where it lies until it is published.
    std::filesystem::path const& GetTemporaryPath() const noexcept { return m_temporary.GetPath(); }
    /// FFmpeg's view of the file, valid until Close.
    AVIOContext* GetIO() const noexcept { return m_io.get(); }

    /// Writes what is still buffered. OutputException when any write failed.
    void Close();
    /// Gives the closed file its name, in one step. OutputException, also when the name has been taken in the
    /// meantime and may not be overwritten.
    void Publish();

private:
    std::filesystem::path m_path;
    /// Where the file ends up: behind the link, when the name is one.
    std::filesystem::path m_target;
    Core::TemporaryFile m_temporary;
    bool m_overwrite;
    UniqueFile m_io;
};

} // namespace Tarsel::Media
