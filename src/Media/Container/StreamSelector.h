#pragma once

#include "Media/StreamChoice.h"

#include <filesystem>
#include <vector>

struct AVFormatContext;

namespace Tarsel::Media {

class Demuxer;

/// Which streams of an opened input are wanted, by their index; attachments and data always are.
/// OptionsException for a choice that fits none, which lists what there is.
std::vector<bool> SelectStreams(StreamSelection const& selection, Demuxer const& input);

/// Refuses choices of audio that fit none, likewise, or none that is wanted.
void CheckAudioChoices(std::vector<StreamChoice> const& choices, StreamSelection const& selection,
                       Demuxer const& input);

/// Lets the input work on the best of those that are wanted. As SelectStreams; OptionsException where neither
/// video nor audio is left.
void Choose(StreamSelection const& selection, Demuxer& input);

} // namespace Tarsel::Media
