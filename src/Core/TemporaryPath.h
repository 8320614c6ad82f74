#pragma once

#include "Core/Api.h"

#include <filesystem>

namespace Tarsel::Core {

/// A file or folder that goes with this object, whatever is in it, unless it is kept. Different objects may
/// be used by different threads.
class TARSEL_API TemporaryPath {
public:
    TemporaryPath() = default;
    /// It need not be there yet.
    explicit TemporaryPath(std::filesystem::path path);
    TemporaryPath(TemporaryPath const&) = delete;
    TemporaryPath& operator=(TemporaryPath const&) = delete;
    ~TemporaryPath();

    std::filesystem::path const& Get() const noexcept { return m_path; }
    /// From now on it stays.
    void Keep() noexcept;

    /// Removes all there are in the process: for one that ends next, without unwinding. Other threads that
    /// make, keep or drop a path from then on wait for that end. Takes a lock, so not for signal handlers.
    static void RemoveAll() noexcept;

private:
    std::filesystem::path m_path;
};

} // namespace Tarsel::Core
