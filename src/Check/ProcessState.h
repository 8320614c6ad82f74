#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Tarsel::Check {

/// What belongs to the process and so to its host: one line each for locale, working folder, environment,
/// file mode mask, signal handlers, rounding mode, floating-point traps. One thread.
std::vector<std::string> DescribeProcess();

/// Threads of this process.
std::size_t CountThreads();
/// Open file handles of this process.
std::size_t CountHandles();
/// Resident memory of this process, in bytes, after free memory was given back.
std::size_t MeasureMemory();
/// Bytes of memory that this process has addresses for.
std::size_t MeasureAddresses();

/// Runs `work` while allocations of any size fail, and gives the memory back. False, and `work` has not run,
/// where the memory has no end that can be set, as with allocators of sanitizers. One thread.
bool RunWithoutMemory(std::function<void()> const& work);

} // namespace Tarsel::Check
