#include "Core/CallStack.h"

#include "Core/Text.h"

#define UNW_LOCAL_ONLY
#include <libunwind.h>

#include <boost/core/demangle.hpp>

#include <dlfcn.h>
#include <execinfo.h>

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

/// "module+0xoffset", the offset being what addr2line takes.
std::string DescribeAddress(std::uintptr_t address) {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(address), &info) == 0 || info.dli_fname == nullptr)
        return ToHex(address);
    std::string_view module = info.dli_fname;
    module.remove_prefix(module.rfind('/') + 1);
    return std::string(module) + "+" + ToHex(address - reinterpret_cast<std::uintptr_t>(info.dli_fbase));
}

/// The function around `address`, out of the symbol table of the library's file: dladdr knows exported names
/// only. The library is looked up anew each time, so one opened since is found too.
std::string NameFunction(std::uintptr_t address) {
    constexpr std::size_t longestName = 1 << 16;
    std::string name(256, '\0');
    for (;;) {
        unw_word_t offset = 0;
        int const result =
            unw_get_accessors(unw_local_addr_space)
                ->get_proc_name(unw_local_addr_space, address, name.data(), name.size(), &offset, nullptr);
        if (result == 0)
            return boost::core::demangle(name.c_str());
        if (result != -UNW_ENOMEM || name.size() >= longestName)
            return DescribeAddress(address);
        name.resize(name.size() * 4);
    }
}

/// Whether the function only serves to throw: such frames at the inner end tell a reader nothing. How many
/// there are depends on what the compiler inlined, so they are known by name.
bool IsThrowHelper(std::string_view function) noexcept {
    constexpr std::string_view helpers[] = {"Tarsel::Core::CallStack::Capture(",
                                            "Tarsel::Core::GetCallStack(", "Tarsel::Core::AddStack<",
                                            "Tarsel::Core::Throw<"};
    return std::ranges::any_of(
        helpers, [&](std::string_view helper) { return function.find(helper) != std::string_view::npos; });
}

} // namespace

std::vector<std::string> CallStack::GetFunctionNames() const {
    std::vector<std::string> names;
    names.reserve(m_depth);
    for (std::size_t i = 0; i < m_depth; ++i) {
        // A return address may already belong to the next function; the call itself lies before it.
        auto const call = reinterpret_cast<std::uintptr_t>(m_frames[i]) - 1;
        std::string name = NameFunction(call);
        if (!names.empty() || !IsThrowHelper(name))
            names.push_back(std::move(name));
    }
    return names;
}

[[gnu::noinline]] CallStack CallStack::Capture(std::size_t skip) noexcept {
    std::array<void*, 2 * s_maxDepth> frames;
    auto const found = static_cast<std::size_t>(backtrace(frames.data(), static_cast<int>(frames.size())));
    std::size_t const first = std::min(skip + 1, found); // 1: this function itself
    CallStack stack;
    stack.m_depth = std::min(found - first, s_maxDepth);
    std::copy_n(frames.begin() + static_cast<std::ptrdiff_t>(first), stack.m_depth, stack.m_frames.begin());
    return stack;
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
