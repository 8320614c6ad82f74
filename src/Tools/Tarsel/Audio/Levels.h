#pragma once

#include "Proc/Algorithms/AudioAlg/AudioLevels.h"
#include "Proc/Interfaces/IDataAudio.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Tarsel::Tools {

/// How loud one channel is over some time. A value.
struct Level : Proc::LevelSums {
    std::int64_t samples = 0;

    /// The largest magnitude.
    double GetPeak() const noexcept;
    double GetRms() const noexcept;
    /// Takes in what came after.
    void Add(Level const& later) noexcept;
};

/// A level in decibels of full scale; minus infinity for silence.
double ToDecibels(double level) noexcept;

/// The levels of audio over time, step by step. Not synchronized.
class LevelTrack {
public:
    /// One for each channel.
    using Row = std::vector<Level>;

    /// Rows of `step` samples, at least 1, the fraction spread over them. With `most`, an even number, there
    /// are never more rows than that: whenever they would be, each two become one and the step doubles.
    LevelTrack(std::size_t channels, double step, std::size_t most = 0);

    /// Begins a row where the last one is full; how many samples go into it still.
    std::int64_t MakeRoom();
    /// The levels of the next samples, not more than there is room for.
    void Add(Row const& piece);

    std::size_t GetChannelCount() const noexcept { return m_channels; }
    /// The last one may be shorter.
    std::vector<Row> const& GetRows() const noexcept { return m_rows; }
    /// The first sample of a row; of the one after the last, the number of samples so far.
    std::int64_t GetStart(std::size_t row) const noexcept;
    /// All rows as one.
    Row GetWhole() const;

private:
    std::int64_t GetBound(std::size_t row) const noexcept;
    void JoinRows();

    std::size_t m_channels;
    double m_step;
    std::size_t m_most;
    std::int64_t m_samples = 0;
    std::vector<Row> m_rows;
};

/// Takes the samples of a block, whatever its format, into all of the tracks at once, each read once.
/// EffectException as Proc::GetPlaneRef.
void AddBlock(Proc::IDataAudio const& block, std::span<LevelTrack> tracks);

} // namespace Tarsel::Tools
