#include "Check/ProcessState.h"

#include <fmt/format.h>

#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <new>
#include <sys/resource.h>
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

/// Memory that is taken so that nobody else gets it; a list, since where it lies cannot be noted elsewhere.
class TakenMemory {
public:
    TakenMemory() = default;
    TakenMemory(TakenMemory const&) = delete;
    TakenMemory& operator=(TakenMemory const&) = delete;
    ~TakenMemory() {
        while (m_last != nullptr)
            std::free(std::exchange(m_last, m_last->before));
    }

    /// Whether nothing is left: takes all there is of the sizes, up to a limit.
    bool TakeAll() {
        constexpr std::size_t most = std::size_t{1} << 30;
        std::size_t taken = 0;
        for (std::size_t size = std::size_t{1} << 26; size > s_smallSize; size /= 2)
            while (taken < most && Take(size))
                taken += size;
        // The allocator has a store of its own for each small size.
        for (std::size_t size = s_smallSize; size >= sizeof(Block); size -= sizeof(Block))
            while (taken < most && Take(size))
                taken += size;
        return taken < most;
    }

private:
    struct alignas(std::max_align_t) Block {
        Block* before;
    };
    static constexpr std::size_t s_smallSize = 2048;

    bool Take(std::size_t size) {
        void* const memory = std::malloc(size);
        if (memory == nullptr)
            return false;
        m_last = new (memory) Block{m_last};
        return true;
    }

    Block* m_last = nullptr;
};

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

bool RunWithoutMemory(std::function<void()> const& work) {
    rlimit before{};
    if (getrlimit(RLIMIT_AS, &before) != 0)
        return false;
    rlimit limit = before;
    limit.rlim_cur = MeasureAddresses();
    TakenMemory taken;
    if (setrlimit(RLIMIT_AS, &limit) != 0)
        return false;
    bool const isNoneLeft = taken.TakeAll();
    if (isNoneLeft)
        work();
    (void)setrlimit(RLIMIT_AS, &before);
    return isNoneLeft;
}

} // namespace Tarsel::Check
