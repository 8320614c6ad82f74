#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Core/Ratio.h"
#include "Core/RefCount.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/Times.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Codec/VideoConversion.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Proc/Wrappers/SafeSwsContext.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Media {

/// A picture out of the chain, with its time in the chain's time base.
struct WorkedFrame {
    SP<Proc::IDataVideo> data;
    FrameTime time;
};

/// How to encode.
struct EncoderRequest {
    AVCodec const* encoder = nullptr;
    EncoderOptions options;
    Quality quality = s_usualQuality;
    AVOutputFormat const* container = nullptr;
    /// Of the times of pictures.
    Ratio timeBase;
    /// Frames a second of the input; 0/1 when not known.
    Ratio inputRate;
    /// Of the input's first picture, in microseconds; 0 when not known.
    std::int64_t inputDuration = 0;
    /// One picture.
    bool isStill = false;
    /// Of the input's pictures; nothing where theirs do not matter.
    Conf::Color::Form input;
};

/// Encodes pictures, on as many threads as ChooseCodecThreads says. One thread at a time.
class VideoEncoder {
public:
    /// Opens the encoder for pictures like `first`: size, format, aspect and colors are its.
    /// OptionsException, OutputException.
    VideoEncoder(EncoderRequest const& request, WorkedFrame const& first);
    ~VideoEncoder();

    AVCodecContext const& GetContext() const noexcept { return *m_context; }
    Ratio GetTimeBase() const noexcept { return m_timeBase; }
    /// What it was told.
    EncoderOptions const& GetOptions() const noexcept { return m_options; }
    /// The first picture, as it went in: its side data describe the stream.
    AVFrame const& GetFirstFrame() const noexcept { return *m_first->GetAVFrame(); }

    /// `tell` gets every picture as the encoder does, with its time in GetTimeBase(). Before the first.
    void Watch(std::function<void(AVFrame const&, FrameTime const&)> tell) { m_tell = std::move(tell); }

    /// Takes a picture like the first one. Before the next all packets are received. OutputException.
    void Send(WorkedFrame const& frame);
    /// No more pictures.
    void End();
    /// The next packet, its times those of its picture in GetTimeBase(); null when there is none yet. It is
    /// the caller's until the next call.
    AVPacket* Receive();

    /// What the user should know, one sentence each: what the encoder's choice costs, known from the start;
    /// and what came up.
    std::vector<std::string> DescribeLosses() const;
    std::vector<std::string> GetNotes() const;

private:
    void Open(EncoderRequest const& request);
    void SetInterlacing(AVFrame const& frame);
    std::string DescribeConversion() const;
    void CheckLikeFirst(WorkedFrame const& frame) const;
    Proc::SafeFrame Convert(AVFrame const& frame) const;
    void SendFrame(AVFrame const* frame);
    std::int64_t ToOwnTime(std::int64_t encoderTime) const;

    SP<Proc::IDataVideo> m_first;
    std::function<void(AVFrame const&, FrameTime const&)> m_tell;
    Ratio m_timeBase;
    Ratio m_frameRate;
    VideoConversion m_conversion;
    bool m_wholeChroma = false;
    Proc::SafeSwsContext m_scaler;
    UniqueCodecContext m_context;
    EncoderOptions m_options;
    UniquePacket m_packet;
    /// The times of the latest pictures, by the times the encoder knows them by.
    std::map<std::int64_t, FrameTime> m_times;
    std::int64_t m_lastTime = INT64_MIN;
    /// The file keeps no times but the rate.
    bool m_countsFrames = false;
    std::int64_t m_unevenTimes = 0;
    std::int64_t m_frames = 0;
    std::int64_t m_packets = 0;
    bool m_losesFields = false;
    bool m_losesFullRange = false;
    bool m_losesLight = false;
};

} // namespace Tarsel::Media
