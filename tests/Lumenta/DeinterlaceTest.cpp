#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Settings/Denoise.h"
#include "Proc/Wrappers/FrameFields.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/frame.h>
}

/// Frames and fields out of interlaced frames: all of them, in order, in time.
namespace Tarsel::Test {
namespace {

using Proc::IDataVideo;
using FrameMode = Proc::SettingsDeinterlace::FrameMode;

/// Time, duration, and the luma of the field, which is all over the picture.
using Out = std::tuple<std::int64_t, std::int64_t, int>;

/// Interlaced, upper field first. Fields are numbered through the clip; each is of one brightness, its number
/// times ten.
SP<IDataVideo> MakeInterlaced(int index, std::int64_t time, std::int64_t duration) {
    SP<IDataVideo> data = MakeFrame(Conf::PixFmt::YUV420P, s_small, time, duration);
    for (int i = 0; i < 3; ++i) {
        Proc::WritablePlane const plane = data->GetWritablePlane(i);
        for (std::uint32_t y = 0; y < plane.rows; ++y)
            std::fill_n(plane.data + y * plane.lineSize, plane.rowBytes,
                        static_cast<std::uint8_t>((2 * index + static_cast<int>(y % 2)) * 10));
    }
    Proc::SetFrameFieldOrder(*data->GetAVFrame(), Proc::FieldOrder::TopFirst);
    return data;
}

struct Span {
    std::int64_t time;
    std::int64_t duration;
};

/// The fields that the frames were made of: the rows of their parity are as they were.
std::vector<Out> RunMode(Proc::IOneInputEffectVideo& effect, std::vector<Span> const& frames, bool fields) {
    FrameList in;
    for (std::size_t i = 0; i < frames.size(); ++i)
        in.push_back(MakeInterlaced(static_cast<int>(i), frames[i].time, frames[i].duration));
    std::vector<Out> out;
    for (SP<IDataVideo> const& data : RunStream(effect, in)) {
        Proc::ReadOnlyPlane const luma = data->GetReadOnlyPlane(0);
        bool const isSecond = fields && out.size() % 2 == 1;
        int const field = luma.data[(s_small.height / 2 + (isSecond ? 1 : 0)) * luma.lineSize] / 10;
        out.emplace_back(data->GetTime(), data->GetDuration(), field);
    }
    return out;
}

SP<Proc::IOneInputEffectVideo> Make(FrameMode mode) {
    Proc::SettingsDeinterlace settings;
    settings.frameMode = mode;
    return MakeEffect(settings);
}

TEST(Deinterlace, GivesEveryFrameOrFieldInItsTime) {
    for (std::vector<Span> const& frames : std::vector<std::vector<Span>>{
             {{0, 40000}, {40000, 40000}, {80000, 40000}, {120000, 40000}, {160000, 40000}},
             {{-33367, 33367}, {0, 33367}, {33367, 33366}, {66733, 33367}, {100100, 33367}},
             {{1000, 20000}, {21000, 40000}, {61000, 10000}, {71000, 10000}},
             {{5, 40000}, {40005, 40000}},
             {{7, 40000}}})
        for (FrameMode const mode :
             {FrameMode::Frame, FrameMode::Field, FrameMode::FrameNoSpatial, FrameMode::FieldNoSpatial}) {
            bool const fields = mode == FrameMode::Field || mode == FrameMode::FieldNoSpatial;
            std::vector<Out> expected;
            for (std::size_t i = 0; i < frames.size(); ++i) {
                auto const [time, duration] = frames[i];
                int const field = static_cast<int>(2 * i);
                if (fields) {
                    std::int64_t const middle = std::llround(static_cast<double>(2 * time + duration) / 2);
                    expected.emplace_back(time, middle - time, field);
                    expected.emplace_back(middle, time + duration - middle, field + 1);
                } else {
                    expected.emplace_back(time, duration, field);
                }
            }
            // The effect is as new after the end.
            auto const effect = Make(mode);
            for (int run = 0; run < 2; ++run)
                EXPECT_EQ(RunMode(*effect, frames, fields), expected)
                    << static_cast<int>(mode) << ' ' << frames.size();
        }
}

/// Gaps, durations that are too long, none at all: frames keep their own as far as there is room, fields
/// share the time up to the next frame.
TEST(Deinterlace, GoesByTimesWhereDurationsAreWrong) {
    std::vector<Span> const frames{{0, 40000}, {1000000, 90000}, {1040000, 0}, {1080000, 0}};
    EXPECT_EQ(
        RunMode(*Make(FrameMode::Frame), frames, false),
        (std::vector<Out>{{0, 40000, 0}, {1000000, 40000, 2}, {1040000, 40000, 4}, {1080000, 40000, 6}}));
    EXPECT_EQ(RunMode(*Make(FrameMode::Field), frames, true), (std::vector<Out>{{0, 500000, 0},
                                                                                {500000, 500000, 1},
                                                                                {1000000, 20000, 2},
                                                                                {1020000, 20000, 3},
                                                                                {1040000, 20000, 4},
                                                                                {1060000, 20000, 5},
                                                                                {1080000, 20000, 6},
                                                                                {1100000, 20000, 7}}));
}

} // namespace
} // namespace Tarsel::Test
