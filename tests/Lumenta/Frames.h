#pragma once

#include "Proc/Data/DataVideoFF.h"

#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/avutil.h>
}

/// Pictures for tests.
namespace Tarsel::Test {

constexpr Conf::FrameInfo s_small{64, 48, 1, 1};

/// A picture of noise that `seed` determines.
SP<Proc::IDataVideo> MakeFrame(Conf::PixFmt format = Conf::PixFmt::YUV420P,
                               Conf::FrameInfo const& info = s_small, std::int64_t time = 0,
                               std::int64_t duration = 40000, std::uint32_t seed = 1);

/// The bytes of each plane, row after row from the top, no padding.
using Pixels = std::vector<std::vector<std::uint8_t>>;
Pixels GetPixels(Proc::IDataVideo const& data);

} // namespace Tarsel::Test
