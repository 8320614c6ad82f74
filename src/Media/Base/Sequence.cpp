#include "Media/Base/Sequence.h"

#include "Core/Files.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/MediaExceptions.h"

#include <boost/algorithm/string/replace.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <utility>

namespace Tarsel::Media {

namespace {

namespace fs = std::filesystem;

bool IsDigit(char letter) noexcept {
    return letter >= '0' && letter <= '9';
}

/// How many characters of "%04d" and the like stand here; 0: none of the kind do.
std::size_t MeasureNumber(std::string_view text) noexcept {
    std::size_t length = 1;
    if (length < text.size() && text[length] == '0')
        ++length;
    if (length < text.size() && text[length] >= '1' && text[length] <= '9')
        ++length;
    return text.starts_with('%') && length < text.size() && text[length] == 'd' ? length + 1 : 0;
}

} // namespace

fs::path Sequence::MakePath(std::int64_t number) const {
    return fmt::format("{}{}{:0{}}{}", folder, head, number, digits, tail);
}

std::string Sequence::MakePattern() const {
    auto const plain = [](std::string const& text) {
        return boost::algorithm::replace_all_copy(text, "%", "%%");
    };
    return fmt::format("{}{}%0{}d{}", plain(folder), plain(head), digits, plain(tail));
}

std::optional<std::int64_t> Sequence::FindNumber(std::string_view name) const {
    if (name.size() <= head.size() + tail.size() || !name.starts_with(head) || !name.ends_with(tail))
        return std::nullopt;
    std::string_view const number = name.substr(head.size(), name.size() - head.size() - tail.size());
    auto const value = std::ranges::all_of(number, IsDigit) ? Core::TextToInt64(number) : std::nullopt;
    // FFmpeg counts no further.
    bool const isOne = value && *value <= INT_MAX && fmt::format("{:0{}}", *value, digits) == number;
    return isOne ? value : std::nullopt;
}

std::optional<Sequence> FindSequence(fs::path const& name) {
    if (name.native().find('%') == std::string::npos || Core::FileExists(name))
        return std::nullopt;
    std::string const file = name.filename().string();
    std::string const whole = name.string();
    Sequence sequence{whole.substr(0, whole.size() - file.size()), {}, {}, 0};
    std::string_view rest = file;
    while (!rest.empty()) {
        std::string& part = sequence.digits == 0 ? sequence.head : sequence.tail;
        if (std::size_t const length = MeasureNumber(rest); length > 0) {
            if (sequence.digits != 0)
                return std::nullopt; // which of them counts?
            char const digit = rest[length - 2];
            sequence.digits = digit >= '1' && digit <= '9' ? digit - '0' : 1;
            rest.remove_prefix(length);
            continue;
        }
        part += rest.front();
        rest.remove_prefix(rest.starts_with("%%") ? 2 : 1);
    }
    return sequence.digits != 0 ? std::optional(std::move(sequence)) : std::nullopt;
}

std::vector<std::int64_t> ListNumbers(Sequence const& sequence) {
    std::vector<std::int64_t> numbers;
    for (std::string const& name : Core::ListFolder(sequence.folder.empty() ? "." : sequence.folder))
        if (auto const number = sequence.FindNumber(name))
            numbers.push_back(*number);
    std::ranges::sort(numbers);
    return numbers;
}

std::int64_t FindFirstNumber(Sequence const& sequence) {
    std::vector<std::int64_t> const numbers = ListNumbers(sequence);
    if (numbers.empty())
        Core::Throw<InputException>(fmt::format("There is no file such as {}", Quote(sequence.MakePath(1))));
    auto const gap =
        std::ranges::adjacent_find(numbers, [](std::int64_t a, std::int64_t b) { return b != a + 1; });
    if (gap == numbers.end())
        return numbers.front();
    auto const all = numbers.back() - numbers.front() + 1;
    auto const missing = all - static_cast<std::int64_t>(numbers.size());
    Core::Throw<InputException>(
        fmt::format("{} is missing between {} and {}{}", Quote(sequence.MakePath(*gap + 1)),
                    Quote(sequence.MakePath(*gap)), Quote(sequence.MakePath(*(gap + 1))),
                    missing > 1 ? fmt::format("; in all {} images are missing", missing) : ""));
}

} // namespace Tarsel::Media
