#include "Check/ProcessState.h"

#include <fmt/format.h>

#include <cfenv>
#include <clocale>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Tarsel::Check {
namespace {

std::size_t CountEntries(char const* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

/// What has addresses, and what is resident, in bytes.
std::pair<std::size_t, std::size_t> ReadMemory() {
    std::ifstream file("/proc/self/statm");
    std::size_t all = 0;
    std::size_t resident = 0;
    file >> all >> resident;
    auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return {all * page, resident * page};
}

} // namespace

std::vector<std::string> DescribeProcess() {
    std::vector<std::string> lines{fmt::format("locale {}", std::setlocale(LC_ALL, nullptr)),
                                   fmt::format("folder {}", std::filesystem::current_path().string()),
                                   fmt::format("rounding {}", std::fegetround()),
                                   fmt::format("traps {}", fegetexcept())};
    mode_t const mask = umask(0);
    umask(mask);
    lines.push_back(fmt::format("mask {:o}", mask));
    for (int signal = 1; signal < SIGRTMIN; ++signal) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0)
            lines.push_back(fmt::format("signal {} {}", signal, reinterpret_cast<void*>(action.sa_handler)));
    }
    for (char** variable = environ; *variable != nullptr; ++variable)
        lines.push_back(fmt::format("environment {}", *variable));
    return lines;
}

std::size_t CountThreads() {
    return CountEntries("/proc/self/task");
}

std::size_t CountHandles() {
    return CountEntries("/proc/self/fd");
}

std::size_t MeasureMemory() {
    malloc_trim(0);
    return ReadMemory().second;
}

std::size_t MeasureAddresses() {
    return ReadMemory().first;
}

} // namespace Tarsel::Check
