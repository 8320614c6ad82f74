#include "Check/Child.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Tarsel::Check {
namespace {

[[noreturn]] void Throw(char const* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::filesystem::path MakeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tarsel-check-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        Throw("Cannot make a folder for a check");
    return name;
}

void WriteAll(int pipe, std::string_view text) {
    while (!text.empty()) {
        ssize_t const written = write(pipe, text.data(), text.size());
        if (written < 0)
            return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// All that the child does; it returns nowhere.
[[noreturn]] void Work(std::function<std::string()> const& work, int pipe,
                       std::filesystem::path const& folder) {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
        std::signal(signal, SIG_DFL);
    rlimit const noCore{0, 0};
    (void)setrlimit(RLIMIT_CORE, &noCore);
    int const nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    (void)dup2(nothing, STDOUT_FILENO);
    (void)dup2(nothing, STDERR_FILENO);
    std::error_code error;
    std::filesystem::current_path(folder, error);
    // What it throws it has to say itself.
    WriteAll(pipe, work());
    // Without the destructors of the process, which are another's: the parent's.
    _exit(EXIT_SUCCESS);
}

} // namespace

Child::Child(std::function<std::string()> const& work, std::chrono::milliseconds limit)
    : m_folder(MakeFolder()), m_start(std::chrono::steady_clock::now()), m_deadline(m_start + limit) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        Throw("Cannot make a pipe for a check");
    m_process = fork();
    if (m_process == 0)
        Work(work, ends[1], m_folder);
    close(ends[1]);
    m_pipe = ends[0];
    if (m_process < 0)
        Throw("Cannot start a process for a check");
    (void)fcntl(m_pipe, F_SETFL, O_NONBLOCK);
}

Child::Child(Child&& other) noexcept
    : m_process(std::exchange(other.m_process, -1)), m_pipe(std::exchange(other.m_pipe, -1)),
      m_said(std::move(other.m_said)), m_folder(std::exchange(other.m_folder, {})), m_start(other.m_start),
      m_deadline(other.m_deadline) {}

Child::~Child() {
    if (m_process > 0) {
        (void)kill(m_process, SIGKILL);
        (void)waitpid(m_process, nullptr, 0);
    }
    if (m_pipe >= 0)
        close(m_pipe);
    if (!m_folder.empty()) {
        std::error_code error;
        std::filesystem::remove_all(m_folder, error);
    }
}

std::optional<ChildEnd> Child::Poll() {
    std::array<char, 4096> part{};
    ssize_t count = 0;
    while ((count = read(m_pipe, part.data(), part.size())) > 0)
        m_said.append(part.data(), static_cast<std::size_t>(count));
    if (count == 0)
        return End(ChildEnd::Kind::Returned);
    if (std::chrono::steady_clock::now() < m_deadline)
        return std::nullopt;
    (void)kill(m_process, SIGKILL);
    return End(ChildEnd::Kind::Hung);
}

ChildEnd Child::End(ChildEnd::Kind kind) {
    int status = 0;
    (void)waitpid(std::exchange(m_process, -1), &status, 0);
    std::chrono::duration<double> const time = std::chrono::steady_clock::now() - m_start;
    if (kind == ChildEnd::Kind::Hung)
        return {kind, "", time.count()};
    if (WIFSIGNALED(status))
        return {ChildEnd::Kind::Died,
                fmt::format("signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status))), time.count()};
    if (WEXITSTATUS(status) != EXIT_SUCCESS)
        return {ChildEnd::Kind::Died, fmt::format("exit with code {}", WEXITSTATUS(status)), time.count()};
    return {kind, std::move(m_said), time.count()};
}

} // namespace Tarsel::Check
