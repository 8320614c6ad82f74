#include "Tools/Tarsel/Levels.h"

#include "Support/Sound.h"
#include "Tools/Tarsel/LevelReport.h"
#include "Tools/Tarsel/Waveform.h"

#include <gmock/gmock.h>

#include <limits>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;

std::vector<std::int64_t> GetLengths(LevelTrack const& track) {
    std::vector<std::int64_t> lengths;
    for (LevelTrack::Row const& row : track.GetRows())
        lengths.push_back(row[0].samples);
    return lengths;
}

TEST(Levels, OfEveryFormatAreOnOneScale) {
    for (std::uint32_t number = 0; number < 10; ++number) {
        auto const format = static_cast<Conf::SampleFormats>(number);
        SCOPED_TRACE(Conf::SampleFmtRecord::Find(format).name);
        auto const block =
            Proc::DataAudioFF::CreateBySampleCount({format, 8000, Conf::ChannelLayout::FromCount(3)}, 4);
        for (int i = 0; i < 4; ++i) {
            Tarsel::Test::SetSample(*block->GetAVFrame(), 0, i, -1);
            Tarsel::Test::SetSample(*block->GetAVFrame(), 1, i, i < 2 ? 0.5 : 0);
            Tarsel::Test::SetSample(*block->GetAVFrame(), 2, i, 0);
        }
        std::vector<LevelTrack> tracks{{3, 100}};
        AddBlock(*block, tracks);
        LevelTrack::Row const row = tracks[0].GetWhole();
        // The largest value of EstimateLevel would be 0 here.
        EXPECT_NEAR(row[0].GetPeak(), 1, 4e-5);
        EXPECT_NEAR(row[0].GetRms(), 1, 4e-5);
        EXPECT_EQ(row[0].highest, 0);
        EXPECT_NEAR(row[1].GetPeak(), 0.5, 4e-5);
        EXPECT_NEAR(row[1].GetRms(), 0.5 / std::sqrt(2), 4e-5);
        EXPECT_EQ(ToDecibels(row[2].GetPeak()), -std::numeric_limits<double>::infinity());
    }
}

/// A list of samples for each channel, into all of the tracks.
void AddSamples(std::span<LevelTrack> tracks, std::vector<std::vector<double>> const& samples) {
    AddBlock(
        *Tarsel::Test::MakeSound(
            {Conf::SampleFormats::DoublePlanar, 8000,
             Conf::ChannelLayout::FromCount(static_cast<std::uint8_t>(samples.size()))},
            static_cast<int>(samples[0].size()),
            [&](int c, auto i) { return samples[static_cast<std::size_t>(c)][static_cast<std::size_t>(i)]; }),
        tracks);
}

// Nor on what else is measured.
TEST(Levels, RowsDoNotDependOnTheBlocks) {
    for (std::size_t const blockSize : {1U, 3U, 10U}) {
        std::vector<LevelTrack> tracks{{1, 2.5}, {1, 1, 4}};
        for (std::size_t i = 0; i < 10; i += blockSize) {
            std::vector<double> block;
            for (std::size_t n = i; n < std::min(i + blockSize, std::size_t{10}); ++n)
                block.push_back(-0.1 * static_cast<double>(n));
            AddSamples(tracks, {block});
        }
        EXPECT_THAT(GetLengths(tracks[0]), ElementsAre(3, 2, 3, 2));
        EXPECT_THAT(GetLengths(tracks[1]), ElementsAre(4, 4, 2));
        EXPECT_EQ(tracks[0].GetStart(1), 3);
        EXPECT_EQ(tracks[0].GetStart(4), 10);
        EXPECT_DOUBLE_EQ(tracks[0].GetRows()[1][0].GetPeak(), 0.4);
        for (LevelTrack const& track : tracks) {
            EXPECT_DOUBLE_EQ(track.GetWhole()[0].GetPeak(), 0.9);
            EXPECT_NEAR(track.GetWhole()[0].GetRms(), std::sqrt(0.01 * 285 / 10), 1e-12);
        }
    }
}

TEST(Levels, NumberOfRowsIsHeldByDoublingTheStep) {
    LevelTrack track(1, 1, 4);
    for (int n = 1; n <= 11; ++n)
        AddSamples({&track, 1}, {{n == 9 ? -0.9 : n / 100.0}});
    EXPECT_THAT(GetLengths(track), ElementsAre(4, 4, 3));
    EXPECT_EQ(track.GetStart(2), 8);
    EXPECT_DOUBLE_EQ(track.GetRows()[0][0].highest, 0.04);
    EXPECT_DOUBLE_EQ(track.GetRows()[2][0].lowest, -0.9);
    EXPECT_DOUBLE_EQ(track.GetRows()[2][0].highest, 0.11);
}

TEST(Levels, UsualIntervalsMakeAPageOfRows) {
    for (auto const& [seconds, interval] : std::vector<std::pair<double, double>>{
             {0, 1}, {0.01, 0.1}, {4, 0.1}, {4.01, 0.2}, {180, 5}, {7200, 300}, {1e9, 3600}})
        EXPECT_EQ(ChooseInterval(static_cast<std::int64_t>(seconds * 1e6)), interval) << seconds;
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
    // Shorter sound than columns is stretched; none at all is a silent picture.
    EXPECT_EQ(ReadColumn(*DrawWaveform(track, 30, 10), 29), ReadColumn(*DrawWaveform(track, 6, 10), 5));
    EXPECT_EQ(ReadColumn(*DrawWaveform(LevelTrack(1, 1, 8), 2, 5), 1), ".....");
}

} // namespace
} // namespace Tarsel::Tools
