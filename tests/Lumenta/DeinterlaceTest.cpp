#include "Frames.h"
#include "Proc/Effects/Lumenta/Video/Denoise.h"
#include "Proc/Interfaces/IEffectStream.h"

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

struct Out {
    std::int64_t time;
    std::int64_t duration;
    /// The luma of the field, which is all over the picture.
    int field;

    friend bool operator==(Out const&, Out const&) = default;
    friend std::ostream& operator<<(std::ostream& stream, Out const& out) {
        return stream << out.time << '+' << out.duration << " field " << out.field;
    }
};

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
    data->GetAVFrame()->interlaced_frame = 1;
    data->GetAVFrame()->top_field_first = 1;
    return data;
}

/// The field that the frame was made of: the rows of its parity are as they were.
Out Read(IDataVideo const& data, bool second) {
    Proc::ReadOnlyPlane const luma = data.GetReadOnlyPlane(0);
    return {data.GetTime(), data.GetDuration(),
            luma.data[(s_small.height / 2 + (second ? 1 : 0)) * luma.lineSize] / 10};
}

std::vector<Out> RunStream(Proc::IOneInputEffectVideo& effect, std::vector<std::int64_t> const& times,
                           std::int64_t lastDuration, bool fields) {
    auto& stream = dynamic_cast<Proc::IEffectStreamVideo&>(effect);
    std::vector<Out> out;
    auto const takeAll = [&] {
        while (SP<IDataVideo> const data = stream.Take())
            out.push_back(Read(*data, fields && out.size() % 2 == 1));
    };
    for (std::size_t i = 0; i < times.size(); ++i) {
        std::int64_t const duration = i + 1 < times.size() ? times[i + 1] - times[i] : lastDuration;
        stream.Feed(MakeInterlaced(static_cast<int>(i), times[i], duration));
        takeAll();
    }
    stream.End();
    takeAll();
    return out;
}

TEST(Deinterlace, GivesEveryFrameOrFieldInItsTime) {
    struct Case {
        std::vector<std::int64_t> times;
        std::int64_t lastDuration;
    };
    for (Case const& row : {Case{{0, 40000, 80000, 120000, 160000}, 40000},
                            {{-33367, 0, 33367, 66733, 100100, 133467}, 33367},
                            {{1000, 21000, 61000, 71000, 81000}, 10000},
                            {{5, 40005}, 40000},
                            {{7}, 40000}})
        for (FrameMode const mode :
             {FrameMode::Frame, FrameMode::Field, FrameMode::FrameNoSpatial, FrameMode::FieldNoSpatial}) {
            bool const fields = mode == FrameMode::Field || mode == FrameMode::FieldNoSpatial;
            auto const effect = Proc::CreateEffectDeinterlace({}, {});
            Proc::SettingsDeinterlace settings;
            settings.frameMode = mode;
            effect->SetSettings(settings);
            std::vector<Out> expected;
            for (std::size_t i = 0; i < row.times.size(); ++i) {
                std::int64_t const time = row.times[i];
                std::int64_t const end =
                    i + 1 < row.times.size() ? row.times[i + 1] : time + row.lastDuration;
                int const field = static_cast<int>(2 * i);
                if (fields) {
                    std::int64_t const middle = std::llround(0.5 * static_cast<double>(time + end));
                    expected.push_back({time, middle - time, field});
                    expected.push_back({middle, end - middle, field + 1});
                } else {
                    expected.push_back({time, end - time, field});
                }
            }
            // The effect is as new after the end.
            for (int run = 0; run < 2; ++run)
                EXPECT_EQ(RunStream(*effect, row.times, row.lastDuration, fields), expected)
                    << static_cast<int>(mode) << ' ' << row.times.size();
        }
}

} // namespace
} // namespace Tarsel::Test
