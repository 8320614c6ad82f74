#include "Core/CoreExceptions.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/EffectFFMPEG.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Support/AllocationLimit.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <iterator>
#include <new>
#include <thread>

extern "C" {
#include <libavutil/error.h>
}

namespace Tarsel::Test {
namespace {

using Proc::EffectFFMPEG;
using Proc::EffectFFMPEGVideo;

std::string const s_args = Proc::MakeVideoSourceArgs(Conf::PixFmt::YUV420P, {640, 480, 1, 1}, {});

struct BadGraph {
    int type;
    std::string description;
    std::string args;
    std::string text;
    std::optional<int> ffmpegError;
    std::string words;
};

TEST(Graph, SaysWhatWasTried) {
    auto const args = [](Conf::PixFmt format, Conf::FrameInfo const& info) {
        return Proc::MakeVideoSourceArgs(format, info, {});
    };
    std::string const noAspect = args(Conf::PixFmt::YUV420P, {640, 480, 1, 0});
    std::string const noSize = args(Conf::PixFmt::YUV420P, {0, 480, 1, 1});
    std::string const noFormat = args(Conf::PixFmt::None, {640, 480, 1, 1});
    std::string const noLayout = "time_base=1/1000000:sample_rate=44100:sample_fmt=fltp";
    std::string const invalid = "Invalid argument";
    std::string const range = "Numerical result out of range";
    std::string const source = "; source: ";
    char const* const noSource = "Cannot create buffer source";
    FFmpegWatch const quiet;
    for (BadGraph const& bad :
         {BadGraph{-1, "null", "", "Wrong ffmpeg filter type", {}, "type -1, not 0 to 2"},
          {3, "null", "", "Wrong ffmpeg filter type", {}, "type 3, not 0 to 2"},
          {0, "null", noSize, noSource, AVERROR(EINVAL), invalid + source + noSize},
          {0, "null", noAspect, noSource, AVERROR(ERANGE), range + source + noAspect},
          {0, "null", noFormat, noSource, AVERROR(EINVAL), invalid + source + noFormat},
          {1, "anull", noLayout, noSource, AVERROR(EINVAL), invalid + source + noLayout},
          {0, "vflip[", s_args, "Cannot parse graph", AVERROR(EINVAL), invalid + source + s_args},
          {0, "", s_args, "Cannot parse graph", AVERROR(EINVAL), invalid + source + s_args},
          {0, "gblur=sigma=-1", s_args, "Cannot parse graph", AVERROR(ERANGE), range + source + s_args},
          {0, "format=rgb24,hwdownload", s_args, "Cannot configure graph", AVERROR(ENOSYS),
           "Function not implemented" + source + s_args},
          {2, "sine[a];sine[b]", "", "Cannot configure graph", AVERROR(EINVAL), invalid}}) {
        Failure const failure = Catch([&] {
            EffectFFMPEG(static_cast<EffectFFMPEG::EffectType>(bad.type), bad.description, bad.args);
        });
        EXPECT_EQ(failure.text, bad.text);
        EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFFMPEG");
        EXPECT_EQ(failure.function,
                  "Tarsel::Proc::EffectFFMPEG::EffectFFMPEG(EffectType, const std::string &, "
                  "const std::string &)");
        EXPECT_TRUE(failure.hasStack);
        EXPECT_EQ(failure.ffmpegError, bad.ffmpegError);
        EXPECT_EQ(failure.code, std::nullopt);
        EXPECT_EQ(failure.filter, bad.ffmpegError ? bad.description : "");
        EXPECT_EQ(failure.detail, bad.words);
    }
}

TEST(Graph, TakesAllTypes) {
    EffectFFMPEG const video(EffectFFMPEG::Video, "null", s_args);
    EffectFFMPEG const audio(EffectFFMPEG::Audio, "anull",
                             "time_base=1/1000000:sample_rate=44100:sample_fmt=fltp:channel_layout=0x3");
    EffectFFMPEG const generator(EffectFFMPEG::AudioGenerator, "sine=frequency=440", "not looked at");
    EXPECT_EQ(generator.GetDescription(), "sine=frequency=440");
}

TEST(Graph, SourceArgs) {
    EXPECT_EQ(Proc::MakeVideoSourceArgs(Conf::PixFmt::YUV420P, {1920, 1080, 1, 1}, {30000, 1001}),
              "video_size=1920x1080:pix_fmt=0:time_base=1/1000000:pixel_aspect=1/1:frame_rate=30000/1001");
    std::string const noRate =
        "video_size=4294967295x1:pix_fmt=-1:time_base=1/1000000:pixel_aspect=0/3000000000";
    for (Ratio const rate : {Ratio{0, 1}, Ratio{1, 0}, Ratio{}})
        EXPECT_EQ(Proc::MakeVideoSourceArgs(Conf::PixFmt::None, {UINT32_MAX, 1, 0, 3000000000}, rate),
                  noRate);
}

TEST(Graph, OutOfMemoryHasItsCode) {
    FFmpegWatch const quiet;
    auto const expectCode = [](Failure const& failure, std::string const& filter) {
        EXPECT_EQ(failure.text, "Not enough memory for filter");
        EXPECT_EQ(failure.code, 35);
        EXPECT_EQ(failure.ffmpegError, AVERROR(ENOMEM));
        EXPECT_EQ(failure.filter, filter);
    };
    expectCode(Catch([] {
                   AllocationLimit const limit(20000);
                   EffectFFMPEG(EffectFFMPEG::Video, "gblur", s_args);
               }),
               "gblur");
    expectCode(Catch([] {
                   AllocationLimit const limit(1);
                   EffectFFMPEG(EffectFFMPEG::Video, "null", s_args);
               }),
               "null");

    Conf::FrameInfo const info{320, 240, 1, 1};
    auto const graph = EffectFFMPEGVideo::Create("hflip", AV_PIX_FMT_YUV420P, info, {});
    SP<Proc::IDataVideo> const frame = MakeFrame(Conf::PixFmt::YUV420P, info);
    SP<Proc::IDataVideo> data = frame;
    Failure const failure = Catch([&] {
        AllocationLimit const limit(2000);
        graph->Process(data);
    });
    expectCode(failure, "hflip");
    EXPECT_EQ(failure.function, "SP<IDataVideo> Tarsel::Proc::EffectFFMPEGVideo::GetOutFrame(AVFrame *)");
    EXPECT_EQ(data, frame);
    EXPECT_TRUE(graph->HasFailed());
}

TEST(Graph, AnyAllocationMayFail) {
    FFmpegWatch const quiet;
    int built = 0;
    for (std::size_t bytes = 1; bytes < 1000000; bytes += 1 + bytes / 8) {
        SP<Proc::IDataVideo> data = MakeFrame();
        try {
            AllocationLimit const limit(bytes);
            auto const graph =
                EffectFFMPEGVideo::Create("hflip,format=monow", AV_PIX_FMT_YUV420P, s_small, {});
            graph->Process(data);
            ++built;
        } catch (Proc::EffectException const&) {
        } catch (Core::MemoryException const&) {
        }
    }
    EXPECT_GT(built, 0);
}

TEST(Graph, RunsOnTheThreadsOfItsLease) {
    auto const countThreads = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
    };
    std::thread([] {}).join(); // with the first thread the thread sanitizer starts one of its own
    auto const before = countThreads();
    int const budget = Core::ThreadBudget::Get();
    Core::ThreadBudget::Set(4);
    {
        EffectFFMPEG const alone(EffectFFMPEG::Video, "hflip", s_args);
        EXPECT_EQ(countThreads(), before);
        EffectFFMPEG const shared(EffectFFMPEG::Video, "hflip", s_args, Core::ThreadLease(3));
        EXPECT_GT(countThreads(), before);
        EXPECT_EQ(Core::ThreadLease(4).GetCount(), 2);
    }
    EXPECT_EQ(Core::ThreadLease(4).GetCount(), 4);
    EXPECT_EQ(countThreads(), before);
    Core::ThreadBudget::Set(budget);
}

} // namespace
} // namespace Tarsel::Test
