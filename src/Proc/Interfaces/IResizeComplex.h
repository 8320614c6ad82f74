#pragma once

#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <string>

namespace Tarsel::Proc {

/// A resizer that crops, pads and keeps proportions; asked for by this id beside its settings class's.
class TARSEL_API IResizeComplex : public IOneInputEffectVideo {
public:
    static std::string const EXTENDED_CLASS_ID;
};

} // namespace Tarsel::Proc
