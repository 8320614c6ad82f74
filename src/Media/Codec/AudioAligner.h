#pragma once

#include "Conf/SampleInfo.h"
#include "Core/Ratio.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

struct AVFrame;

namespace Tarsel::Media {

/// `count` samples of the block from its sample `first` on, which it has; no times. MemoryException.
Proc::SafeFrame CopySamples(AVFrame const& block, int first, int count);

/// Blocks of audio as one line: all of one format, each beginning where the one before ended. Where a block's
/// time says otherwise by no more than 40 ms (or two ticks of a coarser clock), the time is taken for
/// inexact: people do not notice less between audio and picture (ITU-R BT.1359). Beyond that a gap becomes
/// silence and an overlap is cut, to the sample; so it is with less where times that were exact to 2 ms (or
/// two ticks) for eight blocks take a step and keep to it for eight more, or where the caller knows of a
/// loss. Steps back of more than a second, and forward of more than half a day, are errors of the clock: the
/// audio goes on. Not synchronized.
class AudioAligner {
public:
    explicit AudioAligner(Conf::SampleInfo const& format) : m_format(format) {}

    Conf::SampleInfo const& GetFormat() const noexcept { return m_format; }
    /// The line begins at this time, before the first block; otherwise with that.
    void StartAt(std::int64_t microseconds);

    /// Takes in a block that starts at `time` in ticks of `timeBase`; AV_NOPTS_VALUE: where the one before
    /// ended. It is read, not changed. Before the next all results are taken. EffectException for a block
    /// that holds fewer samples than it says, and for audio that cannot be converted; MemoryException.
    void Feed(AVFrame const& block, std::int64_t time, Ratio timeBase);
    /// Something is lost before the next block: that its time is beside the end of the one before is
    /// believed.
    void ExpectLoss() noexcept { m_isExact = true; }
    /// No more blocks: releases what the conversion holds back.
    void End();
    /// The next piece of the line, its time in samples (1/rate); nothing when there is none (yet).
    std::optional<Proc::SafeFrame> Take();

    /// What the user should know, one sentence each.
    std::vector<std::string> GetNotes() const;

private:
    /// A block, or so much silence.
    struct Piece {
        std::optional<Proc::SafeFrame> block;
        std::int64_t silence = 0;
    };
    /// A block and where it says it belongs.
    struct Waiting {
        Proc::SafeFrame block;
        std::optional<std::int64_t> position;
    };

    void SetSource(Conf::SampleInfo const& source);
    /// Blocks that tell a clock in step from one that jitters.
    static constexpr std::size_t s_enoughBlocks = 8;

    bool HasToWait(std::optional<std::int64_t> position);
    void Settle(bool atTheirPlace);
    void Accept(Waiting waiting);
    int Place(std::int64_t position, int count);
    std::int64_t GetExpected() const noexcept;
    void StartSegment() noexcept;
    void AddSilence(std::int64_t count);
    void Add(Proc::SafeFrame block);
    void FlushConverter();
    Proc::SafeFrame TakeSilence();
    double ToSeconds(std::int64_t samples) const noexcept;

    Conf::SampleInfo m_format;
    std::optional<Conf::SampleInfo> m_source;
    /// Empty where nothing has to be converted.
    Proc::SafeSwrContext m_converter;
    std::deque<Piece> m_ready;
    bool m_started = false;
    /// How far the latest time was beside the end of the block before, and how many in a row were so far
    /// beside it: a new clock is trusted.
    std::int64_t m_ahead = 0;
    std::size_t m_inStep = s_enoughBlocks;
    /// Blocks after a step of the clock, until it is known whether it keeps to it.
    std::vector<Waiting> m_waiting;
    std::int64_t m_samplesWaiting = 0;
    /// What times of the present clock may be wrong by: in general, and where they count.
    std::int64_t m_tolerance = 0;
    std::int64_t m_precision = 0;
    /// The next time counts.
    bool m_isExact = false;
    /// The last block was dropped: all of it was there before.
    bool m_isCutting = false;
    /// Of the next sample into m_ready, and of the next out of it.
    std::int64_t m_next = 0;
    std::int64_t m_given = 0;
    /// Where the present run of blocks of one format began, and how many samples of it came in.
    std::int64_t m_segmentStart = 0;
    std::int64_t m_fed = 0;
    /// What is added to stated times since the clock jumped.
    std::int64_t m_offset = 0;
    std::int64_t m_gaps = 0;
    std::int64_t m_silence = 0;
    std::int64_t m_cut = 0;
    std::int64_t m_jumps = 0;
    std::vector<std::string> m_changes;
};

} // namespace Tarsel::Media
