#pragma once

#include "Media/Base/Sequence.h"
#include "Media/Codec/EncoderChoice.h"
#include "Media/Run.h"

#include <optional>

struct AVCodec;

namespace Tarsel::Media {

/// What a run's options alone say of it, found to be possible.
struct CheckedOptions {
    RunOptions const& options;
    Container container;
    /// Images are written, one for each frame; nothing: there is one file.
    std::optional<Sequence> sequence{};
    /// Null where the container has no usual one.
    AVCodec const* videoEncoder = nullptr;
    /// Null where it depends on the stream.
    AVCodec const* audioEncoder = nullptr;

    /// Whether one image is written.
    bool IsOneImage() const noexcept { return container.isStill && !sequence; }
    Quality GetQuality() const noexcept;
    /// Whether nothing is said of the encoder, so that the input's codec decides.
    bool MayKeepCodec() const noexcept;
    bool WantsVideoEncoder() const noexcept;
    bool WantsAudioEncoder() const noexcept;
    /// Whether the quality is asked of the audio: elsewhere that of the video is meant, and of audio that is
    /// encoded for other reasons.
    bool AsksAudioQuality() const noexcept;
    /// Whether there is no run without pictures, or without audio.
    bool NeedsVideo() const noexcept;
    bool NeedsAudio() const noexcept;
};

/// Container and encoders alone, whatever files there are. Throws as below.
CheckedOptions CheckEncoders(RunOptions const& options);

/// Refuses whatever can be refused before the input is opened: paths, container, encoders and their options.
/// `options` outlives the result. OptionsException, InputException, OutputException.
CheckedOptions CheckOptions(RunOptions const& options);

/// Says that the output holds no pictures. OptionsException.
[[noreturn]] void ThrowHoldsNoVideo(CheckedOptions const& checked);

} // namespace Tarsel::Media
