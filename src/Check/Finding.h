#pragma once

#include <fmt/format.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace Tarsel::Check {

/// What a plug-in did that it should not: what was asked, what came, what was due.
class Finding : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Why a rule does not apply.
class Skipped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws a Finding with that text where `holds` is false.
template <class... Arguments>
void Expect(bool holds, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
    if (!holds)
        throw Finding(fmt::format(text, std::forward<Arguments>(arguments)...));
}

/// Throws a Finding with the fault, unless that is "".
inline void ExpectNone(std::string const& fault) {
    if (!fault.empty())
        throw Finding(fault);
}

/// Throws Skipped with that text where `applies` is false.
inline void Require(bool applies, char const* why) {
    if (!applies)
        throw Skipped(why);
}

/// Whether `call` refuses by an exception that hosts can read, derived from std::exception. Findings pass.
template <class Call>
bool Refuses(Call const& call) {
    try {
        call();
    } catch (Finding const&) {
        throw;
    } catch (Skipped const&) {
        throw;
    } catch (std::exception const& refusal) {
        Expect(refusal.what() != nullptr && *refusal.what() != '\0', "an exception says nothing");
        return true;
    }
    return false;
}

} // namespace Tarsel::Check
