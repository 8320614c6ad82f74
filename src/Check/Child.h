#pragma once

#include "Core/TemporaryPath.h"

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Tarsel::Check {

/// How a child process came to its end.
struct ChildEnd {
    enum class Kind : std::uint8_t {
        /// By returning: what it said is in `text`.
        Returned,
        /// By a signal or by exit: `text` says which.
        Died,
        /// It was ended, for want of time.
        Hung,
    };

    Kind kind = Kind::Returned;
    std::string text;
    double seconds = 0;
};

/// A function in a process of its own: a fork of this one, with an empty folder to work in, which goes with
/// it, and without standard output. What other threads of this process hold locked stays locked there, so
/// this one is to have none that do work. One thread.
class Child {
public:
    /// Starts it. std::system_error when there is no process to be had.
    Child(std::function<std::string()> const& work, std::chrono::milliseconds limit);
    Child(Child&& other) noexcept;
    Child& operator=(Child&&) = delete;
    /// Ends the process, if it still runs.
    ~Child();

    /// Readable when there is something to Poll for.
    int GetHandle() const noexcept { return m_pipe; }
    /// Looks whether it has ended; waits for nothing.
    std::optional<ChildEnd> Poll();

private:
    ChildEnd End(ChildEnd::Kind kind);

    pid_t m_process = -1;
    int m_pipe = -1;
    std::string m_said;
    std::unique_ptr<Core::TemporaryPath> m_folder;
    std::chrono::steady_clock::time_point m_start;
    std::chrono::steady_clock::time_point m_deadline;
};

} // namespace Tarsel::Check
