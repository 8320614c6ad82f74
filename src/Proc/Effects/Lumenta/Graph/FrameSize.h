#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Core/Throw.h"

#include <cstdint>
#include <string_view>

namespace Tarsel::Proc {

/// In pixels.
struct SmallestFrame {
    std::uint32_t width;
    std::uint32_t height;
};

/// Throws EffectException, from `site`, for frames narrower or lower than `smallest`: some filters write past
/// the end of their buffers with them. `effect` begins the text. Any thread.
void RequireFrameSize(Conf::PixFmt format, Conf::FrameInfo const& info, SmallestFrame const& smallest,
                      std::string_view effect, Core::Site const& site);

} // namespace Tarsel::Proc
