#include "Tools/Tarsel/Signals.h"

#include "Core/CoreExceptions.h"
#include "Core/TemporaryPath.h"
#include "Core/Throw.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace Tarsel::Tools {
namespace {

/// In place of a signal's number.
constexpr unsigned char s_end = 0;
/// The user's keys, a request from outside, the terminal's end.
constexpr int s_signals[]{SIGINT, SIGQUIT, SIGTERM, SIGHUP};

// A handler may do next to nothing: it writes its number into a pipe, and a thread at the other end does the
// rest.
std::atomic<int> s_pipeEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void OnSignal(int signal) {
    int const saved = errno;
    auto const number = static_cast<unsigned char>(signal);
    (void)!write(s_pipeEnd.load(), &number, 1);
    errno = saved;
}

/// What is being written is worth nothing to whoever asks twice.
void EndProcess(int signal) {
    Core::TemporaryPath::RemoveAll();
    (void)std::signal(signal, SIG_DFL);
    (void)kill(getpid(), signal);
}

void Handle(int signal) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    (void)sigaction(signal, &action, nullptr);
}

void Restore(int signal) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == OnSignal)
        (void)std::signal(signal, SIG_DFL);
}

} // namespace

StopOnSignals::StopOnSignals() {
    int ends[2];
    // A handler never waits: with a pipe full of requests one more tells nothing new.
    if (pipe2(ends, O_CLOEXEC) != 0 || fcntl(ends[1], F_SETFL, O_NONBLOCK) != 0)
        Core::Throw<Core::CoreException>(
            {"Tools/Tarsel/Signals", "Tarsel::Tools::StopOnSignals::StopOnSignals()"},
            "cannot make a pipe for signals: " + std::generic_category().message(errno));
    s_pipeEnd = ends[1];
    m_watcher = std::thread([this, end = ends[0]] { Watch(end); });
    for (int const signal : s_signals)
        Handle(signal);
}

StopOnSignals::~StopOnSignals() {
    for (int const signal : s_signals)
        Restore(signal);
    int const end = s_pipeEnd.exchange(-1);
    (void)!write(end, &s_end, 1);
    m_watcher.join();
    close(end);
}

void StopOnSignals::Watch(int pipeEnd) {
    unsigned char number = s_end;
    for (;;) {
        ssize_t const count = read(pipeEnd, &number, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count != 1 || number == s_end)
            break;
        if (m_signal != 0)
            EndProcess(number);
        m_signal = number;
        (void)m_stop.request_stop();
    }
    close(pipeEnd);
}

} // namespace Tarsel::Tools
