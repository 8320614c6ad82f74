#include "Tools/Tarsel/Catalogue.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Settings/Settings.h"
#include "Tools/Tarsel/UsageException.h"

#include <fmt/format.h>

namespace Tarsel::Tools {
namespace {

/// One effect of the entry; null for a kind that the factory has no operation for.
SP<Proc::IEffect> Create(Host::EffectFactory const& factory, Host::EffectEntry const& entry) {
    switch (entry.GetKind()) {
    case Host::EffectKind::Video:
        return factory.CreateVideoEffect(entry.classId, entry.implName, {});
    case Host::EffectKind::Audio:
        return factory.CreateAudioEffect(entry.classId, entry.implName, {});
    case Host::EffectKind::TwoInputVideo:
        return factory.CreateTwoInputVideoEffect(entry.classId, entry.implName, {});
    case Host::EffectKind::TwoInputAudio:
        break;
    }
    return {};
}

CatalogueEntry Describe(Host::EffectFactory const& factory, Host::EffectEntry const& entry) {
    CatalogueEntry result{entry.classId, entry.implName, entry.GetKind(), {}, {}};
    SP<Proc::IEffect> const effect = Create(factory, entry);
    if (!effect)
        return result;
    if (auto const* details = dynamic_cast<Proc::IEffectDetails const*>(effect.get()))
        result.traits = details->GetTraits();
    result.fields = effect->GetSettingsBase().GetFields();
    return result;
}

} // namespace

std::vector<CatalogueEntry> MakeCatalogue(Effects const& effects, std::string const& classId) {
    std::vector<CatalogueEntry> entries;
    for (Host::EffectEntry const& entry : effects.registry->GetEntries())
        if (classId.empty() || classId == entry.classId)
            entries.push_back(Describe(*effects.factory, entry));
    if (entries.empty() && !classId.empty())
        Core::Throw<UsageException>(
            {"Tools/Tarsel/Catalogue",
             "std::vector<CatalogueEntry> Tarsel::Tools::MakeCatalogue(const Effects "
             "&, const std::string &)"},
            fmt::format("the plug-in \"{}\" has no effect \"{}\"; \"tarsel list\" shows those it has",
                        effects.plugin.string(), classId));
    return entries;
}

} // namespace Tarsel::Tools
