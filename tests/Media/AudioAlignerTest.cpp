// Blocks with times of their own become one line.

#include "Media/Codec/AudioAligner.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Conf::SampleInfo MonoAt(std::int32_t rate) {
    return {Conf::SampleFormats::Float, rate, Conf::ChannelLayout::FromCount(1)};
}

class AudioAlignerTest : public testing::Test {
protected:
    /// A block of so many samples, each with its number among all that were made.
    SP<Proc::IDataAudio> MakeBlock(int count, std::int32_t rate = 1000) {
        auto block = Proc::DataAudioFF::CreateBySampleCount(MonoAt(rate), count);
        for (int i = 0; i < count; ++i)
            reinterpret_cast<float*>(block->GetAVFrame()->data[0])[i] = ++m_number;
        return block;
    }
    /// Times in milliseconds, which are samples.
    void Feed(int count, std::int64_t time) {
        m_aligner.Feed(*MakeBlock(count)->GetAVFrame(), time, {1, 1000});
        TakeAll(m_aligner);
    }
    void TakeAll(Media::AudioAligner& line) {
        while (auto const block = line.Take()) {
            if (m_samples.empty())
                m_start = (*block)->pts;
            EXPECT_EQ((*block)->pts, m_start + static_cast<std::int64_t>(m_samples.size()));
            m_longest = std::max(m_longest, (*block)->nb_samples);
            auto const* const samples = reinterpret_cast<float const*>((*block)->data[0]);
            m_samples.insert(m_samples.end(), samples, samples + (*block)->nb_samples);
        }
    }
    std::vector<float> Part(std::ptrdiff_t from, std::ptrdiff_t to) const {
        return {m_samples.begin() + from, m_samples.begin() + to};
    }

    Media::AudioAligner m_aligner{MonoAt(1000)};
    std::int64_t m_start = 0;
    std::vector<float> m_samples;
    int m_longest = 0;
    float m_number = 0;
};

TEST_F(AudioAlignerTest, InexactTimesMoveNothing) {
    Feed(100, 500);
    Feed(100, 640);            // 40 ms late
    Feed(100, 660);            // 40 ms early
    Feed(100, AV_NOPTS_VALUE); // none at all
    Feed(100, INT64_MAX);
    EXPECT_EQ(m_start, 500);
    ASSERT_EQ(m_samples.size(), 500U);
    EXPECT_EQ(m_samples.back(), 500);
    EXPECT_THAT(m_aligner.GetNotes(), IsEmpty());
}

TEST_F(AudioAlignerTest, GapsAndOverlapsKeepTheRestInPlace) {
    Feed(100, 0);
    Feed(2, 2500); // silence in pieces of a second at most
    ASSERT_EQ(m_samples.size(), 2502U);
    EXPECT_EQ(m_longest, 1000);
    EXPECT_THAT(Part(99, 102), ElementsAre(100, 0, 0));
    EXPECT_THAT(Part(2499, 2502), ElementsAre(0, 101, 102));
    Feed(200, 2402); // its first 100 samples were there
    Feed(50, 2500);  // all of it
    Feed(1, 2602);
    ASSERT_EQ(m_samples.size(), 2603U);
    EXPECT_THAT(Part(2501, 2504), ElementsAre(102, 203, 204));
    EXPECT_EQ(m_samples.back(), 353);
    EXPECT_THAT(m_aligner.GetNotes(), ElementsAre("Filled 1 audio gap with silence, 2.400 s in all.",
                                                  "Cut 0.150 s of audio that overlapped earlier audio."));
}

// However the audio that comes again is cut into blocks.
TEST_F(AudioAlignerTest, OverlapsAreCutToTheSample) {
    for (int const length : {30, 64, 500}) {
        SCOPED_TRACE(length);
        m_aligner = Media::AudioAligner(MonoAt(1000));
        m_samples.clear();
        for (int const start : {0, 500}) {
            m_number = static_cast<float>(start);
            for (int at = start; at < start + 1000; at += length)
                Feed(length, at);
        }
        int const first = (1000 + length - 1) / length * length; // the end of the first pass
        for (int const at : {first - 1, first, first + 100})
            EXPECT_EQ(m_samples[static_cast<std::size_t>(at)], at + 1);
        EXPECT_THAT(m_aligner.GetNotes(),
                    ElementsAre(fmt::format("Cut {:.3f} s of audio that overlapped earlier audio.",
                                            (first - 500) / 1000.0)));
    }
}

// A packet of 21 ms is lost, known or not, or comes twice; then the same deviation within jitter.
TEST_F(AudioAlignerTest, SmallStepsThatLastAreBelieved) {
    struct {
        char const* name;
        bool isKnown;
        bool jitters;
        int step;
        std::size_t length;
        float after; // the sample at 210
    } const cases[] = {{"known", true, true, 21, 820, 0},
                       {"lasting", false, false, 21, 820, 0},
                       {"jitter", false, true, 21, 800, 211},
                       {"twice", false, false, -21, 780, 231}};
    for (auto const& row : cases) {
        SCOPED_TRACE(row.name);
        m_aligner = Media::AudioAligner(MonoAt(1000));
        m_samples.clear();
        m_number = 0;
        for (int i = 0; i < 40; ++i) {
            if (i == 10 && row.isKnown)
                m_aligner.ExpectLoss();
            int const jitter = !row.jitters || i < 10 ? i % 2 : i % 2 * 8 * (i % 3 - 1);
            int const late = i >= 10 ? row.step : 0;
            Feed(20, i * 20 + late + jitter);
        }
        m_aligner.End();
        TakeAll(m_aligner);
        EXPECT_NEAR(static_cast<double>(m_samples.size()), static_cast<double>(row.length), 2);
        EXPECT_EQ(m_samples[210], row.after);
        EXPECT_EQ(m_samples.back(), 800);
        EXPECT_EQ(m_aligner.GetNotes().size(), row.jitters && !row.isKnown ? 0U : 1U);
    }
}

TEST_F(AudioAlignerTest, BlocksHoldWhatTheySay) {
    struct {
        int count;
        char const* text;
    } const cases[] = {
        {50'000'000, "A block of audio said to be of 50000000 samples of 1000 Hz flt mono holds fewer"},
        {-7, "A block of audio is said to be of -7 samples"}};
    for (auto const& row : cases) {
        auto const block = MakeBlock(100);
        block->GetAVFrame()->nb_samples = row.count;
        try {
            m_aligner.Feed(*block->GetAVFrame(), 0, {1, 1000});
            ADD_FAILURE() << row.count;
        } catch (Proc::EffectException const& exception) {
            EXPECT_STREQ(exception.what(), row.text);
        }
        block->GetAVFrame()->nb_samples = 100;
    }
}

TEST_F(AudioAlignerTest, JumpsOfTheClockArePassedOver) {
    Feed(2000, 5000);
    Feed(100, 0);
    Feed(100, 100);
    Feed(100, std::int64_t{1} << 40);
    Feed(100, (std::int64_t{1} << 40) + 100);
    ASSERT_EQ(m_samples.size(), 2400U);
    EXPECT_EQ(m_samples.back(), 2400);
    EXPECT_THAT(m_aligner.GetNotes(),
                ElementsAre("Ignored 2 clock jumps: the timestamps of the audio are not continuous."));
}

// Two rates, a gap between and a change in the middle: a tone keeps its place and its end.
TEST_F(AudioAlignerTest, ConversionsLoseNoTime) {
    Media::AudioAligner line(MonoAt(48000));
    auto const feed = [&](std::int32_t rate, double from, double to) {
        int const step = rate / 50;
        for (double time = from; time < to - 0.001; time += 0.02) {
            auto const block = Proc::DataAudioFF::CreateBySampleCount(MonoAt(rate), step);
            for (int i = 0; i < step; ++i)
                reinterpret_cast<float*>(block->GetAVFrame()->data[0])[i] =
                    static_cast<float>(std::sin(2 * std::numbers::pi * 440 * (time + double(i) / rate)));
            line.Feed(*block->GetAVFrame(), std::llround(time * 1e6), {1, 1000000});
            TakeAll(line);
        }
    };
    feed(44100, 0, 0.4);
    feed(44100, 0.6, 0.8);
    feed(32000, 0.8, 1);
    line.End();
    TakeAll(line);
    ASSERT_EQ(m_samples.size(), 48000U);
    EXPECT_THAT(line.GetNotes(), testing::Contains("Converted the audio from 0.800 s on, where it changes "
                                                   "from 44100 Hz flt mono to 32000 Hz flt mono."));
    for (double const time : {0.1, 0.3, 0.5, 0.7, 0.9}) {
        auto const at = static_cast<std::size_t>(time * 48000);
        for (std::size_t i = at; i < at + 100 && i < m_samples.size(); ++i)
            EXPECT_NEAR(m_samples[i],
                        time == 0.5 ? 0 : std::sin(2 * std::numbers::pi * 440 * double(i) / 48000), 0.001);
    }
}

} // namespace
} // namespace Tarsel::Test
