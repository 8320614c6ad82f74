#pragma once

#include "Media/Container/Demuxer.h"
#include "Media/Range/Span.h"
#include "Media/TimeRange.h"

#include <stop_token>

namespace Tarsel::Media {

/// Refuses a range that is none, whatever the input. OptionsException.
void CheckRange(TimeRange const& range);

/// The times of a range, which has passed CheckRange, in an input that has just been opened and stays as it
/// is. Where frames are counted the file is read for it. OptionsException for a range that the input does not
/// have, InputException, Stopped.
Span FindSpan(TimeRange const& range, Demuxer const& input, std::stop_token stop);

} // namespace Tarsel::Media
