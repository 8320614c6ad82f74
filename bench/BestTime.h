#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <limits>

/// The shortest time that something has taken, in seconds of the thread's processor time: what else the
/// machine does lengthens some runs, and the best is left alone by it.
class BestTime {
public:
    template <class Action>
    void Time(Action const& action) {
        double const start = Now();
        action();
        benchmark::ClobberMemory();
        m_seconds = std::min(m_seconds, Now() - start);
    }

    double Get() const { return m_seconds; }

private:
    static double Now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }

    double m_seconds = std::numeric_limits<double>::max();
};
