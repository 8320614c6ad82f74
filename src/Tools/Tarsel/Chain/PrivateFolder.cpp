#include "Tools/Tarsel/Chain/PrivateFolder.h"

#include "Core/Files.h"

#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

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

constexpr std::string_view s_prefix = "tarsel-";

/// Of "tarsel-123-AbCdEf"; 0 for other names.
pid_t GetProcess(std::string_view name) {
    pid_t process = 0;
    if (name.starts_with(s_prefix))
        std::from_chars(name.data() + s_prefix.size(), name.data() + name.size(), process);
    return process;
}

/// The folders of this user's processes that are no more.
void RemoveLeftovers(std::filesystem::path const& parent) {
    for (std::string const& name : Core::ListFolder(parent)) {
        std::filesystem::path const path = parent / name;
        pid_t const process = GetProcess(name);
        struct stat found {};
        bool const isLeft = process > 0 && lstat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode) &&
                            found.st_uid == geteuid() && kill(process, 0) != 0 && errno == ESRCH;
        std::error_code ignored;
        if (isLeft)
            std::filesystem::remove_all(path, ignored);
    }
}

} // namespace

PrivateFolder::PrivateFolder() {
    std::string const parent = GetParent();
    RemoveLeftovers(parent);
    std::string path = fmt::format("{}/{}{}-XXXXXX", parent, s_prefix, getpid());
    if (mkdtemp(path.data()) == nullptr)
        throw std::filesystem::filesystem_error("Cannot create a folder for temporary files", path,
                                                std::error_code(errno, std::generic_category()));
    m_path.emplace(path);
}

} // namespace Tarsel::Tools
