#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Core/Ratio.h"

#include <string>

namespace Tarsel::Proc {

/// The arguments of a graph's video source, times in microseconds: "video_size=1920x1080:pix_fmt=0:
/// time_base=1/1000000:pixel_aspect=1/1:frame_rate=25/1", without a blank and without the rate where either
/// of its terms is 0. The same in every locale; any thread.
std::string MakeVideoSourceArgs(Conf::PixFmt format, Conf::FrameInfo const& info, Ratio const& frameRate);

} // namespace Tarsel::Proc
