#pragma once

#include "Proc/Interfaces/IFactoryData.h"

namespace Tarsel::Proc {

/// The host's own factories, making DataVideoFF and DataAudioFF.
class TARSEL_API FactoryDataVideo : public Core::RefCounted<IFactoryDataVideo> {
public:
    SP<IDataVideo> Create(Conf::ColorSpace const& space, Conf::PixFmt format,
                          Conf::FrameInfo const& info) const override;
};

class TARSEL_API FactoryDataAudio : public Core::RefCounted<IFactoryDataAudio> {
public:
    SP<IDataAudio> Create(Conf::SampleInfo const& info, int sampleCount) const override;
};

} // namespace Tarsel::Proc
