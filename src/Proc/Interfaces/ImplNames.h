#pragma once

#include "Core/Api.h"

#include <string>

namespace Tarsel::Proc {

/// Names of implementations of an effect class.
struct TARSEL_API ImplNames {
    /// Built on FFmpeg: every effect of this library.
    static std::string const FFMPEG;
    /// Whichever implementation the host registered first for the class.
    static std::string const DEFAULT;
};

} // namespace Tarsel::Proc
