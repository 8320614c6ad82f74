#pragma once

#include <cstdint>
#include <string_view>

struct AVIOContext;

namespace Tarsel::Media {

/// What the bytes of a file say of its end, whatever is in its packets.
struct FileEnd {
    /// The size that it states (RIFF, AIFF, MP4, Matroska), and how much of that there is not; 0: nothing.
    std::uint64_t stated = 0;
    std::uint64_t missing = 0;
    /// Files of its kind end with a mark (Ogg, GIF, APNG), and it does not.
    bool lacksMark = false;
};

/// `container` is FFmpeg's name of the reader. Moves the position in the file, which must be one that can
/// seek. The thread that owns the file.
FileEnd FindFileEnd(std::string_view container, AVIOContext& file);

} // namespace Tarsel::Media
