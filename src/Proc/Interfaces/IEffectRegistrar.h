#pragma once

#include "Proc/Interfaces/IEffectFactory.h"

#include <string>

namespace Tarsel::Proc {

class ITwoInputEffectAudio;

/// A creator makes a new effect and hands out its one reference. Both factories may be null.
using VideoEffectCreator = SP<IOneInputEffectVideo> (*)(SP<IEffectFactory const> const&,
                                                        SP<IFactoryDataVideo const> const&);
using AudioEffectCreator = SP<IOneInputEffectAudio> (*)(SP<IEffectFactory const> const&,
                                                        SP<IFactoryDataAudio const> const&);
using TwoInputVideoEffectCreator = SP<ITwoInputEffectVideo> (*)(SP<IEffectFactory const> const&,
                                                                SP<IFactoryDataVideo const> const&);
using TwoInputAudioEffectCreator = SP<ITwoInputEffectAudio> (*)(SP<IEffectFactory const> const&,
                                                                SP<IFactoryDataAudio const> const&);

/// Takes a plug-in's effects. The slot order is binary contract. Texts are copied; a creator must stay
/// callable until the plug-in is unloaded. Returns whether the registration is new.
class TARSEL_API IEffectRegistrar {
public:
    virtual ~IEffectRegistrar();
    virtual bool RegisterAudioEffect(std::string const& classId, std::string const& implName,
                                     AudioEffectCreator creator) = 0;
    virtual bool RegisterVideoEffect(std::string const& classId, std::string const& implName,
                                     VideoEffectCreator creator) = 0;
    virtual bool RegisterTwoInputAudioEffect(std::string const& classId, std::string const& implName,
                                             TwoInputAudioEffectCreator creator) = 0;
    virtual bool RegisterTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                                             TwoInputVideoEffectCreator creator) = 0;
};

} // namespace Tarsel::Proc
