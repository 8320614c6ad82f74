#include "Tools/Tarsel/Console/ShellText.h"

#include <string_view>

namespace Tarsel::Tools {

std::string QuoteForShell(std::string const& word) {
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./=:,@%+";
    if (!word.empty() && word.find_first_not_of(plain) == std::string::npos)
        return word;
    std::string quoted = "'";
    for (char const character : word)
        quoted += character == '\'' ? std::string(R"('\'')") : std::string(1, character);
    return quoted + "'";
}

std::string QuoteForShell(std::vector<std::string> const& words) {
    std::string text;
    for (std::string const& word : words)
        text += (text.empty() ? "" : " ") + QuoteForShell(word);
    return text;
}

} // namespace Tarsel::Tools
