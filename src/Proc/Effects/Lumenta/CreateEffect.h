#pragma once

#include "Proc/Interfaces/IEffectFactory.h"

#include <type_traits>

namespace Tarsel::Proc {

/// What a creator of effects with interface I gets for making data objects.
template <class I>
using DataFactoryOf =
    std::conditional_t<std::is_base_of_v<IOneInputEffectAudio, I>, IFactoryDataAudio, IFactoryDataVideo>;

/// The creator (see VideoEffectCreator) of an effect E that is made by E::Create.
template <class I, class E>
SP<I> CreateEffect(SP<IEffectFactory const> const& factory, SP<DataFactoryOf<I> const> const& data) {
    return E::Create(factory, data);
}

} // namespace Tarsel::Proc
