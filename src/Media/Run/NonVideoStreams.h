#pragma once

#include "Media/Container/InputStreams.h"
#include "Media/Container/Muxer.h"
#include "Media/Range/PacketCutter.h"
#include "Media/Run/AudioWorker.h"
#include "Media/Run/Planner.h"
#include "Media/Run/ProgressMeter.h"
#include "Media/Run/StageTimes.h"

#include <cstddef>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// The streams beside the video on their way into the output, as they are planned: audio that is re-encoded
/// passes its effects, on threads of their own (AudioWorker), subtitles of text are converted, everything
/// else is copied. One thread at a time.
class NonVideoStreams {
public:
    /// The references outlive this. MemoryException.
    NonVideoStreams(InputStreams const& input, std::vector<StreamWork> work, ProgressMeter& progress,
                    std::stop_token stop);

    /// Takes a packet of the input, with the times of its stream there, and what of it lies in the span;
    /// false where that is nothing of a packet that is copied. OutputException; exceptions of the effects;
    /// Stopped.
    bool Write(AVPacket& packet, Muxer& muxer);
    /// No more packets. As Write.
    void End(Muxer& muxer);

    /// Adds the time of audio, and takes off that of writing what that waited for it. Once ended.
    void AddTimes(StageTimes& times) const noexcept;
    /// Of what came up. Once ended.
    std::vector<std::string> GetNotes() const;

private:
    void Count(AVPacket const& packet);
    TakePacket MakeTaker(std::size_t index, Muxer& muxer) const;

    InputStreams const& m_input;
    /// What is done with one; neither where it is copied or dropped.
    struct Stream {
        std::unique_ptr<AudioWorker> audio;
        std::unique_ptr<TextTrack> text;
    };
    /// By their index in the input.
    std::vector<Stream> m_streams;
    PacketCutter m_cutter;
    ProgressMeter& m_progress;
    std::stop_token m_stop;
};

} // namespace Tarsel::Media
