#include "Proc/Effects/Lumenta/OptionText.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

namespace Tarsel::Proc {

std::string PropertyToFFMpegString(Core::Property const& property,
                                   std::vector<FFMpegStringValue> const& values) {
    std::string text;
    for (FFMpegStringValue const& value : values) {
        if (Core::Property const* child = property.FindChild(value.key))
            text += value.option + "='" + Core::PropertyValueToString(*child) + "':";
        else if (value.required)
            Core::Throw<EffectException>(
                {"Proc/Effects/Lumenta/EffectFFMPEG",
                 "std::string Tarsel::Proc::PropertyToFFMpegString(const Core::Property &, "
                 "const std::vector<FFMpegStringValue> &)"},
                "Required parameter " + value.option + " was not set",
                TagDetail("no property \"" + value.key + "\""));
    }
    return text;
}

} // namespace Tarsel::Proc
