#include "Conf/FormatCodecVideo.h"
#include "Core/CoreExceptions.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Support/AllocationLimit.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::EffectFFMPEGTwoInputVideo;
using Proc::IDataVideo;

constexpr std::int64_t s_step = 40000;
constexpr char const* s_file = "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo";
constexpr char const* s_checkResult = "void Tarsel::Proc::(anonymous namespace)::CheckResult(int)";
/// Gives the first frame as it is.
constexpr char const* s_first = "midequalizer=planes=0";
/// Of two gray frames a coloured one.
constexpr char const* s_otherFormat = "mergeplanes=map1s=1:map2s=1:format=yuv422p";

SP<EffectFFMPEGTwoInputVideo> Create(std::string const& description, PixFmt format = PixFmt::YUV420P,
                                     Conf::FrameInfo const& first = s_small,
                                     Conf::FrameInfo const& second = s_small) {
    return EffectFFMPEGTwoInputVideo::Create(description, static_cast<AVPixelFormat>(format), first, second);
}

struct BadGraph {
    std::string description;
    std::optional<int> ffmpegError;
    std::string words;
    Conf::FrameInfo second{32, 16, 4, 3};
};

/// What FFmpeg answers to a filter it does not know: a code of its own since 7.1.
int GetUnknownFilterError() {
    AVFilterGraph* graph = avfilter_graph_alloc();
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    int const error = avfilter_graph_parse2(graph, "nosuch", &inputs, &outputs);
    avfilter_graph_free(&graph);
    return error;
}

TEST(TwoInputGraph, SaysWhatWasTried) {
    std::string const noSink = "there is no Parsed_buffersink_3: the description is not that of one filter";
    FFmpegWatch const quiet;
    int const unknown = GetUnknownFilterError();
    for (BadGraph const& bad : {BadGraph{"nosuch", unknown, Proc::GetFFmpegErrorText(unknown)},
                                {"midequalizer=planes=16", AVERROR(ERANGE), "Numerical result out of range"},
                                {"vflip", AVERROR(EINVAL), "Invalid argument"},
                                {"scale2ref", AVERROR(EINVAL), "Invalid argument"},
                                {"hstack", AVERROR(EINVAL), "Invalid argument"},
                                {s_first, AVERROR(EINVAL), "Invalid argument", {0, 16, 4, 3}},
                                {"midequalizer,vflip", {}, noSink},
                                {"midequalizer[a];[a]vflip", {}, noSink}}) {
        Failure const failure = Catch([&] {
            Create(bad.description, PixFmt::YUV422P, {1920, 1080, 1, 1}, bad.second);
        });
        EXPECT_EQ(failure.text, "Cannot process graph");
        EXPECT_EQ(failure.file, s_file);
        EXPECT_TRUE(!bad.ffmpegError || failure.function == s_checkResult);
        EXPECT_TRUE(failure.hasStack);
        EXPECT_EQ(failure.code, std::nullopt);
        EXPECT_EQ(failure.ffmpegError, bad.ffmpegError);
        EXPECT_EQ(failure.detail, bad.words);
        std::string const second = bad.second.width > 0 ? "32x16" : "0x16";
        EXPECT_EQ(failure.filter,
                  "buffer=video_size=1920x1080:pix_fmt=4:time_base=1/1000000:pixel_aspect=1/1 [in_1];"
                  "buffer=video_size=" +
                      second + ":pix_fmt=4:time_base=1/1000000:pixel_aspect=4/3 [in_2]; [in_1] [in_2] " +
                      bad.description + " [result]; [result] buffersink");
    }
}

TEST(TwoInputGraph, OutOfMemoryHasItsCode) {
    FFmpegWatch const quiet;
    auto const expectCode = [](Failure const& failure) {
        EXPECT_EQ(failure.text, "Not enough memory for filter");
        EXPECT_EQ(failure.function, s_checkResult);
        EXPECT_EQ(failure.code, 35);
        EXPECT_EQ(failure.ffmpegError, AVERROR(ENOMEM));
    };
    for (std::size_t const bytes : {std::size_t{1}, std::size_t{200}})
        expectCode(Catch([&] {
            AllocationLimit const limit(bytes);
            Create("midequalizer");
        }));

    auto const graph = Create("midequalizer");
    SP<IDataVideo> const frame = MakeFrame();
    SP<IDataVideo> const second = MakeFrame();
    SP<IDataVideo> data = frame;
    expectCode(Catch([&] {
        AllocationLimit const limit(2000);
        graph->Process(data, second);
    }));
    EXPECT_EQ(data, frame);
    EXPECT_TRUE(graph->HasFailed());
}

TEST(TwoInputGraph, AnyAllocationMayFail) {
    FFmpegWatch const quiet;
    int built = 0;
    for (std::size_t bytes = 1; bytes < 1000000; bytes += 1 + bytes / 8) {
        SP<IDataVideo> data = MakeFrame(PixFmt::GRAY8);
        SP<IDataVideo> const second = MakeFrame(PixFmt::GRAY8, {32, 48, 1, 1});
        try {
            AllocationLimit const limit(bytes);
            auto const graph = Create(s_otherFormat, PixFmt::GRAY8, s_small, second->GetFrameInfo());
            graph->Process(data, second);
            ++built;
        } catch (Proc::EffectException const&) {
        } catch (Core::MemoryException const&) {
        }
    }
    EXPECT_GT(built, 0);
}

TEST(TwoInputGraph, NullsFeedNothing) {
    auto const graph = Create("hstack");
    SP<IDataVideo> const frame = MakeFrame();
    for (int i = 0; i < 2; ++i) {
        SP<IDataVideo> data = frame;
        graph->Process(data, nullptr);
        EXPECT_EQ(data, frame);
        data = nullptr;
        graph->Process(data, frame);
        EXPECT_EQ(data, nullptr);
        // What had been fed would come out now, or be missing on one side.
        data = MakeFrame(PixFmt::YUV420P, s_small, (i + 1) * s_step);
        graph->Process(data, MakeFrame(PixFmt::YUV420P, s_small, (i + 1) * s_step));
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->GetTime(), (i + 1) * s_step);
    }
}

TEST(TwoInputGraph, ResultsAreStampedByTheFirstFrame) {
    auto const graph = Create("hstack", PixFmt::YUV420P, {64, 48, 4, 3}, {32, 48, 1, 1});
    int marks[2]{};
    SP<IDataVideo> const first = MakeFrame(PixFmt::YUV420P, {64, 48, 4, 3}, 100, 11, 1);
    SP<IDataVideo> const second = MakeFrame(PixFmt::YUV420P, {32, 48, 1, 1}, 100, 22, 2);
    first->GetAVFrame()->opaque = &marks[0];
    second->GetAVFrame()->opaque = &marks[1];
    Pixels const before[]{GetPixels(*first), GetPixels(*second)};
    SP<IDataVideo> data = first;
    graph->Process(data, second);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->GetFrameInfo(), (Conf::FrameInfo{96, 48, 4, 3}));
    EXPECT_EQ(data->GetTime(), 100);
    EXPECT_EQ(data->GetDuration(), 11);
    EXPECT_EQ(data->GetAVFrame()->opaque, &marks[0]);
    EXPECT_EQ(GetPixels(*first), before[0]);
    EXPECT_EQ(GetPixels(*second), before[1]);
    Pixels const pixels = GetPixels(*data);
    for (std::size_t y = 0; y < 48; ++y)
        for (std::size_t x = 0; x < 96; ++x)
            ASSERT_EQ(pixels[0][y * 96 + x],
                      x < 64 ? before[0][0][y * 64 + x] : before[1][0][y * 32 + x - 64]);
}

// The second frames lag by one: the filter waits for the one that belongs to the first.
TEST(TwoInputGraph, HeldBackFramesGetTheTimeOfTheFrameJustFed) {
    auto const graph = Create(s_first);
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

TEST(TwoInputGraph, FormatsTheHostTakesPass) {
    constexpr Conf::FrameInfo half{32, 48, 1, 1};
    auto const graph = Create(s_otherFormat, PixFmt::GRAY8, s_small, half);
    SP<Conf::IFormatCodecVideo> codec = MakeSP<Conf::FormatCodecVideo>(PixFmt::GRAY8, half);
    for (std::int64_t time : {0, 40000}) {
        SP<IDataVideo> data = MakeFrame(PixFmt::GRAY8, s_small, time, 12);
        SP<IDataVideo> const second = MakeFrame(PixFmt::GRAY8, half, time);
        data->GetAVFrame()->opaque = &codec;
        Pixels const before = GetPixels(*data);
        graph->Process(data, second);
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->GetPixelFormat(), PixFmt::YUV422P);
        EXPECT_EQ(data->GetFrameInfo(), s_small);
        EXPECT_EQ(data->GetTime(), time);
        EXPECT_EQ(data->GetDuration(), 12);
        EXPECT_EQ(data->GetAVFrame()->opaque, &codec);
        Pixels const chroma = GetPixels(*second);
        EXPECT_EQ(GetPixels(*data), (Pixels{before[0], chroma[0], chroma[0]}));
    }
    graph->UpdateFormatCodec(codec);
    EXPECT_EQ(codec->GetPixelFormat(), PixFmt::YUV422P);
    EXPECT_EQ(codec->GetFrameInfo(), s_small);
}

TEST(TwoInputGraph, IsDescribedByItsFormat) {
    SP<Conf::IFormatCodecVideo> codec =
        MakeSP<Conf::FormatCodecVideo>(PixFmt::RGB24, Conf::FrameInfo{64, 48, 4, 3}, Ratio{25, 1});
    EffectFFMPEGTwoInputVideo::Create("hstack", codec)->UpdateFormatCodec(codec);
    EXPECT_EQ(codec->GetFrameInfo(), (Conf::FrameInfo{128, 48, 4, 3}));
    EXPECT_EQ(codec->GetPixelFormat(), PixFmt::RGB24);
    EXPECT_EQ((*codec)[Conf::IFormatCodecVideo::TAG_FPS].GetRatio(), (Ratio{25, 1}));
}

TEST(TwoInputGraph, RefusesFramesThatAreNotWhatTheySay) {
    struct Case {
        SP<IDataVideo> frame;
        std::string text;
    };
    std::vector<Case> const cases{
        {MakeLiar({64, 32, 1, 1}), " frame has only 64x32 pixels of the 64x48 it is said to have"},
        {MakeFrame(PixFmt::YUV444P),
         " frame is yuv444p of 64x48 pixels but its filter was built for yuv420p of 64x48"},
        {MakeFrame(PixFmt::YUV420P, {64, 80, 1, 1}),
         " frame is yuv420p of 64x80 pixels but its filter was built for yuv420p of 64x48"}};
    auto const graph = Create("midequalizer");
    std::int64_t time = 0;
    for (Case const& bad : cases)
        for (bool const isFirst : {true, false}) {
            SP<IDataVideo> data = isFirst ? bad.frame : MakeFrame();
            SP<IDataVideo> const second = isFirst ? MakeFrame() : bad.frame;
            SP<IDataVideo> const before = data;
            Failure const failure = Catch([&] { graph->Process(data, second); });
            EXPECT_EQ(failure.text, (isFirst ? "First" : "Second") + bad.text);
            EXPECT_EQ(failure.filter, "midequalizer");
            EXPECT_EQ(data, before);
            EXPECT_FALSE(graph->HasFailed());
            time += s_step;
            data = MakeFrame(PixFmt::YUV420P, s_small, time);
            graph->Process(data, MakeFrame(PixFmt::YUV420P, s_small, time));
            EXPECT_NE(data, nullptr);
        }
    // Larger than they say: the rest is left out.
    SP<IDataVideo> data = MakeLiar({80, 64, 1, 1});
    Create("hstack")->Process(data, MakeLiar({128, 96, 1, 1}));
    EXPECT_EQ(data->GetFrameInfo(), (Conf::FrameInfo{128, 48, 1, 1}));
}

} // namespace
} // namespace Tarsel::Test
