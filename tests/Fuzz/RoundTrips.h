#pragma once

#include "Fuzz/Fuzz.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"

namespace Tarsel::Fuzz {

/// Settings are the same after a way through text, and after one through a property tree.
inline void RequireRoundTrips(Proc::Settings const& settings, Test::SettingsClass const& settingsClass) {
    std::string const text = Proc::Serialize(settings);
    auto const requireSame = [&](char const* way, auto const& read) {
        std::unique_ptr<Proc::Settings> const back = settingsClass.Create();
        read(*back);
        Require(back->IsEqualTo(settings) && Proc::Serialize(*back) == text,
                "{}: {} comes back from {} as {}", settingsClass.classId, text, way, Proc::Serialize(*back));
    };
    requireSame("its text", [&](Proc::Settings& back) { back.Deserialize(text); });
    requireSame("its properties", [&](Proc::Settings& back) {
        Proc::WriteFieldsFromProperty(back, Proc::Settings2Property(settings));
    });
}

} // namespace Tarsel::Fuzz
