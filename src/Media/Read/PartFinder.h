#pragma once

#include "Media/Container/Demuxer.h"
#include "Media/Parts.h"
#include "Media/Range/Span.h"

#include <stop_token>

namespace Tarsel::Media {

/// A part of a file's video by its times.
struct PartSpan {
    /// What belongs to it.
    Span written;
    /// The same with what effects see before and after.
    Span read;

    bool IsEmpty() const noexcept { return written.from >= written.to; }
};

/// Finds the part in an opened input, which stays as it is. Files with an index are looked at in few places,
/// others read once; the frames around the part are counted by decoding them. OptionsException where there is
/// no video to part; InputException, Stopped.
PartSpan FindPart(Part const& part, Demuxer const& input, std::stop_token stop);

} // namespace Tarsel::Media
