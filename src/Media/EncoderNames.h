#pragma once

#include "Media/Api.h"

#include <string>
#include <vector>

namespace Tarsel::Media {

/// FFmpeg's names of the encoders that runs take, for audio or for video. Any thread.
TARSEL_MEDIA_API std::vector<std::string> ListEncoders(bool isAudio);

} // namespace Tarsel::Media
