#include "Tools/Tarsel/PrivateFolder.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace Tarsel::Tools {
namespace {

std::string GetParent() {
    char const* const named = std::getenv("TMPDIR");
    std::string const parent = named != nullptr ? named : "";
    bool const isPlain = !parent.empty() && parent.find_first_of("\\':,;[] \t\r\n") == std::string::npos;
    return isPlain ? parent : "/tmp";
}

} // namespace

PrivateFolder::PrivateFolder() {
    std::string path = GetParent() + "/tarsel-XXXXXX";
    if (mkdtemp(path.data()) == nullptr)
        throw std::filesystem::filesystem_error("A folder for temporary files cannot be made", path,
                                                std::error_code(errno, std::generic_category()));
    m_path.emplace(path);
}

} // namespace Tarsel::Tools
