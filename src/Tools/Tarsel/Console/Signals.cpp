#include "Tools/Tarsel/Console/Signals.h"

#include "Core/CoreExceptions.h"
#include "Core/StartThread.h"
#include "Core/TemporaryPath.h"
#include "Core/Throw.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace Tarsel::Tools {
namespace {

/// In place of a signal's number, for whoever waits at the pipe to look up.
constexpr unsigned char s_wake = 0;
/// The user's keys, a request from outside, the terminal's end.
constexpr int s_signals[]{SIGINT, SIGQUIT, SIGTERM, SIGHUP};

// A handler may do next to nothing: it writes its number into a pipe, and a thread at the other end does the
// rest. The pipe stays open while the process lives, since a handler may run on after its signal's time.
std::atomic<int> s_pipeEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void OnSignal(int signal) {
    int const saved = errno;
    auto const number = static_cast<unsigned char>(signal);
    (void)!write(s_pipeEnd.load(), &number, 1);
    errno = saved;
}

/// The end that is read. Neither waits: with a pipe full of requests one more tells nothing new.
int GetPipe() {
    static int const end = [] {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
            Core::Throw<Core::CoreException>("Cannot create a pipe for signals: " +
                                             std::generic_category().message(errno));
        s_pipeEnd = ends[1];
        return ends[0];
    }();
    return end;
}

/// The next number in the pipe; 0 where there is none.
int ReadSignal() {
    unsigned char number = s_wake;
    return read(GetPipe(), &number, 1) == 1 ? number : s_wake;
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

/// Takes our handler away.
void Replace(int signal, void (*handler)(int)) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == OnSignal)
        (void)std::signal(signal, handler);
}

} // namespace

StopOnSignals::StopOnSignals() {
    while (ReadSignal() != s_wake) {
        // What an object before this one left.
    }
    m_watcher = Core::StartThread([this] { Watch(); });
    for (int const signal : s_signals)
        Handle(signal);
}

StopOnSignals::~StopOnSignals() {
    for (int const signal : s_signals)
        Replace(signal, SIG_DFL);
    m_ends = true;
    (void)!write(s_pipeEnd, &s_wake, 1);
    m_watcher.join();
}

void StopOnSignals::Ignore() noexcept {
    for (int const signal : s_signals)
        Replace(signal, SIG_IGN);
}

void StopOnSignals::Watch() {
    pollfd pipe{GetPipe(), POLLIN, 0};
    while (!m_ends) {
        if (poll(&pipe, 1, -1) < 0 && errno != EINTR)
            return;
        int const number = ReadSignal();
        if (number == s_wake)
            continue;
        if (m_signal != 0)
            EndProcess(number);
        m_signal = number;
        (void)m_stop.request_stop();
    }
}

} // namespace Tarsel::Tools
