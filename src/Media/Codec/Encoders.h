#pragma once

#include "Media/Run.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct AVCodec;

namespace Tarsel::Media {

/// What is known here of codecs and encoders; what FFmpeg tells of them is asked of FFmpeg. All of these may
/// be called from any thread; codecs belong to FFmpeg and live for ever.

/// Encoder options, key and value, in FFmpeg's words.
using EncoderOptions = std::vector<std::pair<std::string, std::string>>;

/// What a codec's streams of pictures hold, whoever encodes them.
struct CodecFacts {
    /// They say whether values use their full range.
    bool tellsRange = false;
    /// They know a constant frame rate only.
    bool hasConstantRate = false;
    /// They may hold two fields a picture.
    bool holdsFields = false;
    /// Subsampled chroma wants sizes that are whole in chroma samples.
    bool wantsWholeChroma = false;
    /// JPEG: full range, and the colors of BT.601.
    bool isJpeg = false;
    /// Lossy WebP: limited range, and the colors of BT.601.
    bool isWebp = false;
    /// Films are made of it, and may stay in it.
    bool isOfFilms = false;
    /// A color of a palette may be clear.
    bool hasClearColors = false;
};

/// `codec` is an AVCodecID; nothing is known of most.
CodecFacts GetCodecFacts(int codec) noexcept;

/// The encoders of the codec (an AVCodecID) that work in ordinary memory, best first.
std::vector<AVCodec const*> ListEncodersOf(int codec);

/// Whether FFmpeg has pixel formats in ordinary memory for the encoder.
bool WorksInOrdinaryMemory(AVCodec const& encoder);

/// Whether the encoder loses nothing whatever it is told.
bool LosesNothing(AVCodec const& encoder) noexcept;
/// The same of an FFmpeg codec id.
bool CodecLosesNothing(int codec) noexcept;

/// Whether the encoder has options for the quality. One whose codec loses nothing has all.
bool HasQuality(AVCodec const& encoder, Quality quality);

/// All that an encoder of pictures is told: its usual effort, the quality unless the user's options have one
/// of their own, what keeps an encoder that goes its own ways silent and to `threads` (as
/// AVCodecContext::thread_count would; 0: as many as it likes), then the user's options. Options that are
/// lists themselves, as x265-params, are joined; of two entries the later wins. Of libx265 one thread is
/// left, of libsvtav1 about a dozen.
EncoderOptions MakeVideoOptions(AVCodec const& encoder, EncoderOptions const& users, Quality quality,
                                int threads);

/// The least width and height that the encoder takes, where it says so on standard error only; else 1.
int GetLeastSize(AVCodec const& encoder) noexcept;

/// How an encoder's own list of options (VideoOptions) is told the light levels of HDR, in the words of
/// x265.
struct LightKeys {
    std::string_view list;
    std::string_view display;
    std::string_view content;
};

/// Empty for an encoder that is not told.
LightKeys GetLightKeys(AVCodec const& encoder) noexcept;

/// What an encoder of audio is told before the user's options: the quality, for so many channels. Empty where
/// the user's options have one of their own. Encoders that lose something give their best for Lossless.
EncoderOptions MakeAudioOptions(AVCodec const& encoder, int channels, EncoderOptions const& users,
                                Quality quality);

} // namespace Tarsel::Media
