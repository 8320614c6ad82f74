#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"
#include "Support/TextCase.h"

namespace Tarsel::Test {

/// What the policy of the video effect over S writes.
template <class S, class Change>
TextCase Text(Change const& change, std::string text, Conf::FrameInfo const& info = {}) {
    return {[settings = MakeChanged<S>(change), info] {
                return Proc::EffectActions<S>::GetFFString(settings, info);
            },
            std::move(text)};
}

} // namespace Tarsel::Test
