#pragma once

#include "Host/EffectFactory.h"
#include "Proc/Effects/Lumenta/Registrator.h"
#include "Proc/Settings/Field.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The effects of this library by their class ids, for programs that link them.
namespace Tarsel::Test {

/// A factory over all registrations of the library.
inline SP<Host::EffectFactory const> const& GetFactory() {
    static SP<Host::EffectFactory const> const factory = [] {
        auto registry = std::make_shared<Host::EffectRegistry>();
        Registrator(*registry);
        return MakeSP<Host::EffectFactory>(std::move(registry));
    }();
    return factory;
}

inline SP<Proc::IEffect> CreateEffect(Host::EffectEntry const& entry) {
    return GetFactory()->Create(entry);
}

/// A settings class, by what a new effect has.
struct SettingsClass : Proc::SettingsTable {
    std::shared_ptr<Proc::Settings const> initial;

    std::unique_ptr<Proc::Settings> Create() const { return initial->Clone(); }
};

/// Those of all effects of the library, in the order of registration.
inline std::vector<SettingsClass> const& GetSettingsClasses() {
    static std::vector<SettingsClass> const classes = [] {
        std::vector<SettingsClass> found;
        for (Host::EffectEntry const& entry : GetFactory()->GetRegistry().GetEntries()) {
            std::shared_ptr<Proc::Settings const> settings = CreateEffect(entry)->GetSettingsBase().Clone();
            Proc::SettingsTable const& table = settings->GetClassTable();
            if (std::ranges::find(found, table.classId, &SettingsClass::classId) == found.end())
                found.push_back({table, std::move(settings)});
        }
        return found;
    }();
    return classes;
}

/// That of an id, which there is.
inline SettingsClass const& FindSettingsClass(std::string_view classId) {
    return *std::ranges::find(GetSettingsClasses(), classId, &SettingsClass::classId);
}

/// Settings of that class, given as "key=value:...".
inline std::unique_ptr<Proc::Settings> MakeSettings(std::string const& classId, std::string const& options) {
    std::unique_ptr<Proc::Settings> settings = FindSettingsClass(classId).Create();
    settings->Deserialize(options);
    return settings;
}

} // namespace Tarsel::Test
