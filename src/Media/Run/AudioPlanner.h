#pragma once

#include <cstddef>
#include <string>

namespace Tarsel::Media {

struct CheckedOptions;
struct InputStreams;
struct PlannedRun;

/// Plans the streams of audio: makes their effects and opens decoders and encoders. InputException where none
/// can be decoded, though there is work for it; OptionsException, OutputException, and what the maker throws.
void PlanAudio(CheckedOptions const& checked, InputStreams const& input, PlannedRun& run);

/// "Audio stream 1: ", by which a note says of which of several streams of audio it is; "" for a single one,
/// and for other streams.
std::string GetAudioPrefix(InputStreams const& input, std::size_t stream);

} // namespace Tarsel::Media
