#include "Core/Files.h"

#include <cerrno>
#include <cstddef>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <poll.h>
#include <unistd.h>

namespace Tarsel::Core {

bool FileExists(ioPath const& path) noexcept {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

std::vector<std::string> ListFolder(ioPath const& folder) {
    struct Close {
        void operator()(DIR* opened) const noexcept { closedir(opened); }
    };
    std::vector<std::string> names;
    std::unique_ptr<DIR, Close> const opened(opendir(folder.c_str()));
    while (dirent const* const entry = opened ? readdir(opened.get()) : nullptr)
        if (std::string_view const name = entry->d_name; name != "." && name != "..")
            names.emplace_back(name);
    return names;
}

int WriteAll(int descriptor, std::string_view text) noexcept {
    while (!text.empty()) {
        ssize_t const written = write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd ready{descriptor, POLLOUT, 0};
            (void)poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

} // namespace Tarsel::Core
