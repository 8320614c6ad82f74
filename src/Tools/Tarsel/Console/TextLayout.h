#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Tarsel::Tools {

/// Appends `text` to `out`, broken at blanks into lines of at most `columns` characters. The first line
/// starts with `lead`, blanks bring it to `indent`; the others start at `indent`. A lead that is too long has
/// a line of its own, a word that is too long is not broken. Ends in a line feed. UTF-8; a code point counts
/// as one character.
void AppendWrapped(std::string& out, std::string_view lead, std::size_t indent, std::string_view text,
                   std::size_t columns);

} // namespace Tarsel::Tools
