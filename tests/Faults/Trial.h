#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Tarsel::Test {

/// An operation once more: the work, which can be done again, and what came of it last.
struct Round {
    /// Before the work, each time.
    std::function<void()> prepare;
    std::function<void()> work;
    std::function<std::string()> show;
};

struct Operation {
    std::string name;
    /// Makes what the work needs.
    std::function<Round()> begin;
};

/// One that needs nothing made, and tells what came of it.
Operation MakeOperation(std::string name, std::function<std::string()> work);

/// Does each operation while one of its allocations fails, or all from one on, in processes of their own:
/// allocation after allocation with LUMENTA_TEST_FULL set, else some. Fails the test where the work neither
/// succeeds nor throws an exception that says that memory ran out; where afterwards the same work fails, on
/// another thread, or makes something else; where a block stays; and where the process ends. Faults of the
/// libraries below are known by the function that was called there: they are counted.
void TryEverywhere(std::vector<Operation> const& operations);

/// Which allocations of so many fail in turn.
std::vector<std::int64_t> ChooseNumbers(std::int64_t count);

} // namespace Tarsel::Test
