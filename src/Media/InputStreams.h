#pragma once

#include "Media/FFmpegOwners.h"

#include <string>
#include <vector>

struct AVStream;

namespace Tarsel::Media {

/// What an input file says of itself and its streams, detached from the file, which another thread reads on.
struct InputStreams {
    /// Streams under the same indexes as the input's; metadata, chapters and programs.
    UniqueFormat context;
    /// Index of the stream that is worked on.
    int picture = -1;
    /// FFmpeg's name of the input's container.
    std::string container;
};

/// Describes an opened input, whose stream `picture` is worked on. MemoryException.
InputStreams DescribeStreams(AVFormatContext const& input, int picture);

/// Copies what describes a stream: codec parameters, time base, rates, dispositions, metadata, side data and
/// the cover picture. MemoryException.
void CopyStream(AVStream const& from, AVStream& to);

/// Appends all chapters. MemoryException.
void CopyChapters(AVFormatContext const& from, AVFormatContext& to);

/// Adds all programs; `indexes` gives the new index of each stream, −1 for none. MemoryException.
void CopyPrograms(AVFormatContext const& from, std::vector<int> const& indexes, AVFormatContext& to);

} // namespace Tarsel::Media
