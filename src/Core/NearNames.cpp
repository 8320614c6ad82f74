#include "Core/NearNames.h"

#include "Core/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace Tarsel::Core {

namespace {

constexpr std::size_t s_mostNames = 5;

/// By rows of the table of distances between the beginnings of both.
std::size_t GetDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> last(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    std::vector<std::size_t> beforeLast = last;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::vector<std::size_t> row(b.size() + 1, i);
        for (std::size_t k = 1; k <= b.size(); ++k) {
            bool const isSame = a[i - 1] == b[k - 1];
            row[k] = std::min({last[k - 1] + (isSame ? 0 : 1), last[k] + 1, row[k - 1] + 1});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1])
                row[k] = std::min(row[k], beforeLast[k - 2] + 1);
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

} // namespace

std::vector<std::string> FindNearNames(std::string_view name, std::span<std::string const> names) {
    std::size_t const farthest = std::max<std::size_t>(1, name.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> near;
    for (std::string const& candidate : names) {
        std::size_t const distance = GetDistance(name, candidate);
        bool const contains = name.size() > 1 && candidate.find(name) != std::string::npos;
        if (distance <= farthest || contains)
            near.emplace_back(distance, candidate);
    }
    std::sort(near.begin(), near.end());
    near.erase(std::unique(near.begin(), near.end()), near.end());
    near.resize(std::min(near.size(), s_mostNames));
    std::vector<std::string> result;
    result.reserve(near.size());
    for (auto& [distance, candidate] : near)
        result.push_back(std::move(candidate));
    return result;
}

std::string NearNamesText(std::string_view name, std::span<std::string const> names) {
    std::vector<std::string> const near = FindNearNames(name, names);
    if (near.empty())
        return {};
    return "; did you mean " + Utils::ToString(near, ", ", [](std::string const& text) { return text; }) +
           '?';
}

bool HasWord(std::string_view words, std::string_view word) {
    return fmt::format(" {} ", words).find(fmt::format(" {} ", word)) != std::string::npos;
}

} // namespace Tarsel::Core
