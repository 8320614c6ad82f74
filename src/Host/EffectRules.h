#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Conf/IFormatCodecVideo.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Settings/Settings.h"

#include <string>

/// Rules of the contract between hosts and effects that one object alone can break. Each function returns how
/// it breaks them, for people; "" if it does not. All functions: any thread.
namespace Tarsel::Host {

/// "yuv420p 64x48"; "fltp, 48000 Hz, stereo".
TARSEL_API std::string GetFormText(Proc::IDataVideo const& frame);
TARSEL_API std::string GetFormText(Proc::IDataAudio const& block);
TARSEL_API std::string GetFormText(Conf::IFormatCodecVideo const& format);
TARSEL_API std::string GetFormText(Conf::IFormatCodecAudio const& format);

/// Whether each frame or block that goes in comes out as one, at once.
constexpr bool HoldsNothing(Proc::EffectTraits const& traits) noexcept {
    return traits.delayFrames == 0 && traits.delayTime == 0 && traits.framesPerFrame == 1 && !traits.tail;
}

/// Data that hold less than they state would be read past their end.
TARSEL_API std::string FindFault(Proc::IDataVideo const& frame);
TARSEL_API std::string FindFault(Proc::IDataAudio const& block);
/// A summary of one line, no negative delay or reach, at least one frame per frame.
TARSEL_API std::string FindFault(Proc::EffectTraits const& traits);
/// A copy equals the settings, and so does what is read from their text and from their property tree.
TARSEL_API std::string FindFault(Proc::Settings const& settings);

/// What `result` has lost of `input` although the traits state that it is always kept. Both without faults.
TARSEL_API std::string FindLoss(Proc::EffectTraits const& traits, Proc::IDataVideo const& input,
                                Proc::IDataVideo const& result);

} // namespace Tarsel::Host
