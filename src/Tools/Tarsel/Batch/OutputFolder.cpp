#include "Tools/Tarsel/Batch/OutputFolder.h"

#include "Core/Throw.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

namespace Tarsel::Tools {

OutputFolder::OutputFolder(std::filesystem::path path) : m_path(std::move(path)) {
    std::error_code error;
    std::error_code unknown;
    m_isNew = std::filesystem::create_directory(m_path, error);
    if (!std::filesystem::is_directory(m_path, unknown))
        Core::Throw<Media::OutputException>(fmt::format("--out-dir: cannot make the folder \"{}\": {}",
                                                        m_path.string(),
                                                        error ? error.message() : "a file has this name"));
}

OutputFolder::~OutputFolder() {
    std::error_code notEmpty;
    if (m_isNew)
        std::filesystem::remove(m_path, notEmpty);
}

} // namespace Tarsel::Tools
