#include "Faults/Allocator.h"

#include <unwind.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <mutex>

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): glibc's own names of what is replaced here.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
// NOLINTEND(bugprone-reserved-identifier)
}

namespace Tarsel::Test {
namespace {

constexpr std::int64_t s_never = -1;

std::atomic<std::int64_t> s_calls{0};
/// The first that fails, and whether all after it do.
std::atomic<std::int64_t> s_failing{s_never};
std::atomic<bool> s_goesOn{false};
std::atomic<std::int64_t> s_blocks{0};
std::atomic<bool> s_tracing{false};
Stack s_failed{};

/// Blocks and who allocated them: more than any operation of the tests has at a time.
class Trace {
public:
    void Clear() noexcept {
        std::lock_guard const lock(m_lock);
        m_slots.fill({});
    }
    void Add(void* block, void const* caller) noexcept {
        std::lock_guard const lock(m_lock);
        Slot* slot = Find(&s_gone, block);
        if (slot == nullptr)
            slot = Find(nullptr, block);
        if (slot == nullptr)
            return;
        slot->block = block;
        Capture(slot->stack, caller);
    }
    void Remove(void* block) noexcept {
        std::lock_guard const lock(m_lock);
        if (Slot* const slot = Find(block, block); slot != nullptr)
            slot->block = &s_gone;
    }
    Stack const& GetAny() const noexcept {
        static constexpr Stack s_none{};
        auto const slot = std::ranges::find_if(
            m_slots, [](Slot const& each) { return each.block != nullptr && each.block != &s_gone; });
        return slot != m_slots.end() ? slot->stack : s_none;
    }

private:
    struct Slot {
        void* block;
        Stack stack;
    };

    /// The slot with `wanted` on the way that begins where `block` belongs.
    Slot* Find(void const* wanted, void const* block) noexcept {
        std::size_t const start = (reinterpret_cast<std::uintptr_t>(block) >> 4) * 2654435761U;
        for (std::size_t i = 0; i < m_slots.size(); ++i) {
            Slot& slot = m_slots[(start + i) % m_slots.size()];
            if (slot.block == wanted)
                return &slot;
            if (slot.block == nullptr)
                return nullptr;
        }
        return nullptr;
    }

    static inline char s_gone;
    std::mutex m_lock;
    std::array<Slot, 1 << 16> m_slots;
};

Trace s_trace;

bool FailsNow(void const* caller) noexcept {
    std::int64_t const call = s_calls.fetch_add(1, std::memory_order_relaxed) + 1;
    std::int64_t const failing = s_failing.load(std::memory_order_relaxed);
    if (failing <= 0 || call < failing || (call > failing && !s_goesOn))
        return false;
    if (call == failing)
        Capture(s_failed, caller);
    errno = ENOMEM;
    return true;
}

void* Keep(void* block, void const* caller) noexcept {
    if (block == nullptr)
        return nullptr;
    s_blocks.fetch_add(1, std::memory_order_relaxed);
    if (s_tracing)
        s_trace.Add(block, caller);
    return block;
}

void Drop(void* block) noexcept {
    s_blocks.fetch_sub(1, std::memory_order_relaxed);
    if (s_tracing)
        s_trace.Remove(block);
}

} // namespace

void Capture(Stack& stack, void const* first) noexcept {
    struct Walk {
        Stack& stack;
        void const* first;
    } walk{stack, first};
    stack.depth = 0;
    _Unwind_Backtrace(
        [](_Unwind_Context* context, void* argument) {
            auto& [to, from] = *static_cast<Walk*>(argument);
            auto* const address = reinterpret_cast<void*>(_Unwind_GetIP(context));
            if (address == nullptr || to.depth == to.addresses.size())
                return _URC_END_OF_STACK;
            if (from == address)
                from = nullptr;
            if (from == nullptr)
                to.addresses[to.depth++] = address;
            return _URC_NO_REASON;
        },
        &walk);
}

void Arm(std::int64_t number, Form form) noexcept {
    s_failed.depth = 0;
    s_calls = 0;
    s_goesOn = form == Form::FromThenOn;
    s_failing = number;
}

std::int64_t Disarm() noexcept {
    s_failing = s_never;
    return s_calls;
}

Stack const& GetFailed() noexcept {
    return s_failed;
}

std::int64_t CountBlocks() noexcept {
    return s_blocks;
}

void StartTrace() noexcept {
    s_trace.Clear();
    s_tracing = true;
}

Stack const& StopTrace() noexcept {
    s_tracing = false;
    return s_trace.GetAny();
}

} // namespace Tarsel::Test

using namespace Tarsel::Test;

#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t size) {
    void const* const caller = __builtin_return_address(0);
    return FailsNow(caller) ? nullptr : Keep(__libc_malloc(size), caller);
}

void* calloc(std::size_t count, std::size_t size) {
    void const* const caller = __builtin_return_address(0);
    return FailsNow(caller) ? nullptr : Keep(__libc_calloc(count, size), caller);
}

void* realloc(void* memory, std::size_t size) {
    void const* const caller = __builtin_return_address(0);
    if (memory != nullptr && size == 0) {
        Drop(memory);
        return __libc_realloc(memory, 0);
    }
    if (FailsNow(caller))
        return nullptr;
    void* const block = __libc_realloc(memory, size);
    if (block != nullptr && memory != nullptr)
        Drop(memory);
    return Keep(block, caller);
}

void* memalign(std::size_t alignment, std::size_t size) {
    void const* const caller = __builtin_return_address(0);
    return FailsNow(caller) ? nullptr : Keep(__libc_memalign(alignment, size), caller);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    void const* const caller = __builtin_return_address(0);
    return FailsNow(caller) ? nullptr : Keep(__libc_memalign(alignment, size), caller);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    void const* const caller = __builtin_return_address(0);
    void* const block = FailsNow(caller) ? nullptr : Keep(__libc_memalign(alignment, size), caller);
    if (block == nullptr)
        return ENOMEM;
    *memory = block;
    return 0;
}

void free(void* memory) {
    if (memory == nullptr)
        return;
    Drop(memory);
    __libc_free(memory);
}
}
#pragma GCC visibility pop
