#pragma once

#include "Media/Base/FFmpegOwners.h"
#include "Media/Range/Span.h"
#include "Media/RunPlan.h"
#include "Media/StreamChoice.h"

#include <cstdint>
#include <string>
#include <vector>

struct AVStream;

namespace Tarsel::Media {

/// What an input file says of itself and its streams, detached from the file, which another thread reads on.
struct InputStreams {
    /// Streams under the same indexes as the input's; metadata, chapters and programs.
    UniqueFormat context;
    /// Index of the stream of pictures that is worked on or copied; −1: none.
    int video = -1;
    /// Index of the best audio stream; −1: none.
    int audio = -1;
    /// FFmpeg's name of the input's container.
    std::string container;
    /// As Demuxer::HasTimes.
    bool hasTimes = true;
    /// What is wanted of it. Chapters and lengths above are those of the span already.
    Span span;
};

class Demuxer;

/// Describes what is wanted of an opened input; streams that are not are marked as to be discarded. As
/// SelectStreams; MemoryException.
InputStreams DescribeStreams(Demuxer const& input, Span const& span, StreamSelection const& selection);

/// An input of one stream, of video or of audio, of which nothing is known: for files that are written
/// without one. MemoryException.
InputStreams MakeUnknownInput(StreamKind kind);

/// Copies what describes a stream: codec parameters, time base, rates, dispositions, metadata, side data and
/// the cover picture. MemoryException.
void CopyStream(AVStream const& from, AVStream& to);

/// Appends all chapters. MemoryException.
void CopyChapters(AVFormatContext const& from, AVFormatContext& to);

/// Adds all programs; `indexes` gives the new index of each stream, −1 for none. MemoryException.
void CopyPrograms(AVFormatContext const& from, std::vector<int> const& indexes, AVFormatContext& to);

} // namespace Tarsel::Media
