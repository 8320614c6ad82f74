#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Conf/SampleInfo.h"

#include <string_view>

namespace Tarsel::Tools {

/// The format of a picture as it is written on the command line.
struct FrameText {
    Conf::FrameInfo frame;
    Conf::PixFmt format = Conf::PixFmt::None;
};

/// Reads "WIDTHxHEIGHT:FORMAT" or "WIDTHxHEIGHT:FORMAT:NUM/DEN": pixels, FFmpeg's name of the pixel format,
/// and the shape of one pixel (square without it). UsageException naming the part that is wrong and what it
/// may be.
FrameText ParseFrameText(std::string_view text);

/// Reads "RATE:FORMAT:LAYOUT", "48000:fltp:stereo": samples a second, and FFmpeg's names of sample format and
/// channel layout. UsageException as above.
Conf::SampleInfo ParseSampleText(std::string_view text);

} // namespace Tarsel::Tools
