#pragma once

#include "Media/Container/InputStreams.h"
#include "Media/Container/Muxer.h"
#include "Media/Container/TextTrack.h"
#include "Media/Run/AudioReEncode.h"
#include "Media/Run/ProgressMeter.h"
#include "Media/Run/RunPlan.h"
#include "Media/StreamInfo.h"

#include <exception>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// The streams beside the picture on their way into the output: sound that is worked on or encoded anew
/// passes its track, subtitles of text become what the container takes, everything else is copied. One thread
/// at a time.
class NonVideoStreams {
public:
    /// Calls the maker of chains for every sound stream that can be decoded. The references outlive
    /// this.
    /// InputException where none can, though there is work for it; OptionsException, OutputException, and
    /// what the maker throws.
    NonVideoStreams(RunPlan const& plan, InputStreams const& input, ProgressMeter& progress,
                    std::stop_token stop);

    /// With that of the pictures, which may be null.
    StreamEncoders GetEncoders(VideoEncoder const* picture) const;
    /// FFmpeg's names, one for each sound stream; "" for those that are copied or left out.
    std::vector<std::string> GetEncoderNames() const;

    /// Takes a packet of the input, with the times of its stream there. OutputException; exceptions of the
    /// chains; Stopped.
    void Write(AVPacket& packet, Muxer& muxer);
    /// No more packets. As Write.
    void End(Muxer& muxer);

    /// Once ended.
    std::vector<std::string> GetNotes() const;

private:
    /// What is known of one stream of the input.
    struct Stream {
        bool isAudio = false;
        /// Why it cannot be decoded.
        std::exception_ptr failure;
        std::unique_ptr<AudioReEncode> track;
        std::unique_ptr<TextTrack> text;
        std::vector<std::string> notes;
    };

    void Add(Stream& stream, AVStream const& source, int number);
    std::unique_ptr<AudioEncoder> MakeEncoder(AVStream const& source, Conf::SampleInfo const& format,
                                              int wantedDepth) const;
    std::string DescribeCopyObstacle(AVStream const& source) const;
    void Count(AVPacket const& packet, AVStream const& source);
    TakePacket MakeTaker(std::size_t index, Muxer& muxer) const;

    RunPlan const& m_plan;
    InputStreams const& m_input;
    ProgressMeter& m_progress;
    std::stop_token m_stop;
    /// By their index in the input.
    std::vector<Stream> m_streams;
};

} // namespace Tarsel::Media
