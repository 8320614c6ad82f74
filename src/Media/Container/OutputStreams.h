#pragma once

#include "Core/Ratio.h"
#include "Media/Base/FFmpegOwners.h"

#include <string>
#include <vector>

struct AVFrame;
struct AVOutputFormat;
struct AVStream;

namespace Tarsel::Media {

struct Container;
struct InputStreams;

/// What re-encodes a stream of the input, or has done so.
struct StreamEncoder {
    /// Opened; null: the stream is copied, or `encoded`.
    AVCodecContext const* context = nullptr;
    /// Of the packets.
    Ratio timeBase;
    /// The first picture, whose side data describe the stream; null for other streams.
    AVFrame const* first = nullptr;
    /// A stream of another file that holds the video as it was encoded, and the rate that its encoder was
    /// told; null for others.
    AVStream const* encoded = nullptr;
    Ratio encodedRate{};

    bool IsEncoded() const noexcept { return context != nullptr || encoded != nullptr; }
};

/// For each stream of the input; those beyond the end are copied.
using StreamEncoders = std::vector<StreamEncoder>;

/// The streams of an output file, ready for its header.
struct OutputStreams {
    UniqueFormat context;
    /// The output's stream for each of the input's; −1: none.
    std::vector<int> indexes;
    /// What the user should know of what was left out, one sentence each: of each of the input's streams ("":
    /// nothing), and of the file.
    std::vector<std::string> streamNotes;
    std::vector<std::string> notes;
};

/// The streams of the input that the container takes, in their order; those with an encoder as that makes
/// them, others as they are. Whatever else the file says comes along: metadata, chapters, programs.
/// OutputException when the container cannot even take the picture stream, or without one any audio.
OutputStreams MakeOutputStreams(Container const& container, InputStreams const& input,
                                StreamEncoders const& encoders);

} // namespace Tarsel::Media
