#pragma once

#include "Core/TemporaryPath.h"
#include "Media/FrameFacts.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

namespace Tarsel::Tools {

/// A file of facts about frames, a JSON object a line (Schemas/frame-facts.schema.json). It appears under
/// its name when it is published. One thread at a time.
class FrameFactsFile {
public:
    FrameFactsFile() = default;
    FrameFactsFile(FrameFactsFile const&) = delete;
    FrameFactsFile& operator=(FrameFactsFile const&) = delete;
    ~FrameFactsFile() = default;

    /// Once; `output` is the file that the facts are about. UsageException where `path` is there and may not
    /// be overwritten; Media::OutputException.
    void Open(std::filesystem::path const& path, bool overwrite, std::filesystem::path const& output);
    /// Media::OutputException.
    void Write(Media::FrameFacts const& facts);
    /// Does nothing where none was opened. Media::OutputException.
    void Publish();

private:
    struct Closer {
        void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
    };

    void WriteLine(std::string const& line);

    std::filesystem::path m_path;
    std::optional<Core::TemporaryPath> m_temporary;
    std::unique_ptr<std::FILE, Closer> m_file;
};

} // namespace Tarsel::Tools
