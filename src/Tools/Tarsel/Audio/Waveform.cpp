#include "Tools/Tarsel/Audio/Waveform.h"

#include "Proc/Data/DataVideoFF.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace Tarsel::Tools {
namespace {

using Color = std::array<std::uint8_t, 3>;

constexpr Color s_background{16, 20, 24};
constexpr Color s_border{48, 56, 64};
constexpr Color s_axis{72, 84, 96};

struct Shades {
    Color range;
    Color rms;
};

constexpr Shades s_blue{{46, 110, 168}, {120, 190, 240}};
/// Full scale was reached.
constexpr Shades s_red{{200, 50, 40}, {250, 130, 120}};

/// The rows of pixels from `top` on that belong to one channel.
struct Lane {
    std::uint32_t top;
    std::uint32_t height;

    /// The row of pixels of a value; what is beyond full scale is at the edge.
    std::uint32_t GetRow(double value) const {
        double const place = (1 - std::clamp(std::isnan(value) ? 0.0 : value, -1.0, 1.0)) / 2;
        return top + static_cast<std::uint32_t>(std::lround(place * (height - 1)));
    }
};

class Canvas {
public:
    explicit Canvas(Proc::WritablePlane const& plane) : m_plane(plane) {}

    void Fill(std::uint32_t column, std::uint32_t from, std::uint32_t to, Color const& color) const {
        for (std::uint32_t row = from; row <= to; ++row)
            std::ranges::copy(color, m_plane.data + static_cast<std::ptrdiff_t>(row) * m_plane.lineSize +
                                         std::ptrdiff_t{3} * column);
    }

private:
    Proc::WritablePlane m_plane;
};

/// The level of channel `channel` in column `column` of `columns`: of all rows that lie in it.
Level GetColumn(LevelTrack const& track, std::size_t channel, std::uint32_t column, std::uint32_t columns) {
    auto const& rows = track.GetRows();
    Level level;
    if (rows.empty())
        return level;
    std::int64_t const samples = track.GetStart(rows.size());
    std::int64_t const step = track.GetStart(1);
    std::int64_t const first = samples * column / columns;
    std::int64_t const last = std::max(first, samples * (column + 1) / columns - 1);
    for (auto row = first / step; row <= last / step; ++row)
        level.Add(rows[static_cast<std::size_t>(row)][channel]);
    return level;
}

void DrawColumn(Canvas const& canvas, std::uint32_t column, Lane const& lane, Level const& level) {
    canvas.Fill(column, lane.top, lane.top + lane.height - 1, s_background);
    if (lane.top > 0)
        canvas.Fill(column, lane.top, lane.top, s_border);
    canvas.Fill(column, lane.GetRow(0), lane.GetRow(0), s_axis);
    if (level.highest == 0 && level.lowest == 0)
        return;
    Shades const& shades = level.GetPeak() >= 1 ? s_red : s_blue;
    double const rms = level.GetRms();
    canvas.Fill(column, lane.GetRow(level.highest), lane.GetRow(level.lowest), shades.range);
    canvas.Fill(column, lane.GetRow(std::min(rms, level.highest)), lane.GetRow(std::max(-rms, level.lowest)),
                shades.rms);
}

} // namespace

SP<Proc::IDataVideo> DrawWaveform(LevelTrack const& track, std::uint32_t width, std::uint32_t height) {
    auto picture = MakeSP<Proc::DataVideoFF>(Conf::ColorSpace(), Conf::PixFmt::RGB24,
                                             Conf::FrameInfo{width, height, 1, 1});
    Canvas const canvas(picture->GetWritablePlane(0));
    auto const channels = static_cast<std::uint32_t>(track.GetChannelCount());
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
        std::uint32_t const top = height * channel / channels;
        Lane const lane{top, height * (channel + 1) / channels - top};
        if (lane.height == 0)
            continue;
        for (std::uint32_t column = 0; column < width; ++column)
            DrawColumn(canvas, column, lane, GetColumn(track, channel, column, width));
    }
    return picture;
}

} // namespace Tarsel::Tools
