#include "Tools/Tarsel/Levels.h"

#include "Support/Audio.h"
#include "Tools/Tarsel/LevelReport.h"
#include "Tools/Tarsel/Waveform.h"

#include <gmock/gmock.h>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using Samples = std::vector<double>;

std::vector<std::int64_t> GetLengths(LevelTrack const& track) {
    std::vector<std::int64_t> lengths;
    for (LevelTrack::Row const& row : track.GetRows())
        lengths.push_back(row[0].samples);
    return lengths;
}

/// A list of samples for each channel, into all of the tracks.
void AddSamples(std::span<LevelTrack> tracks, std::vector<Samples> const& samples) {
    auto const layout = Conf::ChannelLayout::FromCount(static_cast<std::uint8_t>(samples.size()));
    auto const at = [&](int channel, std::int64_t i) {
        return samples[static_cast<std::size_t>(channel)][static_cast<std::size_t>(i)];
    };
    AddBlock(*Tarsel::Test::MakeAudio({Conf::SampleFormats::DoublePlanar, 8000, layout},
                                      static_cast<int>(samples[0].size()), at),
             tracks);
}

/// The kinds of pixels from top to bottom: blue and light blue, red and light red, others.
std::string ReadColumn(Proc::IDataVideo const& picture, std::uint32_t column) {
    auto const plane = picture.GetReadOnlyPlane(0);
    std::string kinds;
    for (std::uint32_t row = 0; row < plane.rows; ++row) {
        auto const* const pixel = plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize + 3 * column;
        kinds += pixel[2] > 220   ? 'B'
                 : pixel[2] > 150 ? 'b'
                 : pixel[0] > 220 ? 'R'
                 : pixel[0] > 150 ? 'r'
                                  : '.';
    }
    return kinds;
}

TEST(Waveform, ShowsRangeAndRmsOfEachLane) {
    // Columns of two samples; the first channel's lane takes five rows, the second's as many.
    LevelTrack track(2, 1, 8);
    AddSamples({&track, 1}, {{0, 0, 0.5, 0.5, 1, -0.5}, {0, 0, 0, 0, 0, -0.9}});
    auto const picture = DrawWaveform(track, 3, 10);
    EXPECT_EQ(picture->GetFrameInfo().width, 3U);
    EXPECT_EQ(ReadColumn(*picture, 0), "..........");
    EXPECT_EQ(ReadColumn(*picture, 1), ".BB.......");
    EXPECT_EQ(ReadColumn(*picture, 2), "RRRR...BBb");
    // Shorter audio than columns is stretched; none at all is a silent picture.
    EXPECT_EQ(ReadColumn(*DrawWaveform(track, 30, 10), 29), ReadColumn(*DrawWaveform(track, 6, 10), 5));
    EXPECT_EQ(ReadColumn(*DrawWaveform(LevelTrack(1, 1, 8), 2, 5), 1), ".....");
}

} // namespace
} // namespace Tarsel::Tools
