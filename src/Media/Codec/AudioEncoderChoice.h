#pragma once

#include "Conf/SampleInfo.h"
#include "Media/Codec/EncoderChoice.h"

struct AVCodecParameters;

namespace Tarsel::Media {

/// All of these may be called from any thread; codecs belong to FFmpeg and live for ever.

/// The encoder of that name. OptionsException for a name that is not that of an encoder for audio (near names
/// are listed), or that the container cannot take.
AVCodec const& ChooseNamedAudioEncoder(Container const& container, std::string const& name);

/// The usual encoder of the container for audio whose samples have that format and so many bits of audio;
/// null where it takes none. OptionsException where there is no such encoder here.
AVCodec const* FindUsualAudioEncoder(Container const& container, Conf::SampleFormats format, int depth);

/// One for the codec of the input's stream, where files are made of it and the container takes it: what was
/// without loss stays so, and players know it already. Plain samples become those that fit blocks of the
/// format and of `depth` bits; 0: they stay what they were. Null elsewhere.
AVCodec const* FindSameAudioEncoder(Container const& container, AVCodecParameters const& input,
                                    Conf::SampleFormats format, int depth);

/// Whether the container takes a copy of the audio stream.
bool CanHoldAudio(Container const& container, AVCodecParameters const& stream);

} // namespace Tarsel::Media
