#pragma once

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Tarsel::Test {

/// What a program left behind: its exit code, or 128 and the number of the signal that ended it.
struct ProcessResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

/// How long a program may run before it counts as hanging: a minute, or TEST_MINUTES where all is slow.
inline std::chrono::minutes GetPatience() {
    char const* const minutes = std::getenv("TEST_MINUTES");
    return std::chrono::minutes(minutes == nullptr ? 1 : std::atoi(minutes));
}

/// A running program whose output is collected. It reads nothing, handles signals as if started from a shell,
/// and is killed when it takes longer than GetPatience().
class Process {
public:
    /// `arguments` begin with the program, looked up in PATH when it has no '/'.
    explicit Process(std::vector<std::string> const& arguments) {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        int const out = OpenPipe(m_out);
        posix_spawn_file_actions_adddup2(&files, out, STDOUT_FILENO);
        int const err = OpenPipe(m_err);
        posix_spawn_file_actions_adddup2(&files, err, STDERR_FILENO);

        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t defaults;
        sigemptyset(&defaults);
        for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
            sigaddset(&defaults, signal);
        posix_spawnattr_setsigdefault(&attributes, &defaults);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

        std::vector<char*> argv;
        argv.reserve(arguments.size() + 1);
        for (std::string const& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        int const error = posix_spawnp(&m_pid, argv[0], &files, &attributes, argv.data(), environ);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
        close(out);
        close(err);
        if (error != 0)
            throw std::system_error(error, std::generic_category(), arguments.front());
    }
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;
    ~Process() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        close(m_out);
        close(m_err);
    }

    void Signal(int signal) const { kill(m_pid, signal); }

    /// Reads until the program closes its output, then waits for its end. Once.
    ProcessResult Wait() {
        auto const deadline = std::chrono::steady_clock::now() + GetPatience();
        ProcessResult result;
        std::array ends{pollfd{m_out, POLLIN, 0}, pollfd{m_err, POLLIN, 0}};
        std::array const texts{&result.out, &result.err};
        while (ends[0].fd >= 0 || ends[1].fd >= 0) {
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error("the program hangs; it wrote: " + result.out + result.err);
            poll(ends.data(), ends.size(), 1000);
            for (std::size_t i = 0; i < ends.size(); ++i) {
                if (ends[i].revents != 0 && !Read(ends[i].fd, *texts[i]))
                    ends[i].fd = -1;
            }
        }
        int status = 0;
        waitpid(std::exchange(m_pid, -1), &status, 0);
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return result;
    }

private:
    /// A pipe's writing end; closed for the program but for the copy it is given.
    static int OpenPipe(int& readEnd) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
        readEnd = ends[0];
        return ends[1];
    }

    /// False at the end.
    static bool Read(int end, std::string& text) {
        std::array<char, 4096> block{};
        ssize_t const count = read(end, block.data(), block.size());
        if (count > 0)
            text.append(block.data(), static_cast<std::size_t>(count));
        return count > 0 || (count < 0 && errno == EINTR);
    }

    pid_t m_pid = -1;
    int m_out = -1;
    int m_err = -1;
};

inline ProcessResult RunProcess(std::vector<std::string> const& arguments) {
    return Process(arguments).Wait();
}

/// The program's standard output; throws with its standard error when it fails.
inline std::string RunForOutput(std::vector<std::string> const& arguments) {
    ProcessResult result = RunProcess(arguments);
    if (result.exitCode != 0)
        throw std::runtime_error(arguments.front() + " failed: " + result.err);
    return std::move(result.out);
}

/// Words parted by blanks.
inline std::vector<std::string> SplitWords(std::string const& text) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

/// What the ffmpeg program writes to its standard output. Options are words parted by blanks, those of the
/// list may hold blanks.
inline std::string RunFFmpeg(std::string const& before, std::vector<std::string> const& list = {},
                             std::string const& after = {}) {
    std::vector<std::string> arguments = SplitWords("ffmpeg -nostdin -v error " + before);
    arguments.insert(arguments.end(), list.begin(), list.end());
    for (std::string const& word : SplitWords(after))
        arguments.push_back(word);
    return RunForOutput(arguments);
}

} // namespace Tarsel::Test
