#include "Frames.h"
#include "Probe.h"
#include "Proc/Effects/Lumenta/Graph/FormatCache.h"
#include "Support/AllocationLimit.h"
#include "Support/MemoryWatch.h"
#include "Support/Watch.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::IDataVideo;
using Calls = std::vector<std::string>;

SP<Probe> MakeProbe(std::string const& text, int step = 1) {
    auto effect = MakeSP<Probe>();
    effect->SetSettings(Proc::SettingsEffectTranspose(step));
    ProbeActions::Prepare(text);
    return effect;
}

/// `text` as the cache of formats has not seen it before.
std::string MakeUnseen(std::string const& text) {
    static int s_count = 0;
    return text + ",null@" + std::to_string(++s_count);
}

TEST(Wrapper, BuildsOnlyWhenItHasTo) {
    auto const effect = MakeProbe("vflip");
    LogWatch log(31);
    auto const builds = [&](PixFmt format, Conf::FrameInfo const& info) {
        EXPECT_NE(Apply(*effect, MakeFrame(format, info)), nullptr);
        return log.Take().size();
    };
    auto const set = [&](Proc::Settings const& settings) { effect->SetSettings(settings); };

    EXPECT_EQ(builds(PixFmt::YUV420P, s_small), 1U);
    EXPECT_EQ(builds(PixFmt::YUV420P, s_small), 0U);
    for (Conf::FrameInfo const& other :
         {Conf::FrameInfo{66, 48, 1, 1}, {66, 50, 1, 1}, {66, 50, 4, 1}, {66, 50, 4, 3}}) {
        EXPECT_EQ(builds(PixFmt::YUV420P, other), 1U);
        EXPECT_EQ(builds(PixFmt::YUV420P, other), 0U);
    }
    EXPECT_EQ(builds(PixFmt::YUV444P, s_small), 1U);
    set(Proc::SettingsEffectTranspose(1));
    EXPECT_EQ(builds(PixFmt::YUV444P, s_small), 0U);
    set(Proc::SettingsEffectTranspose(2));
    EXPECT_EQ(builds(PixFmt::YUV444P, s_small), 1U);
    effect->Reset();
    EXPECT_EQ(builds(PixFmt::YUV444P, s_small), 1U);
    Ask(*effect);
    EXPECT_EQ(builds(PixFmt::YUV444P, s_small), 0U);
    set(Proc::SettingsEffectTranspose(0));
    EXPECT_EQ(builds(PixFmt::YUV444P, s_small), 0U);

    EXPECT_EQ(effect->GetStatistic()["Processed"].GetInt64(), 15);
}

TEST(Wrapper, CallsHooksInOrder) {
    auto const effect = MakeProbe("framerate=fps=50");
    SP<IDataVideo> data;
    effect->Process(data);
    EXPECT_EQ(ProbeActions::s_calls, Calls{});
    Calls expected{"GetFFString", "CheckFormat", "CheckFrame", "PostProcess of null",
                   "CheckFrame",  "PostProcess", "PostProcess"};
    for (std::int64_t time : {0, 40000}) {
        data = MakeFrame(PixFmt::YUV420P, s_small, time);
        effect->Process(data);
    }
    data = nullptr;
    effect->Process(data);
    EXPECT_EQ(data->GetTime(), 20000);
    EXPECT_EQ(ProbeActions::s_calls, expected);
    EXPECT_EQ(effect->GetStatistic()["Processed"].GetInt64(), 2);
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

TEST(Wrapper, AsksAGraphForAFormatOnce) {
    std::string const text = MakeUnseen("format=rgb24");
    std::string const key = "transpose yuv420p " + text;
    auto const effect = MakeProbe(text);
    auto const ask = [&](Probe& probe, PixFmt expected) {
        auto codec = MakeCodec();
        int const graphs = CountGraphs([&] { probe.UpdateFormatCodec(codec); });
        EXPECT_EQ(codec->GetPixelFormat(), expected);
        return graphs;
    };
    EXPECT_EQ(ask(*effect, PixFmt::RGB24), 1);
    EXPECT_EQ(ProbeActions::s_calls, (Calls{"CheckFormat", "GetFFString"}));
    EXPECT_EQ(Proc::GetVideoFormatCache().Find(key), PixFmt::RGB24);

    auto const other = MakeProbe(text, 2);
    EXPECT_EQ(ask(*other, PixFmt::RGB24), 0);
    EXPECT_EQ(ProbeActions::s_calls, (Calls{"CheckFormat", "GetFFString", "PostUpdate"}));

    // A stored "none" is no answer, anything else is believed.
    Proc::GetVideoFormatCache().Store(key, PixFmt::None);
    EXPECT_EQ(ask(*other, PixFmt::RGB24), 1);
    Proc::GetVideoFormatCache().Store(key, PixFmt::GRAY8);
    EXPECT_EQ(ask(*other, PixFmt::GRAY8), 0);

    // The first answer comes with the graph's geometry, the second without.
    auto const turned = MakeProbe(MakeUnseen("transpose,format=rgb24"));
    for (std::uint32_t width : {48U, 64U}) {
        EXPECT_EQ(Ask(*turned)->GetFrameInfo().width, width);
    }
    auto const empty = MakeProbe(MakeUnseen("format=rgb24"), 0);
    EXPECT_EQ(ask(*empty, PixFmt::YUV420P), 0);
    EXPECT_EQ(ProbeActions::s_calls, Calls{});
}

TEST(Wrapper, AsksTheGraphOfThatFormatOnly) {
    auto const effect = MakeProbe(MakeUnseen("hflip"));
    SP<IDataVideo> data = MakeFrame(PixFmt::YUV420P);
    effect->Process(data);
    for (auto const& [format, graphs] : {std::pair{PixFmt::YUV420P, 0}, {PixFmt::YUV444P, 1}}) {
        auto codec = MakeCodec(format);
        EXPECT_EQ(CountGraphs([&] { effect->UpdateFormatCodec(codec); }), graphs);
        EXPECT_EQ(codec->GetPixelFormat(), format);
    }
    ProbeActions::s_text = MakeUnseen("format=gray"); // as if the text hung on more than the settings
    auto codec = MakeCodec();
    EXPECT_EQ(CountGraphs([&] { effect->UpdateFormatCodec(codec); }), 1);
    EXPECT_EQ(codec->GetPixelFormat(), PixFmt::GRAY8);
}

TEST(Wrapper, FreesItsLockOnEveryThrow) {
    auto const process = [](Probe& effect) { Apply(effect, MakeFrame()); };
    auto const feed = [](Probe& effect) { effect.Feed(MakeFrame()); };
    auto const update = [](Probe& effect) { Ask(effect); };
    auto const statistic = [](Probe& effect) { effect.GetStatistic(); };
    struct Case {
        char const* text;
        std::string hook;
        std::function<void(Probe&)> call;
    };
    std::string const cached = "hflip,copy";
    auto const warm = MakeProbe(cached);
    update(*warm);
    FFmpegWatch const quiet;
    for (Case const& bad :
         {Case{"vflip", "GetFFString", process}, Case{"vflip", "CheckFormat", process},
          Case{"vflip", "CheckFrame", process}, Case{"vflip", "PostProcess", process},
          Case{"no such filter", "", process}, Case{"vflip", "GetFFString", feed},
          Case{"vflip", "CheckFrame", feed}, Case{"vflip", "PostProcess", feed},
          Case{"vflip,copy", "CheckFormat", update}, Case{cached.c_str(), "PostUpdate", update},
          Case{"vflip", "GetFFString", statistic}, Case{"no such filter", "", update}}) {
        auto const effect = MakeProbe(bad.text);
        ProbeActions::s_throwing = bad.hook;
        if (bad.hook.empty())
            EXPECT_EQ(Catch([&] { bad.call(*effect); }).filter, bad.text);
        else
            EXPECT_EQ(Catch<std::logic_error>([&] { bad.call(*effect); }).text, bad.hook);
        ProbeActions::Prepare("vflip");
        std::promise<void> done;
        std::thread([&done, effect, process] {
            process(*effect);
            done.set_value();
        }).detach();
        ASSERT_EQ(done.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready)
            << bad.hook;
    }
}

TEST(Wrapper, TakesSettingsOfItsVeryClassOnly) {
    struct Derived : Proc::SettingsEffectTranspose {};
    auto const effect = MakeProbe("vflip");
    EXPECT_THROW(effect->SetSettings(static_cast<Proc::Settings const&>(Derived())), std::bad_cast);
    EXPECT_THROW(effect->SetSettings(Proc::SettingsEffectFlip()), std::bad_cast);
}

TEST(Wrapper, RecoversFromAFailedGraph) {
    auto const effect = MakeProbe("hflip");
    FFmpegWatch const quiet;
    auto const fail = [](auto const& work) {
        AllocationLimit const limit(2000);
        EXPECT_EQ(Catch(work).code, 35);
    };
    SP<IDataVideo> data = MakeFrame();
    fail([&] { effect->Process(data); });
    effect->Process(data);
    EXPECT_NE(data, nullptr);
    effect->Reset();
    effect->Feed(MakeFrame());
    data = MakeFrame(PixFmt::YUV420P, {320, 240, 1, 1});
    fail([&] { effect->Feed(data); });
    effect->Feed(data);
    EXPECT_NE(effect->Take(), nullptr);
    EXPECT_NE(effect->Take(), nullptr);
    EXPECT_EQ(effect->Take(), nullptr);
}

/// The stream of one effect; frames are known by their times, settings by the step the hook leaves.
struct Stream : testing::Test {
    SP<Probe> const effect = MakeProbe("yadif=mode=0:deint=%");
    using Out = std::vector<std::pair<std::int64_t, std::intptr_t>>;

    void Feed(std::int64_t index, PixFmt format = PixFmt::YUV420P) {
        effect->Feed(MakeFrame(format, s_small, index * 40000));
    }
    void Set(int step) { effect->SetSettings(Proc::SettingsEffectTranspose(step)); }
    Out Take() {
        Out out;
        while (SP<IDataVideo> data = effect->Take())
            out.emplace_back(data->GetTime() / 40000,
                             reinterpret_cast<std::intptr_t>(data->GetAVFrame()->opaque));
        return out;
    }
};

TEST_F(Stream, BringsOutTheOldBeforeTheNew) {
    Feed(0);
    Feed(1, PixFmt::YUV444P);
    Feed(2, PixFmt::YUV444P);
    Set(0); // frames pass untouched
    Feed(3);
    Set(1);
    Set(1);
    Feed(4);
    effect->End();
    EXPECT_EQ(Take(), (Out{{0, 1}, {1, 1}, {2, 1}, {3, 0}, {4, 1}}));
}

TEST_F(Stream, LosesOnlyTheFrameThatFails) {
    Feed(0);
    Feed(1);
    FFmpegWatch const quiet;
    EXPECT_THROW(effect->Feed(MakeLiar({32, 32, 1, 1})), Proc::EffectException);
    ProbeActions::s_text = "no such filter";
    EXPECT_THROW(Feed(2, PixFmt::YUV444P), Proc::EffectException);
    ProbeActions::s_text = "vflip";
    Feed(3, PixFmt::YUV444P);
    EXPECT_EQ(Take(), (Out{{0, 1}, {1, 1}, {3, 1}}));
}

} // namespace
} // namespace Tarsel::Test
