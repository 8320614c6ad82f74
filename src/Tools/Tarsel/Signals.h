#pragma once

#include <stop_token>
#include <thread>

namespace Tarsel::Tools {

/// While it lives, the first SIGINT, SIGTERM or SIGHUP asks for a stop, and the next one of the same kind
/// kills the process at once. A signal that the parent made ignored stays ignored. One object at a time.
class StopOnSignals {
public:
    explicit StopOnSignals(std::stop_source stop);
    StopOnSignals(StopOnSignals const&) = delete;
    StopOnSignals& operator=(StopOnSignals const&) = delete;
    ~StopOnSignals();

private:
    std::thread m_watcher;
};

} // namespace Tarsel::Tools
