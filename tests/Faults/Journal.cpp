#include "Faults/Journal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <sys/mman.h>
#include <system_error>
#include <ucontext.h>
#include <unistd.h>

namespace Tarsel::Test {
namespace {

/// They do what their callers ask for.
constexpr char const* s_servants[] = {"libc.so",   "libm.so",    "ld-linux",      "libstdc++",
                                      "libgcc_s",  "libfmt",     "libglog",       "libunwind",
                                      "libgflags", "linux-vdso", "libtest_faults"};

Journal* s_journal = nullptr;

template <std::size_t size>
void CopyText(std::array<char, size>& to, char const* text) noexcept {
    std::strncpy(to.data(), text != nullptr ? text : "", size - 1);
    to[size - 1] = '\0';
}

/// Where the signal met the thread.
void Find(Stack& stack, void const* context) noexcept {
    auto const& machine = static_cast<ucontext_t const*>(context)->uc_mcontext;
#if defined(__x86_64__)
    auto* const address = reinterpret_cast<void*>(machine.gregs[REG_RIP]);
    void* const caller = *reinterpret_cast<void**>(machine.gregs[REG_RSP]);
#else
    auto* const address = reinterpret_cast<void*>(machine.pc);
    auto* const caller = reinterpret_cast<void*>(machine.regs[30]);
#endif
    Capture(stack, address);
    if (stack.depth > 1)
        return;
    // What was called is no function, and nothing is known of its frame but who called it.
    stack.addresses[0] = caller;
    stack.depth = 1;
}

void OnSignal(int signal, siginfo_t*, void* context) noexcept {
    Disarm();
    static Stack s_stack;
    Find(s_stack, context);
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "signal %d", signal);
    s_journal->Add(signal == SIGALRM ? Event::Hang : Event::Crash, text.data(), s_stack);
    _exit(128 + signal);
}

} // namespace

bool IsOfThread(Stack const& stack) noexcept {
    return std::any_of(stack.addresses.begin(), stack.addresses.begin() + stack.depth, [](void* address) {
        Dl_info info{};
        return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "/ld-linux") != nullptr;
    });
}

void Describe(Stack const& stack, Places& places) noexcept {
    places.count = 0;
    for (std::size_t i = 0; i < stack.depth && places.count < places.places.size(); ++i) {
        // A return address may already belong to the next function; the call itself lies before it.
        auto const address = reinterpret_cast<std::uintptr_t>(stack.addresses[i]) - 1;
        Dl_info info{};
        if (dladdr(reinterpret_cast<void*>(address), &info) == 0 || info.dli_fname == nullptr)
            continue;
        char const* const slash = std::strrchr(info.dli_fname, '/');
        char const* const module = slash != nullptr ? slash + 1 : info.dli_fname;
        if (std::ranges::any_of(s_servants,
                                [&](char const* name) { return std::strstr(module, name) == module; }))
            continue;
        Place& place = places.places[places.count++];
        CopyText(place.module, module);
        CopyText(place.symbol, info.dli_sname);
        place.offset = address - reinterpret_cast<std::uintptr_t>(info.dli_fbase);
    }
}

void Journal::Add(Event event, char const* text, Stack const& where) noexcept {
    if (count == entries.size())
        return;
    Entry& entry = entries[count];
    entry.event = event;
    entry.operation = operation;
    entry.form = form;
    entry.number = number;
    CopyText(entry.text, text);
    Describe(GetFailed(), entry.failed);
    Describe(where, entry.where);
    ++count;
}

Journal& MakeJournal(int& descriptor) {
    descriptor = memfd_create("journal", 0);
    if (descriptor < 0 || ftruncate(descriptor, sizeof(Journal)) != 0)
        throw std::system_error(errno, std::generic_category(), "journal");
    return *OpenJournal(descriptor);
}

Journal* OpenJournal(int descriptor) noexcept {
    void* const memory = mmap(nullptr, sizeof(Journal), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return memory != MAP_FAILED ? static_cast<Journal*>(memory) : nullptr;
}

void WriteSignalsTo(Journal& journal) noexcept {
    s_journal = &journal;
    static std::array<char, 1 << 16> s_memory;
    stack_t stack{};
    stack.ss_sp = s_memory.data();
    stack.ss_size = s_memory.size();
    (void)sigaltstack(&stack, nullptr);
    struct sigaction action {};
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (int const signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGALRM})
        (void)sigaction(signal, &action, nullptr);
}

} // namespace Tarsel::Test
