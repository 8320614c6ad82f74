#include "Media/OutputFile.h"

#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Media/MessageText.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
}

namespace Tarsel::Media {

namespace {

namespace fs = std::filesystem;

constexpr char const* s_file = "Media/OutputFile";
/// Of most file systems.
constexpr std::size_t s_longestName = 255;

[[noreturn]] void ThrowCannotWrite(char const* signature, fs::path const& path, std::string const& reason,
                                   int error, Core::CodePoint at = Core::CodePoint::Here()) {
    Core::Throw<OutputException>({s_file, signature, at},
                                 fmt::format("Cannot write {}: {}", Quote(path), reason),
                                 Proc::TagFFmpegError(error));
}

/// ".film.tmp-1a2b3c4d.mp4" for "film.mp4": hidden, and of the same kind to whoever looks.
fs::path MakeTemporaryPath(fs::path const& target, std::uint32_t number) {
    std::string const tail = fmt::format(".tmp-{:08x}{}", number, target.extension().string());
    std::string stem = "." + target.stem().string();
    stem.resize(std::min(stem.size(), s_longestName - std::min(tail.size(), s_longestName)));
    return target.parent_path() / (stem + tail);
}

/// Creates the file, which must not exist; 0 or an errno value.
int CreateNew(fs::path const& path) {
    int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0)
        return errno;
    close(file);
    return 0;
}

/// Has the system write what it holds of the file or folder to the disk: otherwise a name can outlive a loss
/// of power that its content does not. 0 or an errno value; what cannot be asked for counts as done.
int Sync(fs::path const& path) {
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return 0;
    int const error = fsync(file) == 0 || errno == EINVAL || errno == EROFS ? 0 : errno;
    close(file);
    return error;
}

/// Renames without replacing anything; 0 or an errno value.
int RenameNew(fs::path const& from, fs::path const& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // A file system without that flag: claim the name first, then replace the claim.
    if (int const error = CreateNew(to); error != 0)
        return error;
    if (rename(from.c_str(), to.c_str()) == 0)
        return 0;
    int const error = errno;
    unlink(to.c_str());
    return error;
}

int RenameOver(fs::path const& from, fs::path const& to) {
    struct stat old {};
    if (stat(to.c_str(), &old) == 0)
        static_cast<void>(chmod(from.c_str(), old.st_mode & 07777U)); // a file replaced keeps its rights
    return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

} // namespace

OutputFile::OutputFile(fs::path path, bool overwrite) : m_path(std::move(path)), m_overwrite(overwrite) {
    constexpr char const* signature = "Tarsel::Media::OutputFile::OutputFile(std::filesystem::path, bool)";
    constexpr int attempts = 100;
    std::error_code noLink;
    m_target = fs::is_symlink(m_path, noLink) ? fs::canonical(m_path, noLink) : m_path;
    std::random_device random;
    int error = EEXIST;
    for (int attempt = 0; attempt < attempts && error == EEXIST; ++attempt) {
        m_temporary = MakeTemporaryPath(m_target, static_cast<std::uint32_t>(random()));
        error = CreateNew(m_temporary);
    }
    if (error != 0)
        ThrowCannotWrite(signature, m_path, GetSystemErrorText(error), AVERROR(error));

    AVIOContext* io = nullptr;
    int const opened =
        avio_open2(&io, ("file:" + m_temporary.string()).c_str(), AVIO_FLAG_WRITE, nullptr, nullptr);
    m_io.reset(io);
    if (opened < 0) {
        unlink(m_temporary.c_str());
        ThrowCannotWrite(signature, m_path, Proc::GetFFmpegErrorText(opened), opened);
    }
}

OutputFile::~OutputFile() {
    m_io.reset();
    if (!m_temporary.empty())
        unlink(m_temporary.c_str());
}

void OutputFile::Close() {
    avio_flush(m_io.get());
    int const written = m_io->error;
    AVIOContext* io = m_io.release();
    int const closed = avio_closep(&io);
    if (int const error = written < 0 ? written : closed; error < 0)
        ThrowCannotWrite("void Tarsel::Media::OutputFile::Close()", m_path, Proc::GetFFmpegErrorText(error),
                         error);
}

void OutputFile::Publish() {
    int error = Sync(m_temporary);
    if (error == 0)
        error = m_overwrite ? RenameOver(m_temporary, m_target) : RenameNew(m_temporary, m_target);
    if (error == EEXIST)
        ThrowCannotWrite("void Tarsel::Media::OutputFile::Publish()", m_path,
                         "it has appeared in the meantime and may not be overwritten", AVERROR(error));
    if (error != 0)
        ThrowCannotWrite("void Tarsel::Media::OutputFile::Publish()", m_path, GetSystemErrorText(error),
                         AVERROR(error));
    m_temporary.clear();
    static_cast<void>(Sync(m_target.has_parent_path() ? m_target.parent_path() : fs::path(".")));
}

} // namespace Tarsel::Media
