#pragma once

#include "Core/Api.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// Checks of the calls between a host and its effects, for development.
namespace Tarsel::Host {

/// Which side of the contract.
enum class Party : std::uint8_t { Host, Effect };

/// A call that broke the contract.
struct Misuse {
    /// Who broke it.
    Party party;
    /// The rule's name: "input-unchanged".
    std::string_view rule;
    /// Class id of the effect's settings.
    std::string classId;
    /// The method: "Process".
    std::string_view method;
    /// What happened, with the values.
    std::string text;
};

/// "blur: Process: the effect breaks \"input-unchanged\": ...". Any thread.
TARSEL_API std::string Describe(Misuse const& misuse);

/// Told of each misuse, by the thread that makes the call; what it throws leaves the call.
using MisuseListener = std::function<void(Misuse const&)>;

/// Writes a warning to glog. Any thread.
TARSEL_API void LogMisuse(Misuse const& misuse);

/// LogMisuse if the environment variable TARSEL_CHECK_EFFECTS is set to anything but 0, else empty. Any
/// thread.
TARSEL_API MisuseListener GetMisuseListener();

/// The effect behind checks: forwards every call, results and exceptions unchanged, and reports how host or
/// effect break the contract of the interfaces. It shares `effect`, which is not to be called otherwise, and
/// offers the same optional interfaces of this SDK. It reports each rule once per method. Frames and blocks
/// that the effect may still read are kept and compared, with their padding, at each call: expect a fraction
/// of the usual speed. The last result is compared too while the host has it: no other thread may write to it
/// during a call. Threads as for the effect; calls from several threads at once are reported, and made
/// one after the other. EffectException if an argument is empty.
TARSEL_API SP<Proc::IOneInputEffectVideo> CheckEffect(SP<Proc::IOneInputEffectVideo> effect,
                                                      MisuseListener listener = LogMisuse);
TARSEL_API SP<Proc::IOneInputEffectAudio> CheckEffect(SP<Proc::IOneInputEffectAudio> effect,
                                                      MisuseListener listener = LogMisuse);
TARSEL_API SP<Proc::ITwoInputEffectVideo> CheckEffect(SP<Proc::ITwoInputEffectVideo> effect,
                                                      MisuseListener listener = LogMisuse);

} // namespace Tarsel::Host
