#include "Core/CoreExceptions.h"
#include "Core/ThreadBudget.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/EffectFFMPEG.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Proc/Effects/Lumenta/Graph/FormatCache.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Support/AllocationLimit.h"
#include "Support/Audio.h"
#include "Support/CommaLocale.h"
#include "Support/MemoryWatch.h"
#include "Support/Watch.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <set>
#include <thread>
#include <utility>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::EffectFFMPEG;
using Proc::EffectFFMPEGVideo;
using Proc::IDataVideo;

std::string const s_args = Proc::MakeVideoSourceArgs(PixFmt::YUV420P, {640, 480, 1, 1}, {});

TEST(Graph, SaysWhatWasTried) {
    auto const args = [](Conf::PixFmt format, Conf::FrameInfo const& info) {
        return Proc::MakeVideoSourceArgs(format, info, {});
    };
    std::string const noAspect = args(PixFmt::YUV420P, {640, 480, 1, 0});
    std::string const noSize = args(PixFmt::YUV420P, {0, 480, 1, 1});
    std::string const noFormat = args(PixFmt::None, {640, 480, 1, 1});
    std::string const noLayout = "time_base=1/1000000:sample_rate=44100:sample_fmt=fltp";
    std::string const invalid = "Invalid argument";
    std::string const range = "Numerical result out of range";
    std::string const from = "; source: ";
    char const* const noSource = "Cannot create buffer source";
    FFmpegWatch const quiet;
    using Error = std::optional<int>;
    for (auto const& [type, description, source, text, error, words] :
         {std::tuple<int, std::string, std::string, std::string, Error, std::string>{
              -1, "null", "", "Wrong ffmpeg filter type", {}, "type -1, not 0 to 2"},
          {3, "null", "", "Wrong ffmpeg filter type", {}, "type 3, not 0 to 2"},
          {0, "null", noSize, noSource, AVERROR(EINVAL), invalid + from + noSize},
          {0, "null", noAspect, noSource, AVERROR(ERANGE), range + from + noAspect},
          {0, "null", noFormat, noSource, AVERROR(EINVAL), invalid + from + noFormat},
          {1, "anull", noLayout, noSource, AVERROR(EINVAL), invalid + from + noLayout},
          {0, "vflip[", s_args, "Cannot parse graph", AVERROR(EINVAL), invalid + from + s_args},
          {0, "", s_args, "Cannot parse graph", AVERROR(EINVAL), invalid + from + s_args},
          {0, "gblur=sigma=-1", s_args, "Cannot parse graph", AVERROR(ERANGE), range + from + s_args},
          {0, "format=rgb24,hwdownload", s_args, "Cannot configure graph", AVERROR(ENOSYS),
           "Function not implemented" + from + s_args},
          {2, "sine[a];sine[b]", "", "Cannot configure graph", AVERROR(EINVAL), invalid}}) {
        Failure const failure = Catch([&, kind = type, &filter = description, &of = source] {
            EffectFFMPEG(static_cast<EffectFFMPEG::EffectType>(kind), filter, of);
        });
        EXPECT_EQ(failure.text, text);
        EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFFMPEG");
        EXPECT_EQ(failure.function,
                  "Tarsel::Proc::EffectFFMPEG::EffectFFMPEG(EffectType, const std::string &, "
                  "const std::string &)");
        EXPECT_TRUE(failure.hasStack);
        EXPECT_EQ(failure.ffmpegError, error);
        EXPECT_EQ(failure.code, std::nullopt);
        EXPECT_EQ(failure.filter, error ? description : "");
        EXPECT_EQ(failure.detail, words);
    }
}

TEST(Graph, SourceArgs) {
    CommaLocale const comma;
    EXPECT_EQ(Proc::MakeVideoSourceArgs(PixFmt::YUV420P, {1920, 1080, 1, 1}, {30000, 1001}),
              "video_size=1920x1080:pix_fmt=0:time_base=1/1000000:pixel_aspect=1/1:frame_rate=30000/1001");
    for (Ratio const rate : {Ratio{0, 1}, Ratio{1, 0}, Ratio{}})
        EXPECT_EQ(Proc::MakeVideoSourceArgs(PixFmt::None, {UINT32_MAX, 1, 0, 3000000000}, rate),
                  "video_size=4294967295x1:pix_fmt=-1:time_base=1/1000000:pixel_aspect=0/3000000000");
    EXPECT_EQ(Proc::MakeAudioSourceArgs(SampleInfo::Init(SampleFormats::S16, 8000, {0, 61})),
              "time_base=1/1000000:sample_rate=8000:sample_fmt=s16:channels=61");
}

/// A graph of one kind, and what goes through it.
struct OneFrame {
    using Datum = SP<IDataVideo>;
    static constexpr char const* s_filter = "hflip,format=monow";
    static auto Make() { return EffectFFMPEGVideo::Create(s_filter, AV_PIX_FMT_YUV420P, s_small, {}); }
    static Datum MakeDatum(std::int64_t time = 0) { return MakeFrame(PixFmt::YUV420P, s_small, time); }
    static void Process(EffectFFMPEGVideo& graph, Datum& data) { graph.Process(data); }
    static void Feed(EffectFFMPEGVideo& graph, Datum const& data) { graph.Feed(data); }
};

/// The datum is the first frame, or the second.
template <bool isFirst>
struct OneOfTwoFrames {
    using Datum = SP<IDataVideo>;
    using Graph = Proc::EffectFFMPEGTwoInputVideo;
    static constexpr char const* s_filter = "midequalizer";
    static auto Make() { return Graph::Create(s_filter, AV_PIX_FMT_YUV420P, s_small, s_small); }
    static Datum MakeDatum(std::int64_t time = 0) { return MakeFrame(PixFmt::YUV420P, s_small, time); }
    static void Process(Graph& graph, Datum& data) {
        Datum other = MakeDatum(data->GetTime());
        graph.Process(isFirst ? data : other, isFirst ? other : data);
    }
    static void Feed(Graph& graph, Datum data) { Process(graph, data); }
};

struct OneBlock {
    using Datum = SP<Proc::IDataAudio>;
    static constexpr char const* s_filter = "aecho=1:1:1:0.5";
    inline static SampleInfo const s_info = SampleInfo::Init(SampleFormats::Float, 44100, {3, 2});
    static auto Make() { return Proc::EffectFFMPEGAudio::Create(s_filter, s_info); }
    static Datum MakeDatum(std::int64_t = 0) { return MakeAudioNoise(s_info, 4000); }
    static void Process(Proc::EffectFFMPEGAudio& graph, Datum& data) { graph.Process(data); }
    static void Feed(Proc::EffectFFMPEGAudio& graph, Datum const& data) { graph.Feed(data); }
};

template <class Datum>
struct BadDatum {
    Datum datum;
    std::string text;
};

std::vector<BadDatum<SP<IDataVideo>>> MakeBadFrames(std::string const& which) {
    struct Liar : Proc::DataVideoFF {
        using DataVideoFF::DataVideoFF;
        PixFmt GetPixelFormat() const override { return PixFmt::YUV420P; }
    };
    SP<IDataVideo> const empty = MakeFrame();
    empty->GetAVFrame()->data[0] = nullptr;
    std::string const built = "but its filter was built for yuv420p of 64x48";
    return {
        {MakeLiar({64, 32, 1, 1}), which + " has only 64x32 pixels of the 64x48 it is said to have"},
        {MakeLiar({62, 48, 1, 1}), which + " has only 62x48 pixels of the 64x48 it is said to have"},
        {MakeSP<Liar>(*MakeFrame(PixFmt::GRAY8)->GetAVFrame(), s_small),
         which + " is gray but is said to be yuv420p"},
        {empty, which + " has no pixels"},
        {MakeFrame(PixFmt::YUV420P, {80, 48, 1, 1}), which + " is yuv420p of 80x48 pixels " + built},
        {MakeFrame(PixFmt::YUV444P), which + " is yuv444p of 64x48 pixels " + built},
    };
}

auto MakeBad(OneFrame) {
    return MakeBadFrames("Frame");
}

template <bool isFirst>
auto MakeBad(OneOfTwoFrames<isFirst>) {
    return MakeBadFrames(isFirst ? "First frame" : "Second frame");
}

auto MakeBad(OneBlock) {
    std::string const fed = "Error while feeding the filtergraph";
    std::vector<BadDatum<OneBlock::Datum>> rows;
    for (SampleInfo const& info : {SampleInfo::Init(SampleFormats::FloatPlanar, 44100, {3, 2}),
                                   SampleInfo::Init(SampleFormats::Float, 48000, {3, 2}),
                                   SampleInfo::Init(SampleFormats::Float, 44100, {4, 1})})
        rows.push_back({MakeAudioNoise(info, 10), fed});
    auto const add = [&](auto const& spoil, char const* text) {
        auto const block = MakeAudioNoise(OneBlock::s_info, 1000);
        spoil(*block->GetAVFrame());
        rows.push_back({block, text});
    };
    add([](AVFrame& frame) { frame.nb_samples = 2000; },
        "Block has only 8192 bytes of the 16000 that its 2000 samples take");
    add([](AVFrame& frame) { frame.data[0] = nullptr; }, "Block has samples of only some of its 2 channels");
    add([](AVFrame& frame) { frame.ch_layout = {}; }, "Block has no channels");
    return rows;
}

template <class Kind>
struct Graphs : testing::Test {};
using Kinds = testing::Types<OneFrame, OneOfTwoFrames<true>, OneOfTwoFrames<false>, OneBlock>;
TYPED_TEST_SUITE(Graphs, Kinds);

TYPED_TEST(Graphs, RefuseWhatTheirFilterMustNotSee) {
    FFmpegWatch const quiet;
    auto const graph = TypeParam::Make();
    std::int64_t time = 0;
    for (auto const& bad : MakeBad(TypeParam())) {
        SCOPED_TRACE(bad.text);
        auto data = bad.datum;
        Failure const failure = Catch([&] { TypeParam::Process(*graph, data); });
        EXPECT_EQ(failure.text, bad.text);
        EXPECT_EQ(failure.filter, TypeParam::s_filter);
        EXPECT_EQ(failure.code, std::nullopt);
        EXPECT_TRUE(failure.hasStack);
        EXPECT_EQ(data, bad.datum);
        EXPECT_EQ(Catch([&] { TypeParam::Feed(*graph, bad.datum); }).text, bad.text);
        EXPECT_FALSE(graph->HasFailed());
        data = TypeParam::MakeDatum(time += 40000);
        TypeParam::Process(*graph, data);
        EXPECT_NE(data, nullptr);
    }
}

TEST(Graph, SaysThatMemoryRanOut) {
    FFmpegWatch const quiet;
    std::set<std::string> texts;
    for (std::size_t bytes = 1; bytes < 100'000; bytes += 1 + bytes / 8)
        try {
            AllocationLimit const limit(bytes);
            OneFrame::Make();
        } catch (Proc::EffectException const& exception) {
            if (Describe(exception).code == 35)
                texts.insert(exception.what());
        } catch (Core::MemoryException const&) { // of the wrappers
        }
    EXPECT_EQ(texts, std::set<std::string>{"Not enough memory for filter"});
}

TEST(Graph, StartsNoThreadsOfItsOwn) {
    // Threads that were waited for may be there a moment longer.
    auto const countThreads = [] {
        std::ptrdiff_t count = 0;
        for (std::ptrdiff_t last = -1; last != count;) {
            last = std::exchange(count,
                                 std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return count;
    };
    std::thread([] {}).join(); // with the first thread the thread sanitizer starts one of its own
    auto const before = countThreads();
    int const budget = Core::ThreadBudget::Get();
    Core::ThreadBudget::Set(4);
    {
        EffectFFMPEG const alone(EffectFFMPEG::Video, "hflip", s_args);
        auto const audio = OneBlock::Make();
        EXPECT_EQ(countThreads(), before);
        EffectFFMPEG const sliced(EffectFFMPEG::Video, "hflip", s_args, Core::WorkPool::Share());
        EffectFFMPEG const another(EffectFFMPEG::Video, "hflip", s_args, Core::WorkPool::Share());
        EXPECT_EQ(countThreads(), before + 3); // those of the pool
    }
    EXPECT_EQ(countThreads(), before);
    Core::ThreadBudget::Set(budget);
}

TEST(FormatCache, KeepsAllAnswersAtAFewHundredBytesEach) {
    constexpr std::size_t count = 100'000;
    Proc::FormatCache cache;
    auto const makeKey = [](std::size_t i) {
        return Proc::FormatCache::MakeKey(
            "rotate", PixFmt::YUV420P,
            fmt::format("rotate=angle={:.3f}:fillcolor=0x000000ff", static_cast<double>(i) * 0.001));
    };
    std::size_t const before = GetMemoryInUse();
    for (std::size_t i = 0; i < count; ++i)
        cache.Store(makeKey(i), PixFmt::YUV420P);
    std::size_t const each = (GetMemoryInUse() - before) / count;
    RecordProperty("bytes", static_cast<int>(each));
    EXPECT_LT(each, 256U);
    for (std::size_t i = 0; i < count; i += 1000)
        EXPECT_EQ(cache.Find(makeKey(i)), PixFmt::YUV420P) << i;
}

} // namespace
} // namespace Tarsel::Test
