#include "Tools/Tarsel/Chain/PrivateFolder.h"

#include "Core/Files.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarsel::Tools {
namespace {

std::string GetParent() {
    char const* const named = std::getenv("TMPDIR");
    std::string const parent = named != nullptr ? named : "";
    bool const isPlain = !parent.empty() && parent.find_first_of("\\':,;[] \t\r\n") == std::string::npos;
    return isPlain ? parent : "/tmp";
}

constexpr std::string_view s_prefix = "tarsel-private-";

/// The folder, locked, or -1 where it is no folder of this user or somebody else holds its lock. Locks are
/// known by all who see the folder; numbers of processes mean others in a container, or on another machine.
int OpenLocked(std::filesystem::path const& folder) noexcept {
    int const opened = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (opened < 0)
        return -1;
    struct stat found {};
    if (fstat(opened, &found) == 0 && found.st_uid == geteuid() && found.st_nlink > 0 &&
        flock(opened, LOCK_EX | LOCK_NB) == 0)
        return opened;
    (void)close(opened);
    return -1;
}

/// The folders that nobody uses any more.
void RemoveLeftovers(std::filesystem::path const& parent) {
    for (std::string const& name : Core::ListFolder(parent)) {
        if (!name.starts_with(s_prefix))
            continue;
        int const opened = OpenLocked(parent / name);
        if (opened < 0)
            continue;
        std::error_code ignored;
        std::filesystem::remove_all(parent / name, ignored);
        (void)close(opened);
    }
}

} // namespace

PrivateFolder::PrivateFolder() {
    std::string const parent = GetParent();
    RemoveLeftovers(parent);
    // Another process may take it for a leftover before it is locked.
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::string path = fmt::format("{}/{}XXXXXX", parent, s_prefix);
        if (mkdtemp(path.data()) == nullptr)
            throw std::filesystem::filesystem_error("Cannot create a folder for temporary files", path,
                                                    std::error_code(errno, std::generic_category()));
        m_path.emplace(path);
        m_lock = OpenLocked(path);
        if (m_lock >= 0 || std::filesystem::exists(path)) // or locks are not known there
            return;
    }
}

PrivateFolder::~PrivateFolder() {
    m_path.reset(); // while it is locked
    if (m_lock >= 0)
        (void)close(m_lock);
}

} // namespace Tarsel::Tools
