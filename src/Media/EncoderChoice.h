#pragma once

#include "Media/Containers.h"
#include "Media/Encoders.h"

#include <filesystem>
#include <string>

struct AVCodec;

namespace Tarsel::Media {

/// All of these may be called from any thread; codecs belong to FFmpeg and live for ever.

/// The encoder of that name, or the usual one of the container for an empty name. OptionsException for a name
/// that is none of an encoder for pictures in ordinary memory (near names are listed), or that the container
/// cannot take.
AVCodec const& ChooseEncoder(Container const& container, std::filesystem::path const& output,
                             std::string const& name);

/// The encoder of that name, which has to be one for pictures in ordinary memory or, with `isSound`, for
/// sound: else OptionsException, with the near names.
AVCodec const& FindNamedEncoder(std::string const& name, bool isSound);

/// Whether the container takes streams of the codec, an AVCodecID.
bool CanHold(Container const& container, std::filesystem::path const& output, int codec);

} // namespace Tarsel::Media
