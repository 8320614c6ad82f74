#include "Core/NearNames.h"

#include "Core/Text.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace Tarsel::Core {

namespace {

constexpr std::size_t s_mostNames = 5;

/// One row of the table of distances between the beginnings of both.
std::size_t GetDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t k = 0; k < b.size(); ++k) {
            std::size_t const replaced = diagonal + (a[i] == b[k] ? 0 : 1);
            diagonal = row[k + 1];
            row[k + 1] = std::min({replaced, row[k] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::string FindNearestName(std::string_view name, std::span<std::string const> names) {
    if (names.empty())
        return {};
    return std::ranges::min(names, {},
                            [&](std::string const& candidate) { return GetDistance(name, candidate); });
}

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
    return "; near names: " + Utils::ToString(near, ", ", [](std::string const& text) { return text; });
}

} // namespace Tarsel::Core
