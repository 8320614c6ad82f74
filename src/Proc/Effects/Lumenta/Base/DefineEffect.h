#pragma once

#include "Proc/Effects/Lumenta/Base/CreateEffect.h"
#include "Proc/Effects/Lumenta/Base/EffectFafloplal.h"

/// For the sources of families, each of which ends with a line for each of its effects:
/// `template EffectCreator GetCreator<SettingsEffectFlip>();`
namespace Tarsel::Proc {

/// What the throw sites of the filter-text effects on video name as their file.
inline constexpr char const* s_videoEffectFile = "Proc/Effects/Lumenta/EffectFafloplalVideo";

/// The class of the effect over settings class S and its interface. Specialized for effects that are no
/// policy.
template <class S>
struct EffectOver {
    static constexpr bool s_isVideo = requires { sizeof(EffectActions<S>); };
    using Interface = std::conditional_t<s_isVideo, IOneInputEffectVideo, IOneInputEffectAudio>;
    using Type =
        typename std::conditional_t<s_isVideo, std::type_identity<EffectFafloplal<EffectActions<S>>>,
                                    std::type_identity<EffectFafloplalAudio<EffectActionsAudio<S>>>>::type;
};

template <class S>
EffectCreator GetCreator() {
    using Effect = EffectOver<S>;
    return CreateEffect<typename Effect::Interface, typename Effect::Type>;
}

} // namespace Tarsel::Proc
