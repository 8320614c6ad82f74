#pragma once

#include "Proc/Interfaces/IEffectRegistrar.h"

#include <type_traits>
#include <variant>

namespace Tarsel::Proc {

/// Its kind is the operation of the registrar.
using EffectCreator = std::variant<VideoEffectCreator, AudioEffectCreator, TwoInputVideoEffectCreator>;

/// The creator of this library's effect over settings class S; defined by its family (DefineEffect.h).
template <class S>
EffectCreator GetCreator();

/// What a creator of effects with interface I gets for making data objects.
template <class I>
using DataFactoryOf =
    std::conditional_t<std::is_base_of_v<IOneInputEffectAudio, I>, IFactoryDataAudio, IFactoryDataVideo>;

/// The creator (see VideoEffectCreator) of an effect E: by E::Create where there is one, else it uses neither
/// factory.
template <class I, class E>
SP<I> CreateEffect(SP<IEffectFactory const> const& factory, SP<DataFactoryOf<I> const> const& data) {
    if constexpr (requires { E::Create(factory, data); })
        return E::Create(factory, data);
    else
        return MakeSP<E>();
}

} // namespace Tarsel::Proc
