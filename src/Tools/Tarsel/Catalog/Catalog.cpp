#include "Tools/Tarsel/Catalog/Catalog.h"

#include "Core/NearNames.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Settings/Field.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <span>
#include <string_view>

namespace Tarsel::Tools {
namespace {

CatalogEntry Describe(Host::EffectFactory const& factory, Host::EffectEntry const& entry) {
    CatalogEntry result{entry.classId, entry.implName, entry.GetKind(), {}, {}, {}};
    SP<Proc::IEffect> const effect = factory.Create(entry);
    if (!effect)
        return result;
    if (auto const* details = dynamic_cast<Proc::IEffectDetails const*>(effect.get()))
        result.traits = details->GetTraits();
    Proc::SettingsTable const& table = effect->GetSettingsBase().GetClassTable();
    result.fields = table.fields;
    result.keywords = table.keywords;
    return result;
}

using Search = bool(CatalogEntry const& entry, std::string_view word);

/// Ways to ask for effects, the narrowest first.
constexpr std::array<Search*, 4> s_searches{
    [](CatalogEntry const& entry, std::string_view word) { return entry.classId == word; },
    [](CatalogEntry const& entry, std::string_view word) {
        return entry.classId.find(word) != std::string::npos;
    },
    [](CatalogEntry const& entry, std::string_view word) {
        return Proc::FindField(entry.fields, word) != nullptr || Core::HasWord(entry.keywords, word);
    },
    [](CatalogEntry const& entry, std::string_view word) {
        auto const mentions = [&](std::string_view text) {
            return text.find(word) != std::string_view::npos;
        };
        return (entry.traits && mentions(entry.traits->summary)) ||
               std::ranges::any_of(entry.fields, mentions, &Proc::Field::help);
    },
};

/// Words that say nothing of what is looked for.
constexpr std::string_view s_fillers = "a an and in of or the to with";

/// The narrowest way in which the word finds the effect; s_searches.size() for none.
std::size_t FindRank(CatalogEntry const& entry, std::string_view word) {
    auto const* const found =
        std::ranges::find_if(s_searches, [&](Search* search) { return search(entry, word); });
    return static_cast<std::size_t>(found - s_searches.begin());
}

/// That of the word that finds it least well.
std::size_t FindRank(CatalogEntry const& entry, std::span<std::string const> words) {
    std::size_t rank = 0;
    for (std::string const& word : words)
        if (words.size() == 1 || !Core::HasWord(s_fillers, word))
            rank = std::max(rank, FindRank(entry, word));
    return rank;
}

[[noreturn]] void ThrowUnknown(std::vector<CatalogEntry> const& entries,
                               std::vector<std::string> const& words) {
    std::vector<std::string> names;
    std::ranges::transform(entries, std::back_inserter(names), &CatalogEntry::classId);
    std::string const wanted = fmt::format("{}", fmt::join(words, " "));
    std::string const near = Core::NearNamesText(wanted, names);
    Core::Throw<UsageException>(
        fmt::format("There is no effect \"{}\"{}", wanted, near.empty() ? "; see \"tarsel list\"" : near));
}

} // namespace

std::vector<CatalogEntry> MakeCatalog(Effects const& effects, std::vector<std::string> const& words,
                                      std::function<bool(Host::EffectKind)> const& isWanted) {
    std::vector<CatalogEntry> entries;
    for (Host::EffectEntry const& entry : effects.registry->GetEntries())
        if (!isWanted || isWanted(entry.GetKind()))
            entries.push_back(Describe(*effects.factory, entry));
    if (words.empty())
        return entries;
    std::size_t best = s_searches.size();
    for (CatalogEntry const& entry : entries)
        best = std::min(best, FindRank(entry, words));
    if (best == s_searches.size())
        ThrowUnknown(entries, words);
    std::erase_if(entries, [&](CatalogEntry const& entry) { return FindRank(entry, words) != best; });
    return entries;
}

} // namespace Tarsel::Tools
