#pragma once

#include "Core/Ratio.h"
#include "Core/Throw.h"
#include "Media/Container/OutputStreams.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Media {

class Output;

/// Writes packets into an output file. One thread at a time.
class Muxer {
public:
    /// Writes the header for the streams, which were made of `input`. That and `file` outlive this.
    /// OutputException; Stopped where that is a pipe, here and below.
    Muxer(OutputStreams streams, Output& file, InputStreams const& input);
    ~Muxer();

    /// Whether packets of the input's stream are taken, or dropped.
    bool Takes(int stream) const noexcept;
    /// Takes a packet of the input's stream `packet.stream_index`, its times in `timeBase`; packets of
    /// streams that were left out are dropped. OutputException.
    void Write(AVPacket& packet, Ratio timeBase);
    /// As Write, for a packet with the times of its stream in the input.
    void WriteCopied(AVPacket& packet);
    /// Writes what is still held and the end of the file. OutputException.
    void Close();

    /// What the user should know, one sentence each; of what the file does not keep once it is closed.
    std::vector<std::string> GetNotes() const;

private:
    /// What is known of one stream of the output.
    struct Track {
        std::int64_t last = INT64_MIN;
        std::int64_t moved = 0;
        std::int64_t damaged = 0;
        bool isRounded = false;
        /// Packets do not follow one another in even steps, of which the first is kept, in microseconds.
        bool isUneven = false;
        std::int64_t shown = INT64_MIN;
        std::optional<std::int64_t> step;
        /// FFmpeg waits for packets of this stream for ever.
        bool isWaitedFor = false;
    };

    void FitTimes(AVPacket& packet, Ratio timeBase, Track& track) const;
    static void WatchSteps(AVPacket const& packet, Ratio timeBase, Track& track);
    std::int64_t ToTime(std::int64_t ticks, int index) const;
    bool HasWaitedEnough(std::int64_t time);
    void Check(int error, Core::Site const& site = Core::Site::Here()) const;

    Output& m_file;
    InputStreams const& m_input;
    OutputStreams m_streams;
    std::vector<Track> m_tracks;
    /// What the closed file does not say.
    std::vector<std::string> m_lostTags;
    /// Of the first packet, in microseconds.
    std::optional<std::int64_t> m_start;
};

} // namespace Tarsel::Media
