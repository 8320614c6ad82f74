#pragma once

#include "Media/FrameFacts.h"
#include "Tools/Tarsel/Console/WholeFile.h"

#include <filesystem>

namespace Tarsel::Tools {

/// A file of facts about frames, a JSON object a line (Schemas/frame-facts.schema.json). It appears under
/// its name when it is published. One thread at a time.
class FrameFactsFile {
public:
    FrameFactsFile() = default;
    FrameFactsFile(FrameFactsFile const&) = delete;
    FrameFactsFile& operator=(FrameFactsFile const&) = delete;
    ~FrameFactsFile() = default;

    /// Once; `output` is the file that the facts are about. Throws as WholeFile.
    void Open(std::filesystem::path const& path, bool overwrite, std::filesystem::path const& output);
    /// Media::OutputException.
    void Write(Media::FrameFacts const& facts);
    /// Does nothing where none was opened. Media::OutputException.
    void Publish() { m_file.Publish(); }

private:
    WholeFile m_file;
};

} // namespace Tarsel::Tools
