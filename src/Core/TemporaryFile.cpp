#include "Core/TemporaryFile.h"

#include "Core/Files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarsel::Core {

namespace {

namespace fs = std::filesystem;

/// Of most file systems.
constexpr std::size_t s_longestName = 255;
constexpr std::size_t s_digits = 8;

/// The names of a target's temporary files: these two with a number between them.
struct NameParts {
    std::string head;
    std::string tail;
};

NameParts MakeNameParts(fs::path const& target) {
    NameParts parts{"." + target.stem().string(), target.extension().string()};
    constexpr std::string_view mark = ".tmp-";
    std::size_t const rest = std::min(mark.size() + s_digits + parts.tail.size(), s_longestName);
    parts.head.resize(std::min(parts.head.size(), s_longestName - rest));
    parts.head += mark;
    return parts;
}

bool IsNumber(std::string_view text) noexcept {
    return text.size() == s_digits && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// Removes the file unless somebody holds its lock. Where the file system knows no locks it stays.
void RemoveAbandoned(fs::path const& path) noexcept {
    int const file = open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return;
    struct stat found {};
    if (fstat(file, &found) == 0 && S_ISREG(found.st_mode) && flock(file, LOCK_EX | LOCK_NB) == 0)
        unlink(path.c_str());
    close(file);
}

void RemoveLeftovers(fs::path const& folder, NameParts const& parts) {
    for (std::string const& name : ListFolder(folder)) {
        std::size_t const around = parts.head.size() + parts.tail.size();
        if (name.size() == around + s_digits && name.starts_with(parts.head) && name.ends_with(parts.tail) &&
            IsNumber(std::string_view(name).substr(parts.head.size(), s_digits)))
            RemoveAbandoned(folder / name);
    }
}

/// A new file, locked: its descriptor, or −1 and errno. EEXIST also where another run took it for a leftover
/// before it was locked.
int CreateLocked(fs::path const& path, mode_t rights) {
    int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, rights);
    if (file < 0)
        return -1;
    bool const isTaken = flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct stat made {};
    if (!isTaken && fstat(file, &made) == 0 && made.st_nlink > 0)
        return file;
    unlink(path.c_str());
    close(file);
    errno = EEXIST;
    return -1;
}

} // namespace

TemporaryFile::~TemporaryFile() {
    m_path.reset(); // while it is locked
    if (m_lock >= 0)
        close(m_lock);
}

int TemporaryFile::Create(fs::path const& target, mode_t rights, bool removesLeftovers) {
    constexpr int attempts = 100;
    NameParts const parts = MakeNameParts(target);
    fs::path const folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    if (removesLeftovers)
        RemoveLeftovers(folder, parts);
    std::random_device random;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        m_path.emplace(target.parent_path() / fmt::format("{}{:08x}{}", parts.head,
                                                          static_cast<std::uint32_t>(random()), parts.tail));
        m_lock = CreateLocked(m_path->Get(), rights);
        if (m_lock >= 0)
            return 0;
        int const error = errno;
        m_path->Keep(); // it is somebody else's, or not there
        if (error != EEXIST)
            return error;
    }
    return EEXIST;
}

} // namespace Tarsel::Core
