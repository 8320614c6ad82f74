#pragma once

#include "Core/Api.h"
#include "Proc/Settings/Settings.h"

namespace Tarsel::Proc {

/// std::bad_cast whose description names both classes. Any thread.
[[noreturn]] TARSEL_API void ThrowOtherSettings(Settings const& given, Settings const& wanted);

/// The settings as class S, which `wanted` is of, or one derived from it; else throws as above. Any thread.
template <class S>
S const& CastSettings(Settings const& given, Settings const& wanted) {
    if (auto const* settings = dynamic_cast<S const*>(&given))
        return *settings;
    ThrowOtherSettings(given, wanted);
}

} // namespace Tarsel::Proc
