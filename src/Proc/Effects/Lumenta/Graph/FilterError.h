#pragma once

#include "Core/Throw.h"

#include <string>

namespace Tarsel::Proc {

/// What ThrowFilterError says of frames and blocks that a graph refuses.
inline constexpr char const* s_feedingFailed = "Error while feeding the filtergraph";

/// What was asked of FFmpeg when it refused.
struct FilterAttempt {
    /// The filter description.
    std::string const& description;
    /// Arguments of the graph's sources; may be empty.
    std::string const& sourceArgs;
};

/// Throws EffectException with `text` as it stands; FFmpeg's number and words, the filter description and the
/// source arguments are attached beside it.
[[noreturn]] void ThrowFilterError(Core::Site const& site, std::string const& text, int error,
                                   FilterAttempt const& attempt);

/// The same for out of memory: "Not enough memory for filter" with transcoding error code 35.
[[noreturn]] void ThrowNoFilterMemory(Core::Site const& site, FilterAttempt const& attempt);

/// Either of the two, by the error.
[[noreturn]] void ThrowFilterErrorOrMemory(Core::Site const& site, std::string const& text, int error,
                                           FilterAttempt const& attempt);

} // namespace Tarsel::Proc
