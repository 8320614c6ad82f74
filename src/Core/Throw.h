#pragma once

#include "Core/CallStack.h"
#include "Core/Exception.h"

#include <boost/exception/enable_error_info.hpp>
#include <boost/throw_exception.hpp>

#include <concepts>
#include <cstdint>
#include <source_location>
#include <string>
#include <string_view>
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
/// signature of the throwing function, line and column. The texts live as long as the exception.
struct Site {
    char const* file;
    char const* function;
    CodePoint at;

    /// With literals, where the texts are to be the same under every compiler and wherever the source lies.
    constexpr Site(char const* sourceFile, char const* signature,
                   CodePoint point = CodePoint::Here()) noexcept
        : file(sourceFile), function(signature), at(point) {}

    /// In the compiler's own words; std::bad_alloc.
#if defined(__cpp_lib_source_location)
    static Site Here(std::source_location at = std::source_location::current()) {
        return {GetSourceName(at.file_name()), at.function_name(), CodePoint::Here(at)};
    }
#else
    static Site Here(char const* sourceFile = __builtin_FILE(), char const* name = __builtin_FUNCTION(),
                     std::uint32_t line = __builtin_LINE(), std::uint32_t column = __builtin_COLUMN()) {
        return {GetSourceName(sourceFile), name, {line, column}};
    }
#endif

private:
    /// A source's name as compilers give it, without root and extension; lives as long as the process.
    TARSEL_API static char const* GetSourceName(char const* path);
};

/// A description, and where it was written.
struct Reason {
    template <std::convertible_to<std::string_view> Text>
    Reason(Text const& text, Site const& place = Site::Here()) : description(text), site(place) {}

    std::string description;
    Site site;
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

/// The same from where it is called.
template <class E, class... Tags>
[[noreturn]] void Throw(Reason const& reason, Tags const&... tags) {
    Throw<E>(reason.site, reason.description, tags...);
}

} // namespace Tarsel::Core
