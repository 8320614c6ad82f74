#pragma once

#include "Core/Api.h"
#include "Core/TemporaryPath.h"

#include <filesystem>
#include <optional>

#include <sys/types.h>

namespace Tarsel::Core {

/// A new file beside the one that it is to become: hidden, and of the same kind to whoever looks
/// (".film.tmp-1a2b3c4d.mp4" for "film.mp4"). It goes with this object, and with the process where that ends
/// in an orderly way. It is locked as long as it is there: by that the next run tells what was left by a
/// process that was killed from what others are writing. One thread at a time.
class TARSEL_API TemporaryFile {
public:
    TemporaryFile() = default;
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile();

    /// Creates it, empty, with these rights less those that the process masks; what was left by earlier runs
    /// for the same target is removed, unless that is not wanted: it takes reading the folder. 0 or an errno
    /// value. Once.
    int Create(std::filesystem::path const& target, mode_t rights, bool removesLeftovers = true);

    std::filesystem::path const& GetPath() const noexcept { return m_path->Get(); }
    /// It has become what it was to be.
    void Keep() noexcept { m_path->Keep(); }

private:
    std::optional<TemporaryPath> m_path;
    int m_lock = -1;
};

} // namespace Tarsel::Core
