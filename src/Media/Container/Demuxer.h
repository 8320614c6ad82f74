#pragma once

#include "Core/Ratio.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/Sequence.h"
#include "Media/Container/ClockJumps.h"
#include "Media/Container/FileEnd.h"
#include "Media/Container/InputPipe.h"
#include "Media/Container/LastFrames.h"
#include "Media/Container/StatedEnds.h"
#include "Media/Input.h"
#include "Media/Range/RangeEnd.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

struct AVStream;

namespace Tarsel::Media {

/// Images a second of a sequence where nobody says.
constexpr Ratio s_usualImageRate{25, 1};

/// Reads the packets of a media file. One thread at a time.
class Demuxer {
public:
    /// Opens the file, or the pipe, and looks into it. InputException when it is no media file or has neither
    /// pictures nor audio; Stopped. The name of a sequence means all its images, so many a second; 0/1:
    /// s_usualImageRate.
    Demuxer(Input const& input, std::stop_token stop, Ratio imageRate = {});
    ~Demuxer();
    /// The same input from its start, with the same streams to work on. As the constructor.
    std::unique_ptr<Demuxer> Reopen() const;
    /// It is not reopened any more, nor are others of the same input: what all of them have read of a pipe is
    /// let go.
    void ForgetRead() const;
    /// Other streams than the best of their kinds; −1: none. Before the first packet is read.
    void WorkOn(int video, int audio) noexcept;

    std::filesystem::path const& GetPath() const noexcept { return m_input.GetName(); }
    AVFormatContext const& GetContext() const noexcept { return *m_context; }
    /// Index of the stream of pictures that is worked on: the best video stream, a cover picture only where
    /// there is nothing else, or that of WorkOn; −1: none.
    int GetVideoIndex() const noexcept { return m_video; }
    /// Index of the best audio stream, or that of WorkOn; −1: none.
    int GetAudioIndex() const noexcept { return m_audio; }
    bool HasVideo() const noexcept { return m_video >= 0; }
    /// That stream, which there has to be.
    AVStream const& GetVideo() const noexcept;
    /// Frames a second; 0/1 when not known.
    Ratio GetFrameRate() const noexcept;
    /// A rate at which every picture has a place of its own, however unevenly they follow: the nominal one,
    /// or that of the least distance between them as far as FFmpeg measured it.
    Ratio GetFinestRate() const noexcept;
    /// Whether what is worked on is the cover of an audio file.
    bool IsCover() const noexcept;
    /// Whether what is worked on is one still picture and no film.
    bool IsStill() const noexcept;
    /// Whether it is made of numbered files, and so is a film of still pictures.
    bool IsSequence() const noexcept { return m_sequence.has_value(); }
    /// Whether the container states times. Those of bare streams of one codec are FFmpeg's guesses.
    bool HasTimes() const;
    /// Where the picture stream starts and how long it lasts, in microseconds; 0 when not known. Of the best
    /// audio stream where there are no pictures but a cover.
    std::int64_t GetStart() const noexcept;
    std::int64_t GetDuration() const noexcept;

    /// The next packet of any stream; false at the end. Its times are in the stream's time base; broadcast
    /// clocks, which start anywhere and jump, are made to start at 0 and go on. InputException when the file
    /// cannot be read further; Stopped.
    bool Read(AVPacket& packet);
    /// Goes on at the last key frame of the picture stream not after the time, in microseconds; false when
    /// the file cannot, as a pipe.
    bool Seek(std::int64_t microseconds);
    /// Whether what follows such a key frame comes out as if all had been read from the start.
    bool SeeksExactly() const noexcept;
    /// From now on nothing is read that lies after the span.
    void EndWith(Span const& span);
    /// Passes over the picture stream where that is fast, until another stream has come to the time, in
    /// microseconds. Before the first packet is read.
    void SkipVideoBefore(std::int64_t microseconds);

    /// What the user should know of the reading, one sentence each.
    std::vector<std::string> GetNotes() const;

private:
    static int IsInterrupted(void* self) noexcept;
    void Open();
    void OpenFile();
    void OpenPipe();
    int OpenContext(AVFormatContext* fresh);
    void Check(int error) const;
    void CheckPipe(int error) const;
    bool CanSeek() const noexcept;
    int FindVideo() const;
    AVStream const& GetMain() const noexcept;
    bool IsAtEnd(int error) const noexcept;
    void LookAtEnd(std::int64_t last);
    void CorrectTimes(AVPacket& packet);
    void EndSkipping(AVPacket const& packet);

    Input m_input;
    std::stop_token m_stop;
    std::optional<Sequence> m_sequence;
    Ratio m_imageRate;
    /// One of these is what it reads; of a sequence the first image.
    UniqueFile m_file;
    std::unique_ptr<PipeReader> m_pipe;
    AVIOContext* m_io = nullptr;
    /// All of the pipe had to come before the first packet could be read.
    bool m_isIndexBehind = false;
    UniqueInput m_context;
    int m_video = -1;
    int m_audio = -1;
    /// Of a broadcast clock, in microseconds.
    bool m_isBroadcast = false;
    std::int64_t m_clockStart = 0;
    ClockJumps m_jumps;
    std::int64_t m_damaged = 0;
    /// The packet read last, and whether it was counted; and the last one of all.
    bool m_lastDamaged = false;
    bool m_lastCounted = false;
    bool m_endsDamaged = false;
    bool m_brokeOff = false;
    StatedEnds m_ends;
    LastFrames m_lastFrames;
    FileEnd m_fileEnd;
    /// All was read, from the start on.
    bool m_isWhole = false;
    bool m_hasJumped = false;
    RangeEnd m_rangeEnd;
    /// Until then, in microseconds, the picture stream is passed over.
    std::int64_t m_skippedBefore = INT64_MIN;
};

} // namespace Tarsel::Media
