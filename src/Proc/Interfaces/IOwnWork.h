#pragma once

#include "Core/Api.h"

namespace Tarsel::Proc {

/// An optional interface of effects, found with dynamic_cast, that marks those which work without FFmpeg's
/// filters: what they describe (IEffectDetailsVideo::Describe, IEffectDetailsAudio::Describe) is in words for
/// people, while that of all others is a text of these filters.
class TARSEL_API IOwnWork {
public:
    virtual ~IOwnWork();
};

} // namespace Tarsel::Proc
