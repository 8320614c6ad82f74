#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
#include <libavutil/version.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::EffectFFMPEGVideo;
using Proc::IDataVideo;

SP<EffectFFMPEGVideo> Create(std::string const& description, PixFmt format = PixFmt::YUV420P,
                             Conf::FrameInfo const& info = s_small) {
    return EffectFFMPEGVideo::Create(description, static_cast<AVPixelFormat>(format), info, {});
}

std::int64_t constexpr s_step = 40000;

/// What comes out of six frames of 25 a second.
struct StreamCase {
    char const* description;
    std::vector<std::size_t> afterEachFeed;
    std::size_t afterEnd;
    std::int64_t step;
};

class Streams : public testing::TestWithParam<StreamCase> {};

TEST_P(Streams, LoseNothingAndKeepTime) {
    StreamCase const& expected = GetParam();
    auto const graph = Create(expected.description);
    FrameList out;
    auto const takeAll = [&] {
        std::size_t const before = out.size();
        while (SP<IDataVideo> data = graph->Take())
            out.push_back(data);
        return out.size() - before;
    };
    std::vector<std::size_t> taken;
    for (std::int64_t i = 0; i < 6; ++i) {
        graph->Feed(MakeFrame(PixFmt::YUV420P, s_small, 7 + i * s_step, s_step));
        taken.push_back(takeAll());
    }
    EXPECT_EQ(taken, expected.afterEachFeed);
    graph->End();
    EXPECT_EQ(takeAll(), expected.afterEnd);
    for (std::size_t i = 0; i < out.size(); ++i) {
        EXPECT_NEAR(double(out[i]->GetTime()), double(7 + std::int64_t(i) * expected.step), 8) << i;
        EXPECT_NEAR(double(out[i]->GetDuration()), double(expected.step), 1) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(VideoGraph, Streams,
                         testing::Values(StreamCase{"vflip", {1, 1, 1, 1, 1, 1}, 0, s_step},
                                         StreamCase{"settb=1/3000000", {1, 1, 1, 1, 1, 1}, 0, s_step},
                                         StreamCase{"yadif=mode=0", {0, 1, 1, 1, 1, 1}, 1, s_step},
                                         StreamCase{"yadif=mode=1", {0, 2, 2, 2, 2, 2}, 2, s_step / 2},
                                         StreamCase{"framerate=fps=50", {0, 2, 2, 2, 2, 2}, 2, s_step / 2},
                                         StreamCase{
                                             "minterpolate=fps=50", {0, 0, 3, 2, 2, 2}, 0, s_step / 2}));

TEST(VideoGraph, UnknownTimesStayUnknown) {
    for (char const* description : {"vflip", "settb=1/3000000"}) {
        auto const graph = Create(description);
        SP<IDataVideo> data = MakeFrame(PixFmt::YUV420P, s_small, AV_NOPTS_VALUE, 0);
        graph->Feed(data);
        EXPECT_EQ(graph->Take()->GetTime(), AV_NOPTS_VALUE);
        graph->Process(data);
        EXPECT_EQ(data->GetTime(), AV_NOPTS_VALUE);
    }
}

TEST(VideoGraph, DelayedFramesGetTheTimeOfTheFrameJustFed) {
    auto const graph = Create("yadif=mode=0:deint=1"); // progressive frames pass as they are
    SP<IDataVideo> const first = MakeFrame(PixFmt::YUV420P, s_small, 100, 10, 1);
    SP<IDataVideo> data = first;
    graph->Process(data);
    EXPECT_EQ(data, nullptr);
    for (std::int64_t time : {200, 300}) {
        data = MakeFrame(PixFmt::YUV420P, s_small, time, time / 10, 2);
        graph->Process(data);
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(GetPixels(*data) == GetPixels(*first), time == 200);
        EXPECT_EQ(data->GetTime(), time);
        EXPECT_EQ(data->GetDuration(), time / 10);
    }
}

TEST(VideoGraph, NullsAskOnlyRateChangersForMore) {
    auto const graph = Create("yadif=mode=1"); // two come out for one
    for (bool out : {false, true}) {
        SP<IDataVideo> data = MakeFrame();
        graph->Process(data);
        EXPECT_EQ(data != nullptr, out);
    }
    SP<IDataVideo> none;
    graph->Process(none);
    EXPECT_EQ(none, nullptr);
}

TEST(VideoGraph, RateChangersQueueWithTimesOfTheSink) {
    auto const run = [](char const* description) {
        auto const graph = Create(description);
        std::vector<std::int64_t> times;
        for (std::int64_t i = 0; i < 3; ++i) {
            SP<IDataVideo> data = MakeFrame(PixFmt::YUV420P, s_small, i * s_step, s_step);
            for (graph->Process(data); data; graph->Process(data)) {
                times.push_back(data->GetTime());
                data = nullptr;
            }
        }
        return times;
    };
    using Times = std::vector<std::int64_t>;
    EXPECT_EQ(run("framerate=fps=50"), (Times{0, 20000, 40000, 60000}));
    // The name alone counts, wherever it stands.
    std::string const named = "settb=1/3000000,metadata=add:key=k:value=";
    EXPECT_EQ(run((named + "rate").c_str()), (Times{0, 40000, 80000}));
    for (char const* name : {"framerate", "minterpolate"})
        EXPECT_EQ(run((named + name).c_str()), (Times{0, 120000, 240000}));
}

TEST(VideoGraph, FormatsTheHostTakesPassOthersAreConverted) {
    auto const process = [](char const* description, PixFmt expected) {
        auto const graph = Create(description);
        SP<Conf::IFormatCodecVideo> codec = MakeCodec();
        SP<IDataVideo> data = MakeFrame(PixFmt::YUV420P, {64, 48, 4, 3}, 11, 12);
        data->GetAVFrame()->opaque = &codec;
        graph->Process(data);
        EXPECT_EQ(data->GetPixelFormat(), expected);
        EXPECT_EQ(data->GetFrameInfo(), (Conf::FrameInfo{64, 48, 4, 3}));
        EXPECT_EQ(data->GetTime(), 11);
        EXPECT_EQ(data->GetAVFrame()->opaque, &codec);
        graph->UpdateFormatCodec(codec);
        EXPECT_EQ(codec->GetPixelFormat(), expected);
        EXPECT_EQ(codec->GetFrameInfo(), s_small);
        return data;
    };
    process("format=rgb24", PixFmt::RGB24);
    ASSERT_FALSE(Conf::PixFmtDescription::IsSupported(*Conf::PixFmtDescription::FindByName("monow")));
    // Which it is hangs on FFmpeg's release, and so does how white looks in it.
    PixFmt const nearest =
        LIBAVUTIL_VERSION_MAJOR > 57 ? static_cast<PixFmt>(AV_PIX_FMT_BGR4_BYTE) : PixFmt::GRAY8;
    SP<IDataVideo> const white = process("lutyuv=y=235:u=128:v=128,format=monow", nearest);
    std::uint8_t const full = nearest == PixFmt::GRAY8 ? 255 : 15;
    EXPECT_EQ(GetPixels(*white), Pixels{std::vector<std::uint8_t>(std::size_t{64} * 48, full)});

    auto const stream = Create("framerate=fps=50,format=monow");
    for (std::int64_t i = 0; i < 3; ++i)
        stream->Feed(MakeFrame(PixFmt::YUV420P, s_small, i * s_step, s_step));
    for (std::int64_t time : {0, 20000, 40000}) {
        SP<IDataVideo> const data = stream->Take();
        EXPECT_EQ(data->GetPixelFormat(), nearest);
        EXPECT_EQ(data->GetTime(), time);
        EXPECT_EQ(data->GetDuration(), 20000);
    }
}

TEST(VideoGraph, IsDescribedByItsFormat) {
    SP<Conf::IFormatCodecVideo> codec =
        MakeSP<Conf::FormatCodecVideo>(PixFmt::YUV422P, Conf::FrameInfo{64, 48, 4, 3}, Ratio{25, 1});
    EffectFFMPEGVideo::Create("transpose=dir=1", codec)->UpdateFormatCodec(codec);
    EXPECT_EQ(codec->GetFrameInfo(), (Conf::FrameInfo{48, 64, 3, 4}));
    EXPECT_EQ(codec->GetPixelFormat(), PixFmt::YUV444P);
    EXPECT_EQ((*codec)[Conf::IFormatCodecVideo::TAG_FPS].GetRatio(), (Ratio{25, 1}));
}

TEST(VideoGraph, RefusesFramesThatAreNotWhatTheySay) {
    struct Case {
        SP<IDataVideo> frame;
        char const* text;
    };
    struct Liar : Proc::DataVideoFF {
        using DataVideoFF::DataVideoFF;
        PixFmt GetPixelFormat() const override { return PixFmt::YUV420P; }
    };
    SP<IDataVideo> const empty = MakeFrame();
    empty->GetAVFrame()->data[0] = nullptr;
    std::vector<Case> const cases{
        {MakeLiar({64, 32, 1, 1}), "Frame has only 64x32 pixels of the 64x48 it is said to have"},
        {MakeLiar({62, 48, 1, 1}), "Frame has only 62x48 pixels of the 64x48 it is said to have"},
        {MakeSP<Liar>(*MakeFrame(PixFmt::GRAY8)->GetAVFrame(), s_small),
         "Frame is gray but is said to be yuv420p"},
        {empty, "Frame has no pixels"},
        {MakeFrame(PixFmt::YUV420P, {80, 48, 1, 1}),
         "Frame is yuv420p of 80x48 pixels but its filter was built for yuv420p of 64x48"},
        {MakeFrame(PixFmt::YUV444P),
         "Frame is yuv444p of 64x48 pixels but its filter was built for yuv420p of 64x48"},
    };
    auto const graph = Create("hflip");
    for (Case const& bad : cases) {
        SP<IDataVideo> data = bad.frame;
        Failure const failure = Catch([&] { graph->Process(data); });
        EXPECT_EQ(failure.text, bad.text);
        EXPECT_EQ(failure.filter, "hflip");
        EXPECT_EQ(Catch([&] { graph->Feed(data); }).text, bad.text);
        data = MakeFrame();
        graph->Process(data);
        EXPECT_NE(data, nullptr);
    }
    // Larger than it says: the rest is left out.
    SP<IDataVideo> data = MakeLiar({80, 64, 1, 1});
    Create("null")->Process(data);
    EXPECT_EQ(data->GetFrameInfo(), s_small);
}

} // namespace
} // namespace Tarsel::Test
