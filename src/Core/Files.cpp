#include "Core/Files.h"

#include <memory>
#include <string_view>
#include <system_error>

#include <dirent.h>

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

} // namespace Tarsel::Core
