#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The C library's allocator, in front of which one stands that fails when it is told to. Whatever calls
/// malloc in the process calls it: C++, FFmpeg, the C library itself. Any thread.
namespace Tarsel::Test {

enum class Form : std::uint8_t { Once, FromThenOn };

/// Return addresses, innermost first.
struct Stack {
    std::array<void*, 64> addresses;
    std::size_t depth;
};

/// Adds the calling thread's frames, from the one that returns to `first` (null: all). Allocates nothing.
void Capture(Stack& stack, void const* first = nullptr) noexcept;

/// The allocation of that number from now on fails, counted from 1, or all from it on; 0: none, they are
/// counted only.
void Arm(std::int64_t number, Form form) noexcept;
/// No more failures; how many allocations there were since.
std::int64_t Disarm() noexcept;
/// Who asked for the first one that failed since Arm; empty when none did.
Stack const& GetFailed() noexcept;

/// Blocks that are allocated and not freed.
std::int64_t CountBlocks() noexcept;
/// From now on it is kept who allocates what.
void StartTrace() noexcept;
/// Ends that. Who allocated a block that is not freed; empty when all are.
Stack const& StopTrace() noexcept;

} // namespace Tarsel::Test
