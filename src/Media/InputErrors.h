#pragma once

#include "Media/Api.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Media {

/// The errors that FFmpeg's demuxers and decoders log about an input that can be read all the same. Give Hear
/// to Host::FFmpegMessages as its listener, which calls one thread at a time; ask for notes when nothing is
/// logged any more.
class TARSEL_MEDIA_API InputErrors {
public:
    /// A line as FFmpegMessages::Listener hears it. Lines of others than demuxers and decoders don't count.
    /// std::bad_alloc.
    void Hear(int level, std::string_view line);
    /// For people: none, or one with the first error and the number of all. std::bad_alloc.
    std::vector<std::string> GetNotes() const;

private:
    std::string m_first;
    std::int64_t m_count = 0;
};

} // namespace Tarsel::Media
