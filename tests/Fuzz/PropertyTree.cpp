// Any tree of properties for any effect: refused with a reason, or settings that are the same after any way
// there and back. An effect that refuses keeps what it had.

#include "Fuzz/RoundTrips.h"
#include "Host/EffectSettings.h"

namespace Tarsel::Fuzz {
namespace {

Core::Property MakeTree(Draws& draws, std::string name, std::span<Proc::Field const> fields, int depth) {
    switch (draws.Below(depth == 0 ? 6 : 8)) {
    case 0:
        return {std::move(name), draws.Text(16)};
    case 1:
        return {std::move(name), std::int64_t{static_cast<std::int32_t>(draws())}};
    case 2:
        return {std::move(name), draws.Real()};
    case 3:
        return {std::move(name), draws.OneIn(2)};
    case 4:
        return {std::move(name),
                Ratio{static_cast<std::int32_t>(draws()), static_cast<std::int32_t>(draws())}};
    case 5:
        return Core::Property(std::move(name));
    default:
        break;
    }
    Core::Property tree(std::move(name));
    for (std::uint32_t children = draws.Below(6); children > 0; --children) {
        if (fields.empty() || draws.OneIn(8)) {
            tree.AddChild(MakeTree(draws, draws.Text(8), fields, depth - 1));
            continue;
        }
        Proc::Field const& field = draws.Pick(fields);
        std::string const key(draws.OneIn(4) && !field.alias.empty() ? field.alias : field.key);
        if (draws.OneIn(3))
            tree.AddChild(MakeTree(draws, key, fields, depth - 1));
        else // as it may be
            tree.CreateChildT(
                key, Proc::ToText(field, Check::RandomSettings<Draws&>(draws, Check::RandomTexts::Awkward,
                                                                       Check::RandomReach::Legal)
                                             .Draw(field)));
    }
    return tree;
}

/// Whether that way is taken; an effect that throws stays as it was.
void Try(Proc::IEffect& effect, Test::SettingsClass const& settingsClass, auto const& write) {
    std::unique_ptr<Proc::Settings> const before = effect.GetSettingsBase().Clone();
    if (Succeeds([&] { write(effect); }))
        RequireRoundTrips(effect.GetSettingsBase(), settingsClass);
    else
        Require(effect.GetSettingsBase().IsEqualTo(*before), "{} refuses a tree and changes {}",
                settingsClass.classId, Proc::Serialize(*before));
}

} // namespace
} // namespace Tarsel::Fuzz

TARSEL_FUZZ(draws) {
    using namespace Tarsel;
    Host::EffectEntry const& entry = draws.Pick(Test::GetFactory()->GetRegistry().GetEntries());
    SP<Proc::IEffect> const effect = Test::CreateEffect(entry);
    Test::SettingsClass const& settingsClass =
        Test::FindSettingsClass(effect->GetSettingsBase().GetClassTable().classId);
    while (!draws.IsEmpty()) {
        Core::Property tree = Fuzz::MakeTree(draws, "settings", settingsClass.fields, 3);
        std::unique_ptr<Proc::Settings> const settings = settingsClass.Create();
        if (Fuzz::Succeeds<Proc::SettingsException>([&] { Proc::WriteFieldsFromProperty(*settings, tree); }))
            Fuzz::RequireRoundTrips(*settings, settingsClass);
        Fuzz::Try(*effect, settingsClass, [&](Proc::IEffect& to) { to.SetSettings(tree); });
        Fuzz::Try(*effect, settingsClass, [&](Proc::IEffect& to) { Host::SetEffectSettings(to, tree); });
        Fuzz::Try(*effect, settingsClass, [&](Proc::IEffect& to) { to.SetSettings(to.GetSettings()); });
    }
}
