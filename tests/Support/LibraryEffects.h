#pragma once

#include "Host/EffectFactory.h"
#include "Proc/Effects/Lumenta/Registrator.h"
#include "Proc/Settings/SettingsCatalogue.h"

#include <memory>
#include <string>
#include <utility>

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

/// Settings of that class, given as "key=value:...".
inline std::unique_ptr<Proc::Settings> MakeSettings(std::string const& classId, std::string const& options) {
    std::unique_ptr<Proc::Settings> settings = Proc::FindSettingsClass(classId)->create();
    settings->Deserialize(options);
    return settings;
}

} // namespace Tarsel::Test
