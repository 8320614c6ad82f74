#include "Dim.h"
#include "FlipByRows.h"

#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Settings/Orientation.h"

/// The one symbol that a host asks a plug-in for.
extern "C" __attribute__((visibility("default"))) bool
Registrator(Tarsel::Proc::IEffectRegistrar& registrar) {
    // Another implementation of a class that hosts know, and a class of our own.
    return registrar.RegisterVideoEffect(Tarsel::Proc::SettingsEffectFlip::CLASS_ID, "Example",
                                         CreateFlipByRows) &&
           registrar.RegisterVideoEffect(SettingsDim::CLASS_ID, "Example", CreateDim);
}
