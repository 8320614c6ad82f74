#pragma once

#include <cstddef>
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

} // namespace Tarsel::Check
