#include "Core/CallStack.h"

#define UNW_LOCAL_ONLY
#include <libunwind.h>

#include <boost/core/demangle.hpp>

#include <dlfcn.h>
#include <unwind.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace Tarsel::Core {

namespace {

std::string ToHex(std::uintptr_t value) {
    std::array<char, 2 * sizeof value> digits;
    auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
    return "0x" + std::string(digits.data(), end);
}

/// The exported function around `address`, as far as dladdr knows it: null where it knows none.
Dl_info FindExported(std::uintptr_t address) noexcept {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(address), &info) == 0)
        info = {};
    return info;
}

/// The function around `address` out of the symbol table of its library's file, hidden ones included; empty
/// where there is none. The library is looked up again each time, so one opened since is found too.
std::string FindHidden(std::uintptr_t address) {
    // Names of templates are long, and not every release of the library tells that one did not fit.
    constexpr std::size_t longestName = 1 << 16;
    unw_accessors_t* const accessors = unw_get_accessors(unw_local_addr_space);
    unw_word_t offset = 0;
    for (std::string name(4096, '\0'); name.size() <= longestName; name.resize(name.size() * 4)) {
        int const result = accessors->get_proc_name(unw_local_addr_space, address, name.data(), name.size(),
                                                    &offset, nullptr);
        if (result == -UNW_ENOMEM)
            continue;
        // Without a symbol table the nearest exported function before the address would be taken for it,
        // however far away.
        if (result != 0 || FindExported(address - offset).dli_sname != nullptr)
            return {};
        name.resize(name.find('\0'));
        return name;
    }
    return {};
}

/// `address` lies within the call, not behind it.
std::string NameFunction(std::uintptr_t address) {
    Dl_info const exported = FindExported(address);
    if (exported.dli_sname != nullptr)
        return boost::core::demangle(exported.dli_sname);
    if (std::string const hidden = FindHidden(address); !hidden.empty())
        return boost::core::demangle(hidden.c_str());
    if (exported.dli_fname == nullptr)
        return ToHex(address);
    std::string_view module = exported.dli_fname;
    module.remove_prefix(module.rfind('/') + 1);
    // The offset is what addr2line takes.
    return std::string(module) + "+" + ToHex(address - reinterpret_cast<std::uintptr_t>(exported.dli_fbase));
}

/// Whether the function only serves to throw: such frames at the inner end tell a reader nothing. How many
/// there are depends on what the compiler inlined, so they are known by name.
bool IsThrowMachinery(std::string_view function) noexcept {
    constexpr std::string_view machinery[] = {"Tarsel::Core::CallStack::Capture(",
                                              "Tarsel::Core::GetCallStack(", "Tarsel::Core::AddStack(",
                                              "Tarsel::Core::AddFacts(", "Tarsel::Core::Throw<"};
    return std::ranges::any_of(
        machinery, [&](std::string_view part) { return function.find(part) != std::string_view::npos; });
}

} // namespace

std::vector<std::string> CallStack::GetFunctionNames() const {
    std::vector<std::string> names;
    names.reserve(m_depth);
    for (std::size_t i = 0; i < m_depth; ++i) {
        // A return address may already belong to the next function; the call itself lies before it.
        auto const call = reinterpret_cast<std::uintptr_t>(m_frames[i]) - 1;
        std::string name = NameFunction(call);
        if (!names.empty() || !IsThrowMachinery(name))
            names.push_back(std::move(name));
    }
    return names;
}

// The unwinder is asked itself: glibc's backtrace() allocates when it is first used, which a throw for want
// of memory cannot afford.
[[gnu::noinline]] CallStack CallStack::Capture(std::size_t skip) noexcept {
    struct Walk {
        CallStack stack;
        std::size_t skip;
    } walk{{}, skip + 1}; // 1: this function itself
    _Unwind_Backtrace(
        [](_Unwind_Context* context, void* argument) {
            auto& [stack, toSkip] = *static_cast<Walk*>(argument);
            auto const address = _Unwind_GetIP(context);
            if (address == 0 || stack.m_depth == s_maxDepth)
                return _URC_END_OF_STACK;
            if (toSkip > 0)
                --toSkip;
            else
                stack.m_frames[stack.m_depth++] = reinterpret_cast<void*>(address);
            return _URC_NO_REASON;
        },
        &walk);
    return walk.stack;
}

CallStack GetCallStack() noexcept {
    return CallStack::Capture();
}

std::string to_string(CallStack const& stack) {
    std::string text;
    for (std::string const& name : stack.GetFunctionNames())
        text += name + '\n';
    return text;
}

} // namespace Tarsel::Core
