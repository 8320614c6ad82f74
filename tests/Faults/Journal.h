#pragma once

#include "Faults/Allocator.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

/// What a process with failing allocations tells another one, even when it crashes: a piece of memory that
/// both have.
namespace Tarsel::Test {

enum class Event : std::uint8_t {
    /// The exception does not say that memory ran out.
    Vague,
    /// There was no exception, and the result is another than usual.
    Different,
    /// Afterwards the same work fails, or gives another result than usual.
    Unusable,
    /// A block is never freed.
    Leak,
    /// A signal ended the process.
    Crash,
    /// The process does not come to an end.
    Hang,
};

struct Place {
    std::array<char, 40> module;
    std::array<char, 88> symbol;
    std::size_t offset;
};

/// The functions on a stack, innermost first, without those of the C and C++ libraries and of others that
/// only serve whoever calls them.
struct Places {
    std::array<Place, 32> places;
    std::size_t count;
};

/// Whether the dynamic linker allocated it: for a new thread, and kept with the thread's stack for the next.
bool IsOfThread(Stack const& stack) noexcept;

/// Allocates nothing.
void Describe(Stack const& stack, Places& places) noexcept;

struct Entry {
    Event event;
    std::size_t operation;
    Form form;
    std::int64_t number;
    std::array<char, 200> text;
    /// Who asked for the allocation that failed.
    Places failed;
    /// Where it crashed; who allocated what leaks.
    Places where;
};

struct Journal {
    /// What is being tried.
    std::size_t operation;
    Form form;
    std::int64_t number;
    /// Allocations that failed so far.
    std::int64_t failures;
    std::size_t count;
    std::array<Entry, 256> entries;

    /// An entry about what is being tried. What does not fit is dropped. Allocates nothing.
    void Add(Event event, char const* text, Stack const& where) noexcept;
};

/// A new journal, shared with all processes forked from now on. `descriptor` stays open in programs that such
/// a process begins. std::system_error.
Journal& MakeJournal(int& descriptor);
/// That of another process. Null without one.
Journal* OpenJournal(int descriptor) noexcept;

/// From now on signals that end the process, and that of its alarm, are entered first.
void WriteSignalsTo(Journal& journal) noexcept;

} // namespace Tarsel::Test
