#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Conf/SampleInfo.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IDataVideo.h"

namespace Tarsel::Proc {

/// Makes frames for effects that need their own. Any thread; throws MemoryException, and
/// EffectException when no such picture can exist.
class TARSEL_API IFactoryDataVideo : public Core::IRefCountable {
public:
    /// A frame with buffers of its own, its pixels not set.
    virtual SP<IDataVideo> Create(Conf::ColorSpace const& space, Conf::PixFmt format,
                                  Conf::FrameInfo const& info) const = 0;
};

/// Makes blocks for effects that need their own. Any thread; throws MemoryException, and
/// EffectException when no such audio can exist.
class TARSEL_API IFactoryDataAudio : public Core::IRefCountable {
public:
    /// A block of `sampleCount` samples for each channel, its samples not set.
    virtual SP<IDataAudio> Create(Conf::SampleInfo const& info, int sampleCount) const = 0;
};

} // namespace Tarsel::Proc
