#include "Tools/Tarsel/Console/WholeFile.h"

#include "Core/Files.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace Tarsel::Tools {
namespace {

[[noreturn]] void ThrowCannotWrite(std::filesystem::path const& path, int error) {
    Core::Throw<Media::OutputException>(
        fmt::format("Cannot write \"{}\": {}", path.string(), std::generic_category().message(error)));
}

} // namespace

std::string ReadWholeFile(std::filesystem::path const& path) {
    constexpr std::size_t most = 16U << 20U;
    // A pipe that nobody writes to is not waited for.
    int const opened = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (opened >= 0)
        (void)fcntl(opened, F_SETFL, 0);
    std::unique_ptr<std::FILE, CloseFile> const file(opened >= 0 ? fdopen(opened, "r") : nullptr);
    std::string text;
    std::array<char, 4096> part{};
    while (file && std::feof(file.get()) == 0 && std::ferror(file.get()) == 0 && text.size() <= most)
        text.append(part.data(), std::fread(part.data(), 1, part.size(), file.get()));
    if (text.size() > most)
        Core::Throw<Media::InputException>(
            fmt::format("Cannot read \"{}\": it has more than {} MiB", path.string(), most >> 20U));
    if (!file || std::ferror(file.get()) != 0)
        Core::Throw<Media::InputException>(
            fmt::format("Cannot read \"{}\": {}", path.string(), std::generic_category().message(errno)));
    return text;
}

WholeFile::WholeFile(std::filesystem::path path, bool overwrite) : m_path(std::move(path)) {
    if (!overwrite && Core::FileExists(m_path))
        Core::Throw<Media::OptionsException>(fmt::format("\"{}\" exists already", m_path.string()),
                                             Media::TagMissingOption("overwrite"));
    // A link stays, and what it leads to is replaced; its rights stay too.
    std::error_code error;
    if (std::filesystem::is_symlink(m_path, error))
        m_path = std::filesystem::canonical(m_path, error);
    mode_t rights = 0666;
    if (struct stat found{}; !m_path.empty() && stat(m_path.c_str(), &found) == 0) {
        if (!S_ISREG(found.st_mode))
            Core::Throw<Media::OutputException>(
                fmt::format("Cannot write \"{}\": it is not a regular file", m_path.string()));
        rights = found.st_mode & 0777U;
    }
    m_temporary = std::make_unique<Core::TemporaryFile>();
    if (int const failure = m_temporary->Create(m_path, rights); failure != 0)
        ThrowCannotWrite(m_path, failure);
    m_file.reset(std::fopen(m_temporary->GetPath().c_str(), "we"));
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
    std::filesystem::rename(m_temporary->GetPath(), m_path, error);
    if (error)
        ThrowCannotWrite(m_path, error.value());
    m_temporary->Keep();
}

} // namespace Tarsel::Tools
