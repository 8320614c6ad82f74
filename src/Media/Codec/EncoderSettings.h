#pragma once

#include "Core/Ratio.h"
#include "Media/Codec/EncoderChoice.h"
#include "Media/Codec/VideoConversion.h"

struct AVCodecContext;

namespace Tarsel::Media {

/// Sets options on a context that is not open, in order. OptionsException: an option the encoder does not
/// have (near names are listed), or a value it refuses (the legal ones are told).
void ApplyEncoderOptions(AVCodecContext& context, EncoderOptions const& options);

/// Refuses the user's options before anything is read: as ApplyEncoderOptions, and those that the encoder
/// refuses only when it opens.
void CheckEncoderOptions(AVCodec const& encoder, EncoderOptions const& options, Quality quality);

/// What the encoder demands of pictures, in files of the container.
EncoderRules GetEncoderRules(AVCodec const& encoder, AVOutputFormat const& container);

/// Of `legal` (frames a second, not empty) the next to `wanted` that is not below it, so that every picture
/// has a time of its own; else the highest.
Ratio ChooseLegalRate(std::vector<Ratio> const& legal, Ratio wanted) noexcept;

/// The time base the encoder counts pictures in: `wanted`, or the duration of a frame for encoders that know
/// a constant frame rate only. `codec` is an AVCodecID.
Ratio ChooseEncoderTimeBase(int codec, Ratio wanted, Ratio frameRate);

} // namespace Tarsel::Media
