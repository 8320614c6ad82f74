#include "Core/Files.h"

#include <system_error>

namespace Tarsel::Core {

bool FileExists(ioPath const& path) noexcept {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

} // namespace Tarsel::Core
