#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Conf/SampleInfo.h"
#include "Core/Ratio.h"

#include <string>

namespace Tarsel::Proc {

/// The arguments of a graph's video source, times in microseconds: "video_size=1920x1080:pix_fmt=0:
/// time_base=1/1000000:pixel_aspect=1/1:frame_rate=25/1", without a blank and without the rate where either
/// of its terms is 0. The same in every locale; any thread.
std::string MakeVideoSourceArgs(Conf::PixFmt format, Conf::FrameInfo const& info, Ratio const& frameRate);

/// The arguments of a graph's audio source, times in microseconds: "time_base=1/1000000:sample_rate=44100:
/// sample_fmt=fltp:channel_layout=0x3", without a blank. A layout without a mask counts as FFmpeg's default
/// one of its number of channels; where there is none, the text ends in ":channels=12". The same in every
/// locale; any thread.
std::string MakeAudioSourceArgs(Conf::SampleInfo const& info);

} // namespace Tarsel::Proc
