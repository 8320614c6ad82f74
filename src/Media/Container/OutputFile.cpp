#include "Media/Container/OutputFile.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Container/OutputPipe.h"
#include "Media/Container/WriteFailure.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
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

[[noreturn]] void ThrowSystemError(fs::path const& path, int error,
                                   Core::Site const& site = Core::Site::Here()) {
    Core::Throw<OutputException>(site,
                                 fmt::format("Cannot write {}: {}", Quote(path), GetSystemErrorText(error)),
                                 Proc::TagFFmpegError(AVERROR(error)));
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

/// A file replaced keeps its group and rights. Where the group cannot be kept, nobody gets the rights that
/// were its members'.
void TakeRights(fs::path const& file, struct stat const& old) {
    struct stat made {};
    bool const hasGroup = (stat(file.c_str(), &made) == 0 && made.st_gid == old.st_gid) ||
                          chown(file.c_str(), static_cast<uid_t>(-1), old.st_gid) == 0;
    static_cast<void>(chmod(file.c_str(), old.st_mode & (hasGroup ? 0777U : 0707U)));
}

int RenameOver(fs::path const& from, fs::path const& to) {
    struct stat old {};
    if (stat(to.c_str(), &old) == 0)
        TakeRights(from, old);
    return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

/// What a file gets that replaces the target, or is new: while it is written nobody may read it who could not
/// read that, and the group is not yet the target's.
mode_t GetRights(fs::path const& target) {
    struct stat old {};
    return stat(target.c_str(), &old) == 0 ? (old.st_mode & 0707U) | S_IRUSR | S_IWUSR : 0666U;
}

} // namespace

OutputFile::OutputFile(fs::path path, bool overwrite, OutputSeries const& series)
    : m_path(std::move(path)), m_overwrite(overwrite) {
    std::error_code noLink;
    m_target = fs::is_symlink(m_path, noLink) ? fs::canonical(m_path, noLink) : m_path;
    fs::path const called = series.name.empty() ? m_target : m_target.parent_path() / series.name.filename();
    if (int const error = m_temporary.Create(called, GetRights(m_target), series.isFirst); error != 0)
        ThrowSystemError(m_path, error);

    AVIOContext* io = nullptr;
    int const opened = avio_open2(&io, ("file:" + m_temporary.GetPath().string()).c_str(), AVIO_FLAG_WRITE,
                                  nullptr, nullptr);
    m_io.reset(io);
    if (opened < 0)
        ThrowCannotWrite(m_path, opened);
}

OutputFile::~OutputFile() = default;

void OutputFile::Close() {
    avio_flush(m_io.get());
    m_bytes = avio_size(m_io.get());
    int const written = m_io->error;
    AVIOContext* io = m_io.release();
    int const closed = avio_closep(&io);
    if (int const error = written < 0 ? written : closed; error < 0)
        ThrowCannotWrite(m_path, error);
}

void OutputFile::Publish() {
    fs::path const& written = m_temporary.GetPath();
    int error = Sync(written);
    if (error == 0)
        error = m_overwrite ? RenameOver(written, m_target) : RenameNew(written, m_target);
    if (error == EEXIST)
        Core::Throw<OutputException>(
            fmt::format("Cannot write {}: another program has created it in the meantime", Quote(m_path)),
            Proc::TagFFmpegError(AVERROR(error)));
    if (error != 0)
        ThrowSystemError(m_path, error);
    m_temporary.Keep();
    static_cast<void>(Sync(m_target.has_parent_path() ? m_target.parent_path() : fs::path(".")));
}

std::unique_ptr<Output> OpenOutput(fs::path const& path, bool overwrite, std::stop_token stop) {
    if (IsOutputPipe(path))
        return std::make_unique<OutputPipe>(path, std::move(stop));
    return std::make_unique<OutputFile>(path, overwrite);
}

} // namespace Tarsel::Media
