#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
#include <libavutil/version.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::EffectFFMPEGTwoInputVideo;
using Proc::EffectFFMPEGVideo;
using Proc::IDataVideo;

SP<EffectFFMPEGVideo> Create(std::string const& description, PixFmt format = PixFmt::YUV420P,
                             Conf::FrameInfo const& info = s_small) {
    return EffectFFMPEGVideo::Create(description, static_cast<AVPixelFormat>(format), info, {});
}

std::int64_t constexpr s_step = 40000;

/// What comes out of six frames of 25 a second after each and after the end.
TEST(VideoGraph, StreamsLoseNothingAndKeepTime) {
    for (auto const& [description, counts, step] :
         {std::tuple{"vflip", std::vector<std::size_t>{1, 1, 1, 1, 1, 1, 0}, s_step},
          {"settb=1/3000000", {1, 1, 1, 1, 1, 1, 0}, s_step},
          {"yadif=mode=1", {0, 2, 2, 2, 2, 2, 2}, s_step / 2},
          {"minterpolate=fps=50", {0, 0, 3, 2, 2, 2, 0}, s_step / 2}}) {
        SCOPED_TRACE(description);
        auto const graph = Create(description);
        std::int64_t taken = 0;
        for (std::size_t i = 0; i < counts.size(); ++i) {
            std::int64_t const time = 7 + static_cast<std::int64_t>(i) * s_step;
            if (i < 6)
                graph->Feed(MakeFrame(PixFmt::YUV420P, s_small, time, s_step));
            else
                graph->End();
            std::int64_t const before = taken;
            for (; SP<IDataVideo> const data = graph->Take(); ++taken) {
                EXPECT_NEAR(double(data->GetTime()), double(7 + taken * step), 8);
                EXPECT_NEAR(double(data->GetDuration()), double(step), 1);
            }
            EXPECT_EQ(taken - before, static_cast<std::int64_t>(counts[i])) << i;
        }
    }
}

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
    // Which it is depends on FFmpeg's release, and so does how white looks in it.
    PixFmt const nearest =
        LIBAVUTIL_VERSION_MAJOR > 57 ? static_cast<PixFmt>(AV_PIX_FMT_BGR4_BYTE) : PixFmt::GRAY8;
    SP<IDataVideo> const white = process("lutyuv=y=235:u=128:v=128,format=monow", nearest);
    std::uint8_t const full = nearest == PixFmt::GRAY8 ? 255 : 15;
    EXPECT_EQ(GetPixels(*white), Pixels{std::vector<std::uint8_t>(std::size_t{64} * 48, full)});

    auto const stream = Create("framerate=fps=50,format=monow");
    for (std::int64_t i = 0; i < 3; ++i)
        stream->Feed(MakeFrame(PixFmt::YUV420P, s_small, i * s_step, s_step));
    EXPECT_EQ(stream->Take()->GetPixelFormat(), nearest);
}

constexpr char const* s_file = "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo";
constexpr char const* s_checkResult = "void Tarsel::Proc::(anonymous namespace)::CheckResult(int)";
/// Gives the first frame as it is.
constexpr char const* s_first = "midequalizer=planes=0";

SP<EffectFFMPEGTwoInputVideo> CreatePair(std::string const& description, PixFmt format = PixFmt::YUV420P,
                                         Conf::FrameInfo const& first = s_small,
                                         Conf::FrameInfo const& second = s_small) {
    return EffectFFMPEGTwoInputVideo::Create(description, static_cast<AVPixelFormat>(format), first, second);
}

TEST(TwoInputGraph, SaysWhatWasTried) {
    std::string const noSink = "there is no Parsed_buffersink_3: the description is not that of one filter";
    std::string const invalid = "Invalid argument";
    FFmpegWatch const quiet;
    for (auto const& [description, error, words, width] :
         {std::tuple<std::string, std::optional<int>, std::string, std::uint32_t>{
              "midequalizer=planes=16", AVERROR(ERANGE), "Numerical result out of range", 32},
          {"vflip", AVERROR(EINVAL), invalid, 32},
          {"hstack", AVERROR(EINVAL), invalid, 32},
          {s_first, AVERROR(EINVAL), invalid, 0},
          {"midequalizer,vflip", {}, noSink, 32},
          {"midequalizer[a];[a]vflip", {}, noSink, 32}}) {
        Failure const failure = Catch([&, &filter = description, second = width] {
            CreatePair(filter, PixFmt::YUV422P, {1920, 1080, 1, 1}, {second, 16, 4, 3});
        });
        EXPECT_EQ(failure.text, "Cannot process graph");
        EXPECT_EQ(failure.file, s_file);
        EXPECT_TRUE(!error || failure.function == s_checkResult);
        EXPECT_TRUE(failure.hasStack);
        EXPECT_EQ(failure.code, std::nullopt);
        EXPECT_EQ(failure.ffmpegError, error);
        EXPECT_EQ(failure.detail, words);
        EXPECT_EQ(failure.filter,
                  "buffer=video_size=1920x1080:pix_fmt=4:time_base=1/1000000:pixel_aspect=1/1 [in_1];"
                  "buffer=video_size=" +
                      std::to_string(width) +
                      "x16:pix_fmt=4:time_base=1/1000000:pixel_aspect=4/3 [in_2]; [in_1] [in_2] " +
                      description + " [result]; [result] buffersink");
    }
}

TEST(TwoInputGraph, ResultsAreStampedByTheFirstFrame) {
    auto const graph = CreatePair("hstack", PixFmt::YUV420P, {64, 48, 4, 3}, {32, 48, 1, 1});
    int marks[2]{};
    SP<IDataVideo> const first = MakeFrame(PixFmt::YUV420P, {64, 48, 4, 3}, 100, 11, 1);
    SP<IDataVideo> const second = MakeFrame(PixFmt::YUV420P, {32, 48, 1, 1}, 100, 22, 2);
    first->GetAVFrame()->opaque = &marks[0];
    second->GetAVFrame()->opaque = &marks[1];
    SP<IDataVideo> data = first;
    graph->Process(data, second);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->GetFrameInfo(), (Conf::FrameInfo{96, 48, 4, 3}));
    EXPECT_EQ(data->GetTime(), 100);
    EXPECT_EQ(data->GetDuration(), 11);
    EXPECT_EQ(data->GetAVFrame()->opaque, &marks[0]);
}

// The second frames lag by one: the filter waits for the one that belongs to the first.
TEST(TwoInputGraph, HeldBackFramesGetTheTimeOfTheFrameJustFed) {
    auto const graph = CreatePair(s_first);
    Pixels before;
    for (std::int64_t i = 0; i < 4; ++i) {
        SP<IDataVideo> data =
            MakeFrame(PixFmt::YUV420P, s_small, i * s_step, s_step + i, static_cast<std::uint32_t>(i));
        Pixels const fed = GetPixels(*data);
        graph->Process(data, MakeFrame(PixFmt::YUV420P, s_small, (i - 1) * s_step));
        if (i == 0) {
            EXPECT_EQ(data, nullptr);
        } else {
            ASSERT_NE(data, nullptr);
            EXPECT_EQ(GetPixels(*data), before);
            EXPECT_EQ(data->GetTime(), i * s_step);
            EXPECT_EQ(data->GetDuration(), s_step + i);
        }
        before = fed;
    }
}

/// The rest is left out.
TEST(VideoGraph, TakesFramesThatAreLargerThanTheySay) {
    SP<IDataVideo> data = MakeLiar({80, 64, 1, 1});
    Create("null")->Process(data);
    EXPECT_EQ(data->GetFrameInfo(), s_small);
    CreatePair("hstack")->Process(data = MakeLiar({80, 64, 1, 1}), MakeLiar({128, 96, 1, 1}));
    EXPECT_EQ(data->GetFrameInfo(), (Conf::FrameInfo{128, 48, 1, 1}));
}

} // namespace
} // namespace Tarsel::Test
