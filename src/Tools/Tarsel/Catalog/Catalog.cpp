#include "Tools/Tarsel/Catalog/Catalog.h"

#include "Core/NearNames.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Settings/Field.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
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

[[noreturn]] void ThrowUnknown(std::vector<CatalogEntry> const& entries, std::string const& word) {
    std::vector<std::string> names;
    std::ranges::transform(entries, std::back_inserter(names), &CatalogEntry::classId);
    std::string const near = Core::NearNamesText(word, names);
    Core::Throw<UsageException>(
        fmt::format("There is no effect \"{}\"{}", word, near.empty() ? "; see \"tarsel list\"" : near));
}

} // namespace

std::vector<CatalogEntry> MakeCatalog(Effects const& effects, std::string const& word) {
    std::vector<CatalogEntry> entries;
    for (Host::EffectEntry const& entry : effects.registry->GetEntries())
        entries.push_back(Describe(*effects.factory, entry));
    if (word.empty())
        return entries;
    for (Search* const search : s_searches) {
        std::vector<CatalogEntry> found;
        std::ranges::copy_if(entries, std::back_inserter(found),
                             [&](CatalogEntry const& entry) { return search(entry, word); });
        if (!found.empty())
            return found;
    }
    ThrowUnknown(entries, word);
}

} // namespace Tarsel::Tools
