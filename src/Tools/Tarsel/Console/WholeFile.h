#pragma once

#include "Core/TemporaryFile.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace Tarsel::Tools {

/// All that is in a file. Media::InputException. Any thread.
std::string ReadWholeFile(std::filesystem::path const& path);

/// Closes a file, whatever comes of it.
struct CloseFile {
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
};

/// A file of text that appears under its name when it is complete, and leaves nothing behind otherwise. One
/// thread at a time.
class WholeFile {
public:
    WholeFile() = default;
    /// Begins it; nothing is written under its name yet. Media::OptionsException for one that exists and may
    /// not be replaced, Media::OutputException.
    WholeFile(std::filesystem::path path, bool overwrite);

    /// Media::OutputException.
    void Write(std::string_view text);
    /// Gives it its name; nothing without one. Media::OutputException.
    void Publish();

private:
    std::filesystem::path m_path;
    std::unique_ptr<Core::TemporaryFile> m_temporary;
    std::unique_ptr<std::FILE, CloseFile> m_file;
};

} // namespace Tarsel::Tools
