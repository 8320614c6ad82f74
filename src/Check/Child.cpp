#include "Check/Child.h"

#include "Core/Files.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <sys/prctl.h>
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

std::unique_ptr<Core::TemporaryPath> MakeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tarsel-check-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        Throw("Cannot make a folder for a check");
    return std::make_unique<Core::TemporaryPath>(name);
}

/// All that the child of `parent` does, begun with all signals held back; it returns nowhere. `signals` are
/// those to hold back from then on.
[[noreturn]] void Work(std::function<std::string()> const& work, int pipe,
                       std::filesystem::path const& folder, pid_t parent, sigset_t const& signals) {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
        std::signal(signal, SIG_DFL);
    (void)pthread_sigmask(SIG_SETMASK, &signals, nullptr);
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(EXIT_FAILURE);
    // What the parent would do then, such as to remove its files, is not the child's.
    std::set_terminate([] { std::abort(); });
    rlimit const noCore{0, 0};
    (void)setrlimit(RLIMIT_CORE, &noCore);
    int const nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    (void)dup2(nothing, STDOUT_FILENO);
    (void)dup2(nothing, STDERR_FILENO);
    std::error_code error;
    std::filesystem::current_path(folder, error);
    // What it throws it has to say itself.
    (void)Core::WriteAll(pipe, work());
    // Without the destructors of the process, which are another's: the parent's.
    _exit(EXIT_SUCCESS);
}

} // namespace

Child::Child(std::function<std::string()> const& work, std::chrono::milliseconds limit)
    : m_folder(MakeFolder()), m_start(std::chrono::steady_clock::now()), m_deadline(m_start + limit) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        Throw("Cannot make a pipe for a check");
    // A signal for both is the parent's alone, whose handlers the child has at first.
    sigset_t all{};
    sigset_t before{};
    (void)sigfillset(&all);
    (void)pthread_sigmask(SIG_SETMASK, &all, &before);
    pid_t const parent = getpid();
    m_process = fork();
    int const error = errno;
    if (m_process == 0)
        Work(work, ends[1], m_folder->Get(), parent, before);
    (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(ends[1]);
    if (m_process < 0) {
        close(ends[0]);
        errno = error;
        Throw("Cannot start a process for a check");
    }
    m_pipe = ends[0];
    (void)fcntl(m_pipe, F_SETFL, O_NONBLOCK);
}

Child::Child(Child&& other) noexcept
    : m_process(std::exchange(other.m_process, -1)), m_pipe(std::exchange(other.m_pipe, -1)),
      m_said(std::move(other.m_said)), m_folder(std::move(other.m_folder)), m_start(other.m_start),
      m_deadline(other.m_deadline) {}

Child::~Child() {
    if (m_process > 0) {
        (void)kill(m_process, SIGKILL);
        (void)waitpid(m_process, nullptr, 0);
    }
    if (m_pipe >= 0)
        close(m_pipe);
}

std::optional<ChildEnd> Child::Poll() {
    std::array<char, 4096> part{};
    ssize_t count = 0;
    while ((count = read(m_pipe, part.data(), part.size())) > 0)
        m_said.append(part.data(), static_cast<std::size_t>(count));
    // It may have closed what is not its own, and go on.
    siginfo_t ended{};
    if (count == 0 && waitid(P_PID, static_cast<id_t>(m_process), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        ended.si_pid != 0)
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
