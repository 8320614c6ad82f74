#include "Tools/Tarsel/Signals.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Tarsel::Tools {
namespace {

constexpr char s_stop = 's';
constexpr char s_end = 'e';
/// The user's key, a request from outside, the terminal's end.
constexpr int s_signals[]{SIGINT, SIGTERM, SIGHUP};

// A handler may do next to nothing: it writes one byte into a pipe, and a thread at the other end asks for
// the stop.
std::atomic<int> s_pipeEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void OnSignal(int) {
    int const saved = errno;
    (void)!write(s_pipeEnd.load(), &s_stop, 1);
    errno = saved;
}

void Watch(int pipeEnd, std::stop_source const& stop) {
    char byte = s_end;
    for (;;) {
        ssize_t const count = read(pipeEnd, &byte, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count != 1 || byte == s_end)
            break;
        (void)stop.request_stop();
    }
    close(pipeEnd);
}

void Handle(int signal) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = OnSignal;
    // Reset by the first delivery, so that the second one kills.
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    (void)sigaction(signal, &action, nullptr);
}

void Restore(int signal) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == OnSignal)
        (void)std::signal(signal, SIG_DFL);
}

} // namespace

StopOnSignals::StopOnSignals(std::stop_source stop) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        Core::Throw<Core::CoreException>(
            {"Tools/Tarsel/Signals", "Tarsel::Tools::StopOnSignals::StopOnSignals(std::stop_source)"},
            "cannot make a pipe for signals: " + std::generic_category().message(errno));
    s_pipeEnd = ends[1];
    m_watcher = std::thread([end = ends[0], stop = std::move(stop)] { Watch(end, stop); });
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

} // namespace Tarsel::Tools
