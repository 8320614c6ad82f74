#pragma once

#include "Conf/SampleInfo.h"
#include "Core/Api.h"

#include <string>

struct AVFrame;

namespace Tarsel::Proc {

/// FFmpeg's names and words, for messages. Any thread.

/// What FFmpeg says of an AVERROR: "Invalid data found when processing input".
TARSEL_API std::string GetFFmpegErrorText(int error);

/// The name of a pixel format, "yuv420p"; "format 9999" for a number that is none.
TARSEL_API std::string PixelFormatText(int format);

/// Size and format of a picture: "640x480 yuv420p".
TARSEL_API std::string PictureText(AVFrame const& frame);

/// Rate, format and layout of audio: "44100 Hz fltp stereo"; "unknown rate", "unknown format" and "unknown
/// layout" where they are not known.
TARSEL_API std::string AudioText(Conf::SampleInfo const& info);

} // namespace Tarsel::Proc
