#pragma once

#include "Core/Api.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace Tarsel::Core {

/// The return addresses of one thread at one moment. Cheap to take and to copy; the names are looked up only
/// when they are asked for, so that a failure that is handled costs no symbol search.
class TARSEL_API CallStack {
public:
    /// Deepest frame kept; what lies further out is dropped.
    static constexpr std::size_t s_maxDepth = 64;

    /// Names of the functions, innermost first, demangled; hidden functions are named too as long as the
    /// library keeps its symbol table. A frame without a name is given as "module+0xoffset". Any thread.
    std::vector<std::string> GetFunctionNames() const;

    std::size_t GetDepth() const noexcept { return m_depth; }

    /// Takes the stack of the calling thread; `skip` innermost frames beside its own are left out.
    static CallStack Capture(std::size_t skip = 0) noexcept;

private:
    std::array<void*, s_maxDepth> m_frames{};
    std::size_t m_depth = 0;
};

/// The stack of the caller: what a throw site attaches.
TARSEL_API CallStack GetCallStack() noexcept;

/// For boost::diagnostic_information: one function a line.
TARSEL_API std::string to_string(CallStack const& stack);

} // namespace Tarsel::Core
