#pragma once

#include "Media/Containers.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

struct AVCodec;

namespace Tarsel::Media {

/// Encoder options, key and value, in FFmpeg's words.
using EncoderOptions = std::vector<std::pair<std::string, std::string>>;

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

/// What the encoder is told before the user's options: a quality that shows no loss to the eye. Settings of
/// quality are left out where the user's options have their own.
EncoderOptions ChooseDefaults(AVCodec const& encoder, EncoderOptions const& users);

} // namespace Tarsel::Media
