#pragma once

#include "Conf/PixFmt.h"
#include "Media/Codec/Encoders.h"
#include "Media/Container/Containers.h"

#include <optional>
#include <string>
#include <vector>

struct AVCodec;

namespace Tarsel::Media {

/// All of these may be called from any thread; codecs belong to FFmpeg and live for ever.

/// The encoder of that name, or the usual one of the container for an empty name. OptionsException for a name
/// that is not that of an encoder for pictures in ordinary memory (near names are listed), or that the
/// container cannot take.
AVCodec const& ChooseEncoder(Container const& container, std::string const& name);

/// The encoder of that name, which has to be one for pictures in ordinary memory or, with `isAudio`, for
/// audio: else OptionsException, with the near names.
AVCodec const& FindNamedEncoder(std::string const& name, bool isAudio);

/// The encoders of the codec that the input's pictures are in, best first: those of the pixel format's like,
/// else the usual one. None where files of films are not made of it, the container does not take it, or none
/// has such a quality. What was without loss stays so, and what players show they show again.
std::vector<AVCodec const*> FindSameEncoders(Container const& container, int codec, Conf::PixFmt format,
                                             std::optional<Quality> quality);

/// Refuses a quality that the encoder does not have. OptionsException, with those it has.
void CheckQuality(AVCodec const& encoder, Quality quality);

/// Whether the container takes streams of the codec, an AVCodecID.
bool CanHold(Container const& container, int codec);

} // namespace Tarsel::Media
