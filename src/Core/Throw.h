#pragma once

#include "Core/CallStack.h"
#include "Core/Exception.h"

#include <boost/exception/enable_error_info.hpp>
#include <boost/throw_exception.hpp>

#include <cstdint>
#include <source_location>
#include <string>
#include <type_traits>
#include <utility>

namespace Tarsel::Core {

/// Line and column of the expression that asks for it.
struct CodePoint {
    std::uint32_t line;
    std::uint32_t column;

#if defined(__cpp_lib_source_location)
    static constexpr CodePoint Here(std::source_location at = std::source_location::current()) noexcept {
        return {at.line(), at.column()};
    }
#else
    static constexpr CodePoint Here(std::uint32_t line = __builtin_LINE(),
                                    std::uint32_t column = __builtin_COLUMN()) noexcept {
        return {line, column};
    }
#endif
};

/// Where an exception is thrown: the source file relative to the source root without extension, the full
/// signature of the throwing function (a literal, so that it is the same under every compiler), line and
/// column.
struct Site {
    char const* file;
    char const* function;
    CodePoint at;

    constexpr Site(char const* sourceFile, char const* signature,
                   CodePoint point = CodePoint::Here()) noexcept
        : file(sourceFile), function(signature), at(point) {}
};

/// Attaches the current call stack; returns its argument. std::bad_alloc.
TARSEL_API boost::exception const& AddStack(boost::exception const& exception);

/// Attaches description, column and call stack. std::bad_alloc. Not inline: what Boost makes of error
/// information is compiled once, not at every throw.
TARSEL_API void AddFacts(boost::exception const& exception, std::string const& description,
                         std::uint32_t column);

/// The one way to throw. E is an Exception class (default-constructible) or a standard exception that takes a
/// text; either way it leaves with the description, the tags, the call stack and the site. The text is kept
/// to the letter: what FFmpeg or the system said goes into tags beside it. Any thread.
template <class E, class... Tags>
[[noreturn]] void Throw(Site const& site, std::string const& description, Tags const&... tags) {
    auto const raise = [&](auto exception) {
        AddFacts(exception, description, site.at.column);
        (void)(exception << ... << tags);
        boost::throw_exception(
            exception, boost::source_location(site.file, site.at.line, site.function, site.at.column));
    };
    if constexpr (std::is_base_of_v<Exception, E>)
        raise(E());
    else
        raise(boost::enable_error_info(E(description)));
    __builtin_unreachable();
}

} // namespace Tarsel::Core
