#pragma once

#include "Proc/Interfaces/IFactoryData.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"

#include <string>

namespace Tarsel::Proc {

/// The host's way to effects by class id and implementation name; ImplNames::DEFAULT stands for the
/// implementation registered first. A null data factory lets the host use its own. Each call makes a new
/// effect with one reference. Throws EffectException naming class, implementation and kind when nothing is
/// registered for them; exceptions of the creator pass. Any thread.
class TARSEL_API IEffectFactory : public Core::IRefCountable {
public:
    virtual SP<IOneInputEffectVideo> CreateVideoEffect(std::string const& classId,
                                                       std::string const& implName,
                                                       SP<IFactoryDataVideo const> const& data) const = 0;
    virtual SP<IOneInputEffectAudio> CreateAudioEffect(std::string const& classId,
                                                       std::string const& implName,
                                                       SP<IFactoryDataAudio const> const& data) const = 0;
    virtual SP<ITwoInputEffectVideo>
    CreateTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                              SP<IFactoryDataVideo const> const& data) const = 0;
};

} // namespace Tarsel::Proc
