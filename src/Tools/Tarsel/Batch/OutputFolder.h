#pragma once

#include <filesystem>

namespace Tarsel::Tools {

/// A folder to write into, which is made where there is none, and then goes with this object if nothing came
/// into it. One thread at a time.
class OutputFolder {
public:
    /// Media::OutputException where it cannot be made; folders around it are not.
    explicit OutputFolder(std::filesystem::path path);
    OutputFolder(OutputFolder const&) = delete;
    OutputFolder& operator=(OutputFolder const&) = delete;
    ~OutputFolder();

private:
    std::filesystem::path m_path;
    bool m_isNew = false;
};

} // namespace Tarsel::Tools
