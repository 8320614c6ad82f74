#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Conf/IFormatCodecVideo.h"
#include "Proc/Interfaces/EffectTraits.h"

#include <string>

namespace Tarsel::Proc {

/// An optional interface of effects, found with dynamic_cast: what the effect is and what it would do.
class TARSEL_API IEffectDetails {
public:
    virtual ~IEffectDetails();
    /// Constant for the effect's class; lives as long as the library. Any thread.
    virtual EffectTraits const& GetTraits() const noexcept = 0;
};

/// The same for video: what it would do with one format.
class TARSEL_API IEffectDetailsVideo : public IEffectDetails {
public:
    ~IEffectDetailsVideo() override;
    /// The description of the work on frames of this format under the settings now held, as the effect gives
    /// it to its engine; "" when frames pass untouched. Builds nothing and changes nothing. Throws what
    /// processing such a frame would throw for settings that cannot be described.
    virtual std::string Describe(Conf::IFormatCodecVideo const& format) const = 0;
};

/// The same for audio.
class TARSEL_API IEffectDetailsAudio : public IEffectDetails {
public:
    ~IEffectDetailsAudio() override;
    /// As for video.
    virtual std::string Describe(Conf::IFormatCodecAudio const& format) const = 0;
};

} // namespace Tarsel::Proc
