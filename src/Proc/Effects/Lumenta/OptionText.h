#pragma once

#include "Core/Property.h"
#include "Proc/Effects/Lumenta/Api.h"

#include <string>
#include <vector>

namespace Tarsel::Proc {

/// How one property becomes one FFmpeg option.
struct FFMpegStringValue {
    std::string key;
    std::string option;
    bool required = false;
};

/// "option='value':" for each row whose key is a child of `property`, in the order of the rows. Throws
/// EffectException naming the first required option whose property is missing; MethodIsNotApplicable for a
/// child that is a container. Any thread.
LUMENTA_API std::string PropertyToFFMpegString(Core::Property const& property,
                                               std::vector<FFMpegStringValue> const& values);

} // namespace Tarsel::Proc
