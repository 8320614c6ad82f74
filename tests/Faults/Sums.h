#pragma once

#include "Faults/Journal.h"

#include <cstdint>
#include <map>
#include <string>

namespace Tarsel::Test {

/// What all tests of the process did; written at its end as one line, "faults: operations=... failures=...
/// <event>.<library>=...".
struct Sums {
    std::int64_t operations = 0;
    std::int64_t failures = 0;
    /// Known faults of libraries, by event and library.
    std::map<std::string, std::int64_t> known;

    static Sums& Get();
    /// Counts the entry where the fault is that of a library; else the test fails.
    void Add(Entry const& entry, std::string const& operation);
};

} // namespace Tarsel::Test
