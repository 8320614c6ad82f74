#pragma once

#include "Core/RefCount.h"
#include "Core/Throw.h"
#include "Media/Base/Times.h"
#include "Media/Codec/VideoDecoder.h"
#include "Media/Container/Demuxer.h"
#include "Media/Range/Span.h"
#include "Media/Read/FrameFitter.h"
#include "Media/Read/ImageFacts.h"
#include "Media/StreamInfo.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// A decoded picture, stamped with microseconds, and its own time in ticks of VideoStreamInfo::timeBase.
struct SourceFrame {
    SP<Proc::IDataVideo> data;
    FrameTime time;
};

/// The pictures of an input file, or those of a span of it, with the times that they have in the output. One
/// thread at a time.
class VideoSource {
public:
    /// InputException also when the file has no pictures; Stopped.
    VideoSource(Input const& input, std::stop_token stop);
    /// Reads on from a file that has just been opened; the span's beginning is sought where that gives the
    /// same pictures as reading all before it.
    VideoSource(std::unique_ptr<Demuxer> demuxer, std::stop_token stop, Span const& span = {});

    /// All pictures become like the first one (see FrameFitter); otherwise they come as they are. Before the
    /// first is decoded.
    void FitFrames(bool mayScale) { m_fitter.emplace(m_path, mayScale); }
    /// The same, like another frame: that with which the file begins. After FitFrames.
    void FitTo(AVFrame const& first) { m_fitter.value().FitTo(first); }

    Demuxer const& GetDemuxer() const noexcept { return *m_demuxer; }
    /// What the first picture and the file say of the picture stream, but not whether it can be copied.
    /// Decodes the first picture, which Next will still give. InputException when there is none,
    /// OptionsException when there is none in the span; Stopped.
    VideoStreamInfo GetInfo();
    /// Of the first picture, in microseconds; 0 when not known. After GetInfo and before Next.
    std::int64_t GetFirstDuration() const;
    /// What the first picture says beside its pixels. After GetInfo and before Next.
    ImageFacts ListFacts() const;
    /// The next picture; nothing at the end. A still picture's file gives one. InputException, Stopped.
    std::optional<SourceFrame> Next();
    /// Whether the pictures' packets say when they are shown, as far as they have been read.
    bool HasPacketTimes() const noexcept { return m_hasPacketTimes; }
    /// The pictures' first one. After GetInfo.
    AVPacket const& GetFirstPacket() const noexcept { return *m_firstPacket; }

    /// Goes to the picture shown at this many microseconds of the file: Next gives that picture and then the
    /// end. OptionsException when the film is over by then; InputException; Stopped.
    void SelectFrame(std::int64_t microseconds);

    /// Of the pictures' packets that were read.
    std::int64_t GetByteCount() const noexcept { return m_bytes; }
    std::int64_t GetFrameCount() const noexcept { return m_frames; }
    /// Where the last picture ends that was decoded, in microseconds of the file.
    std::int64_t GetEnd() const noexcept { return m_end; }
    /// Of the pictures; those of the file are the demuxer's.
    std::vector<std::string> GetNotes() const;

private:
    void Restart();
    std::optional<SourceFrame> Read();
    void SeekSpan();
    bool IsInTime(DecodedFrame const& first) const;
    std::optional<SourceFrame> Place(DecodedFrame decoded);
    Ratio GetTimeBase() const;
    bool ReadPacket();
    std::optional<SourceFrame> FindShownAt(std::int64_t microseconds, bool fromStart);
    [[noreturn]] void ThrowNoPicture(Core::Site const& site = Core::Site::Here()) const;

    std::filesystem::path m_path;
    std::stop_token m_stop;
    Span m_span;
    std::unique_ptr<Demuxer> m_demuxer;
    std::unique_ptr<VideoDecoder> m_decoder;
    std::optional<FrameFitter> m_fitter;
    UniquePacket m_packet;
    UniquePacket m_firstPacket;
    /// Read ahead.
    std::optional<SourceFrame> m_ahead;
    /// The picture of a file of stills has been decoded.
    bool m_hasEnough = false;
    bool m_draining = false;
    bool m_hasPacketTimes = true;
    bool m_ended = false;
    /// What the decoder says of a still picture that is not whole.
    std::string m_damage;
    std::int64_t m_frames = 0;
    std::int64_t m_packets = 0;
    std::int64_t m_bytes = 0;
    /// Where the last decoded picture ends, in microseconds of the file.
    std::int64_t m_end = 0;
    bool m_hasPictures = false;
    /// The demuxer was sent to a key frame; the first picture has yet to show that it went far enough back.
    bool m_isSought = false;
};

} // namespace Tarsel::Media
