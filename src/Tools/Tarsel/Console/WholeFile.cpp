#include "Tools/Tarsel/Console/WholeFile.h"

#include "Core/Files.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace Tarsel::Tools {
namespace {

[[noreturn]] void ThrowCannotWrite(std::filesystem::path const& path, int error) {
    Core::Throw<Media::OutputException>(
        fmt::format("Cannot write \"{}\": {}", path.string(), std::generic_category().message(error)));
}

} // namespace

WholeFile::WholeFile(std::filesystem::path path, bool overwrite) : m_path(std::move(path)) {
    if (!overwrite && Core::FileExists(m_path))
        Core::Throw<Media::OptionsException>(fmt::format("\"{}\" exists already", m_path.string()),
                                             Media::TagMissingOption("overwrite"));
    m_temporary = std::make_unique<Core::TemporaryPath>(
        m_path.parent_path() / fmt::format(".{}.tmp-{}", m_path.filename().string(), getpid()));
    m_file.reset(std::fopen(m_temporary->Get().c_str(), "wxe"));
    if (m_file == nullptr)
        ThrowCannotWrite(m_path, errno);
}

void WholeFile::Write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), m_file.get()) < text.size())
        ThrowCannotWrite(m_path, errno);
}

void WholeFile::Publish() {
    if (m_file == nullptr)
        return;
    if (std::fclose(m_file.release()) != 0)
        ThrowCannotWrite(m_path, errno);
    std::error_code error;
    std::filesystem::rename(m_temporary->Get(), m_path, error);
    if (error)
        ThrowCannotWrite(m_path, error.value());
    m_temporary->Keep();
}

} // namespace Tarsel::Tools
