#pragma once

#include "Core/TemporaryFile.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Container/Output.h"

#include <cstdint>
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
class OutputFile final : public Output {
public:
    /// Creates the temporary file; `overwrite`: an existing file may be replaced. OutputException.
    OutputFile(std::filesystem::path path, bool overwrite, OutputSeries const& series = {});
    ~OutputFile() override;

    std::filesystem::path const& GetPath() const noexcept override { return m_path; }
    AVIOContext* GetIO() const noexcept override { return m_io.get(); }
    /// Where it lies until it is published.
    std::filesystem::path GetWrittenPath() const override { return m_temporary.GetPath(); }
    std::int64_t GetByteCount() const noexcept override { return m_bytes; }

    void Close() override;
    /// Gives the closed file its name, in one step. OutputException, also when the name has been taken in the
    /// meantime and may not be overwritten.
    void Publish() override;

private:
    std::filesystem::path m_path;
    /// Where the file ends up: behind the link, when the name is one.
    std::filesystem::path m_target;
    Core::TemporaryFile m_temporary;
    bool m_overwrite;
    UniqueFile m_io;
    std::int64_t m_bytes = 0;
};

} // namespace Tarsel::Media
