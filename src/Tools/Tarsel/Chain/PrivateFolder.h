#pragma once

#include "Core/TemporaryPath.h"

#include <filesystem>
#include <optional>

namespace Tarsel::Tools {

/// A new folder for temporary files that only this user can look into; it goes with this object, and with it
/// whatever is in it. Those that killed processes left go when the next one is made. It lies in $TMPDIR, or
/// in /tmp where that is not set or has a character in its name that FFmpeg's filter texts give a meaning to.
class PrivateFolder {
public:
    /// std::filesystem::filesystem_error naming the folder when it cannot be made.
    PrivateFolder();
    PrivateFolder(PrivateFolder const&) = delete;
    PrivateFolder& operator=(PrivateFolder const&) = delete;
    ~PrivateFolder();

    std::filesystem::path const& GetPath() const noexcept { return m_path->Get(); }

private:
    std::optional<Core::TemporaryPath> m_path;
    int m_lock = -1;
};

} // namespace Tarsel::Tools
