#pragma once

#include <atomic>
#include <stop_token>
#include <thread>

namespace Tarsel::Tools {

/// While it lives, the first SIGINT, SIGTERM, SIGHUP or SIGQUIT asks for a stop, and the next one, of
/// whatever kind, removes what is temporary (Core::TemporaryPath) and ends the process by that signal. One
/// that the parent made ignored stays ignored. One object at a time.
class StopOnSignals {
public:
    StopOnSignals();
    StopOnSignals(StopOnSignals const&) = delete;
    StopOnSignals& operator=(StopOnSignals const&) = delete;
    ~StopOnSignals();

    std::stop_token GetStop() const { return m_stop.get_token(); }
    /// The number of the signal that asked for the stop; 0: none did. Any thread.
    int GetSignal() const noexcept { return m_signal; }

    /// From now on the signals that were waited for change nothing, until the process ends: what was asked
    /// for is done, and the exit code says so.
    static void Ignore() noexcept;

private:
    void Watch();

    std::stop_source m_stop;
    std::atomic<int> m_signal{0};
    std::atomic<bool> m_ends{false};
    std::jthread m_watcher;
};

} // namespace Tarsel::Tools
