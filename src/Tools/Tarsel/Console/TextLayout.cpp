#include "Tools/Tarsel/Console/TextLayout.h"

#include <algorithm>

namespace Tarsel::Tools {
namespace {

std::size_t CountCharacters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

void AppendWrapped(std::string& out, std::string_view lead, std::size_t indent, std::string_view text,
                   std::size_t columns) {
    out += lead;
    std::size_t column = CountCharacters(lead);
    auto const startLine = [&] {
        out += '\n';
        column = 0;
    };
    if (column >= indent && column > 0)
        startLine();

    bool lineIsEmpty = true;
    while (!text.empty()) {
        std::size_t const end = std::min(text.find(' '), text.size());
        std::string_view const word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (word.empty())
            continue;

        std::size_t const length = CountCharacters(word);
        if (!lineIsEmpty && column + 1 + length > columns) {
            startLine();
            lineIsEmpty = true;
        }
        std::size_t const blanks = lineIsEmpty ? indent - std::min(column, indent) : 1;
        out.append(blanks, ' ');
        out += word;
        column += blanks + length;
        lineIsEmpty = false;
    }
    if (column > 0)
        out += '\n';
}

} // namespace Tarsel::Tools
