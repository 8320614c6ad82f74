#pragma once

#include "Media/Container/Demuxer.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// The packets of all streams but the picture's, in step with the pictures. The file is read a second time
/// for them: so none has to wait in memory for a picture, however long the effects hold that back, and they
/// end up beside the pictures that they lay beside. One thread at a time.
class NonVideoReader {
public:
    /// Of a span only packets are wanted that lie in it, or that tell how to decode those; others may come
    /// too.
    /// `input` is the file, opened for the pictures; it outlives this.
    NonVideoReader(Demuxer const& input, Span const& span);

    /// The next packet of those that lie in the file before a picture to be decoded at `time`, in
    /// microseconds of the output, or later; null when there is none. Its times are those of the file (see
    /// Demuxer::Read). It is the caller's until the next call. The first call opens the file. InputException,
    /// Stopped.
    AVPacket* NextBefore(std::int64_t time);
    /// The next packet of all; null at the end of the file. As NextBefore.
    AVPacket* Next() { return NextBefore(INT64_MAX); }

    /// What the user should know of the reading, one sentence each.
    std::vector<std::string> GetNotes() const;

private:
    Demuxer const& m_input;
    Span m_span;
    std::unique_ptr<Demuxer> m_demuxer;
    UniquePacket m_packet;
    /// Of the last picture that was passed, in microseconds.
    std::int64_t m_pictureTime = INT64_MIN;
};

} // namespace Tarsel::Media
