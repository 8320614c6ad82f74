#pragma once

#include "Media/Base/FFmpegOwners.h"

#include <string>
#include <vector>

struct AVDictionary;
struct AVOutputFormat;

namespace Tarsel::Media {

struct InputStreams;
class AudioEncoder;
class TextTrack;
class VideoEncoder;

/// What encodes streams of the input anew.
struct StreamEncoders {
    /// Null: pictures are copied.
    VideoEncoder const* picture = nullptr;
    /// For each stream of the input; null: copied. Empty: none.
    std::vector<AudioEncoder const*> sound{};
    /// The same for subtitles that are converted.
    std::vector<TextTrack const*> texts{};
};

/// The streams of an output file, ready for its header.
struct OutputStreams {
    UniqueFormat context;
    /// The output's stream for each of the input's; −1: none.
    std::vector<int> indexes;
    /// What the user should know of what was left out, one sentence each.
    std::vector<std::string> notes;
};

/// The streams of the input that the container takes, in their order; those with an encoder as that makes
/// them, others as they are. Whatever else the file says comes along: metadata, chapters, programs.
/// OutputException when the container cannot even take the picture stream, or without one any sound.
OutputStreams MakeOutputStreams(AVOutputFormat const& format, InputStreams const& input,
                                StreamEncoders const& encoders);

} // namespace Tarsel::Media
