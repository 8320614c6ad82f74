#pragma once

#include "Proc/Interfaces/IDataAudio.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tarsel::Tools {

/// The samples of a block as real numbers with full scale at 1.0 (see Proc::GetAudioSamples), a list for each
/// channel.
using ChannelSamples = std::vector<std::vector<double>>;

/// Replaces `samples` by those of the block, whatever its format. EffectException as Proc::JoinedAudio.
void ReadSamples(Proc::IDataAudio const& block, ChannelSamples& samples);

/// How loud one channel is over some time. All of it is Proc::EstimateLevel's, whose peak is the largest
/// value: a second estimate, of the samples turned over, gives the lowest. A value.
struct Level {
    /// 0 where no sample is above it, and below it.
    double highest = 0;
    double lowest = 0;
    /// The sum of the samples' squares.
    double squares = 0;
    std::int64_t samples = 0;

    /// The largest magnitude.
    double GetPeak() const noexcept;
    double GetRms() const noexcept;
    /// Takes in what came after.
    void Add(Level const& later) noexcept;
};

/// Of samples that follow one another.
Level MeasureLevel(double const* samples, std::size_t count);

/// A level in decibels of full scale; minus infinity for silence.
double ToDecibels(double level) noexcept;

/// The levels of sound over time, step by step. Not synchronised.
class LevelTrack {
public:
    /// One for each channel.
    using Row = std::vector<Level>;

    /// Rows of `step` samples, at least 1, the fraction spread over them. With `most`, an even number, there
    /// are never more rows than that: whenever they would be, each two become one and the step doubles.
    LevelTrack(std::size_t channels, double step, std::size_t most = 0);

    /// As many lists as channels, all of one length.
    void Add(ChannelSamples const& samples);

    std::size_t GetChannelCount() const noexcept { return m_channels; }
    /// The last one may be shorter.
    std::vector<Row> const& GetRows() const noexcept { return m_rows; }
    /// The first sample of a row; of the one after the last, the number of samples so far.
    std::int64_t GetStart(std::size_t row) const noexcept;
    /// All rows as one.
    Row GetWhole() const;

private:
    std::int64_t GetBound(std::size_t row) const noexcept;
    void StartRow();

    std::size_t m_channels;
    double m_step;
    std::size_t m_most;
    std::int64_t m_samples = 0;
    std::vector<Row> m_rows;
};

} // namespace Tarsel::Tools
