#include "Core/TemporaryPath.h"

#include <cerrno>
#include <cstddef>
#include <mutex>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include <unistd.h>

namespace Tarsel::Core {

namespace {

namespace fs = std::filesystem;

struct Registry {
    std::mutex mutex;
    std::vector<TemporaryPath const*> paths;
};

/// Never destroyed: a process may end while threads still have paths. Not on the heap: to remove them takes
/// no memory.
Registry& GetRegistry() noexcept {
    alignas(Registry) static std::byte memory[sizeof(Registry)];
    static Registry& registry = *new (memory) Registry;
    return registry;
}

void Remove(fs::path const& path) noexcept {
    if (unlink(path.c_str()) == 0 || errno == ENOENT)
        return;
    try {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    } catch (...) {
        // Without memory for its way through a folder it stays.
    }
}

} // namespace

TemporaryPath::TemporaryPath(fs::path path) : m_path(std::move(path)) {
    if (m_path.empty())
        return;
    Registry& registry = GetRegistry();
    std::lock_guard const lock(registry.mutex);
    registry.paths.push_back(this);
}

TemporaryPath::~TemporaryPath() {
    if (m_path.empty())
        return;
    Remove(m_path);
    Keep();
}

void TemporaryPath::Keep() noexcept {
    Registry& registry = GetRegistry();
    std::lock_guard const lock(registry.mutex);
    std::erase(registry.paths, this);
    m_path.clear();
}

void TemporaryPath::RemoveAll() noexcept {
    Registry& registry = GetRegistry();
    registry.mutex.lock();
    for (TemporaryPath const* path : registry.paths)
        Remove(path->m_path);
}

} // namespace Tarsel::Core
