#pragma once

#include "Media/RunPlan.h"

#include <string_view>

namespace Tarsel::Media {

struct InputStreams;

/// Why a stream is encoded that effects are for.
constexpr std::string_view s_worked = "effects apply to it";

/// A plan that knows the streams of the input and decides nothing yet, but that those are left out that are
/// marked so. Any thread.
RunPlan DescribeInput(InputStreams const& input);

} // namespace Tarsel::Media
