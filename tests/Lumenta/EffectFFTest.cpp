#include "Proc/Effects/Lumenta/Base/EffectFF.h"
#include "Frames.h"
#include "Proc/Settings/Orientation.h"
#include "Support/AllocationLimit.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::IDataVideo;
using Proc::SettingsEffectTranspose;
using Lines = std::vector<std::string>;

constexpr Conf::FrameInfo s_wide{66, 48, 1, 1};

/// The smallest custom effect: its description is a text of the test, with the settings' step for "%".
struct Custom : Proc::EffectVideoFF<Proc::IOneInputEffectVideo, SettingsEffectTranspose> {
    std::string text;
    bool fails = false;
    int resets = 0;

    using EffectVideoFF::SetSettings;
    void Reset() override {
        ++resets;
        EffectVideoFF::Reset();
    }

private:
    void SetSettingsImpl() override {
        if (fails && m_settings.step == 3)
            throw std::runtime_error("step 3");
        m_description = text;
        if (auto const place = text.find('%'); place != std::string::npos)
            m_description.replace(place, 1, std::to_string(m_settings.step));
    }
    void UpdateStatistic(Core::Property& statistic) const override { statistic.SetChildT("Own", text); }
};

SP<Custom> MakeCustom(std::string const& text, int step = 1) {
    auto effect = MakeSP<Custom>();
    effect->text = text;
    effect->SetSettings(SettingsEffectTranspose(step));
    return effect;
}

int CountGraphsOf(Custom& effect, PixFmt format = PixFmt::YUV420P, Conf::FrameInfo const& info = s_small) {
    return CountGraphs([&] { EXPECT_TRUE(Apply(effect, MakeFrame(format, info))); });
}

struct Answer {
    PixFmt format;
    std::uint32_t width;
    int graphs;
    friend bool operator==(Answer const&, Answer const&) = default;
};

Answer AskCounting(Custom& effect, PixFmt format = PixFmt::YUV420P, Conf::FrameInfo const& info = s_small) {
    SP<Conf::IFormatCodecVideo> codec;
    int const graphs = CountGraphs([&] { codec = Ask(effect, format, info); });
    return {codec->GetPixelFormat(), codec->GetFrameInfo().width, graphs};
}

TEST(CustomBase, BuildsOnlyWhenItHasTo) {
    auto const effect = MakeCustom("vflip");
    EXPECT_EQ(CountGraphsOf(*effect), 1);
    EXPECT_EQ(CountGraphsOf(*effect), 0);
    for (Conf::FrameInfo const& other :
         {s_wide, Conf::FrameInfo{66, 50, 1, 1}, {66, 50, 4, 1}, {66, 50, 4, 3}}) {
        EXPECT_EQ(CountGraphsOf(*effect, PixFmt::YUV420P, other), 1);
        EXPECT_EQ(CountGraphsOf(*effect, PixFmt::YUV420P, other), 0);
    }
    EXPECT_EQ(CountGraphsOf(*effect, PixFmt::YUV444P), 1);
    effect->Reset();
    effect->SetSettings(SettingsEffectTranspose(2));
    EXPECT_EQ(CountGraphsOf(*effect, PixFmt::YUV444P), 0) << "the same text";
    effect->text = "hflip";
    effect->SetSettings(SettingsEffectTranspose(3));
    EXPECT_EQ(CountGraphsOf(*effect, PixFmt::YUV444P), 1);
    EXPECT_EQ(effect->GetStatistic()["Processed"].GetInt64(), 13);
}

TEST(CustomBase, TakesEqualSettingsForNoNews) {
    auto const effect = MakeCustom("vflip");
    effect->text = "another";
    effect->resets = 0;
    LogWatch log(30);
    effect->SetSettings(SettingsEffectTranspose(1));
    EXPECT_EQ(log.Take(), Lines{});
    EXPECT_EQ(effect->resets, 0);
    effect->SetSettings(static_cast<Proc::Settings const&>(SettingsEffectTranspose(2)));
    EXPECT_EQ(log.Take(), Lines{"EffectFF.cpp: ffmpeg settings: another"});
    EXPECT_EQ(effect->resets, 1);
}

TEST(CustomBase, LogsItsSteps) {
    auto const effect = MakeCustom("vflip");
    auto const process = [&](int verbosity) {
        LogWatch log(verbosity);
        Apply(*effect, MakeFrame());
        return log.Take();
    };
    EXPECT_EQ(process(29), Lines{});
    EXPECT_EQ(process(30), (Lines{"EffectFF.cpp: ffmpeg starts", "EffectFF.cpp: ffmpeg apply with: vflip",
                                  "EffectFF.cpp: ffmpeg done"}));
    effect->SetSettings(SettingsEffectTranspose(0));
    EXPECT_EQ(process(30), (Lines{"EffectFF.cpp: ffmpeg starts", "EffectFF.cpp: ffmpeg is empty"}));
}

TEST(CustomBase, ForwardsNullsToItsGraph) {
    auto const effect = MakeCustom("framerate=fps=50");
    SP<IDataVideo> data;
    effect->Process(data);
    EXPECT_FALSE(data);
    for (std::int64_t const time : {0, 40000}) {
        data = MakeFrame(PixFmt::YUV420P, s_small, time);
        effect->Process(data);
    }
    data = nullptr;
    effect->Process(data);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->GetTime(), 20000);
    EXPECT_EQ(effect->GetStatistic()["Processed"].GetInt64(), 2);
}

TEST(CustomBase, AnswersForTheFormatThatIsAsked) {
    auto const effect = MakeCustom("format=yuv444p|gray,crop=iw-2*%");
    EXPECT_EQ(AskCounting(*effect), (Answer{PixFmt::YUV444P, 62, 1}));
    EXPECT_EQ(AskCounting(*effect), (Answer{PixFmt::YUV444P, 62, 0}));
    EXPECT_EQ(AskCounting(*effect, PixFmt::GRAY8), (Answer{PixFmt::GRAY8, 62, 1}));
    EXPECT_EQ(CountGraphsOf(*effect), 1) << "no frame goes through a graph made for a question";
    EXPECT_EQ(AskCounting(*effect), (Answer{PixFmt::YUV444P, 62, 0}));
    EXPECT_EQ(AskCounting(*effect, PixFmt::YUV420P, s_wide), (Answer{PixFmt::YUV444P, 64, 1}));
    EXPECT_EQ(CountGraphsOf(*effect), 0) << "a question leaves the graph of the frames alone";
    effect->SetSettings(SettingsEffectTranspose(2));
    EXPECT_EQ(AskCounting(*effect), (Answer{PixFmt::YUV444P, 60, 1})) << "the graph is of the old settings";
}

TEST(CustomBase, TriesAFailedGraphAgain) {
    auto const effect = MakeCustom("hflip");
    EXPECT_EQ(CountGraphsOf(*effect), 1);
    SP<IDataVideo> const wide = MakeFrame(PixFmt::YUV420P, s_wide);
    SP<IDataVideo> data = wide;
    {
        FFmpegWatch const quiet;
        AllocationLimit const limit(2000);
        EXPECT_EQ(Catch([&] { effect->Process(data); }).code, 35);
    }
    EXPECT_EQ(data, wide);
    EXPECT_EQ(CountGraphsOf(*effect), 1) << "nothing is taken for built";
    EXPECT_EQ(CountGraphsOf(*effect, PixFmt::YUV420P, s_wide), 1);

    FFmpegWatch const quiet;
    effect->text = "no such filter";
    effect->SetSettings(SettingsEffectTranspose(2));
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Catch([&] { effect->Process(data); }).text, "Cannot parse graph");
    SP<Conf::IFormatCodecVideo> codec = MakeCodec();
    EXPECT_EQ(Catch([&] { effect->UpdateFormatCodec(codec); }).filter, "no such filter");
    EXPECT_EQ(codec->GetFrameInfo(), s_small);
}

TEST(CustomBase, GoesOnWithTheSettingsBeforeWhereNewOnesFail) {
    auto const effect = MakeCustom("vflip");
    effect->fails = true;
    EXPECT_THROW(effect->SetSettings(SettingsEffectTranspose(3)), std::runtime_error);
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(SettingsEffectTranspose(1)));
    EXPECT_EQ(CountGraphsOf(*effect), 1);
    EXPECT_THROW(effect->SetSettings(SettingsEffectTranspose(3)), std::runtime_error) << "not taken for set";
}

TEST(CustomBase, TakesSettingsAsObjectsOnly) {
    auto const effect = MakeCustom("vflip");
    effect->SetSettings(Core::Property("any"));
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(SettingsEffectTranspose(1)));
    Core::Property const property = effect->GetSettings();
    EXPECT_EQ(property.GetName(), "");
    EXPECT_FALSE(property.ChildExists("step"));
}

TEST(CustomBase, TellsItsStatistics) {
    auto const effect = MakeCustom("vflip");
    Core::Property const statistic = effect->GetStatistic();
    EXPECT_EQ(statistic["Name"].GetString(),
              "virtual Core::Property Tarsel::Proc::EffectVideoFF<Tarsel::Proc::IOneInputEffectVideo, "
              "Tarsel::Proc::SettingsEffectTranspose>::GetStatistic() const [EffectType = "
              "Tarsel::Proc::IOneInputEffectVideo, SettingsType = Tarsel::Proc::SettingsEffectTranspose]");
    EXPECT_EQ(statistic["Own"].GetString(), "vflip");
}

/// A stream through a filter that holds a frame back; frames are known by their times and formats.
struct CustomStream : testing::Test {
    SP<Custom> const effect = MakeCustom("yadif=mode=0:deint=%");
    using Out = std::vector<std::pair<std::int64_t, PixFmt>>;

    void Feed(std::int64_t index, PixFmt format = PixFmt::YUV420P) {
        effect->Feed(MakeFrame(format, s_small, index * 40000));
    }
    Out Take() {
        Out out;
        while (SP<IDataVideo> data = effect->Take())
            out.emplace_back(data->GetTime() / 40000, data->GetPixelFormat());
        return out;
    }
};

constexpr PixFmt s_first = PixFmt::YUV420P;
constexpr PixFmt s_second = PixFmt::YUV444P;

TEST_F(CustomStream, LosesNothingWhateverChanges) {
    effect->End();
    EXPECT_EQ(Take(), Out{});
    Feed(0);
    Feed(1);
    EXPECT_EQ(Take(), (Out{{0, s_first}}));
    Feed(2, s_second);
    Feed(3, s_second);
    EXPECT_EQ(Take(), (Out{{1, s_first}, {2, s_second}}));
    effect->text = "yadif=mode=0:deint=%,format=gray";
    effect->SetSettings(SettingsEffectTranspose(0)); // frames pass untouched
    Feed(4);
    effect->SetSettings(SettingsEffectTranspose(1));
    Feed(5);
    effect->End();
    EXPECT_EQ(Take(), (Out{{3, s_second}, {4, s_first}, {5, PixFmt::GRAY8}}));
    Feed(6);
    effect->End();
    EXPECT_EQ(Take(), (Out{{6, PixFmt::GRAY8}}));
}

TEST_F(CustomStream, KeepsApartFromCalls) {
    SP<IDataVideo> data = MakeFrame();
    effect->Process(data);
    effect->Reset();
    Feed(7);
    effect->End();
    EXPECT_EQ(Take(), (Out{{7, s_first}}));
}

TEST_F(CustomStream, LosesOnlyTheFrameThatFails) {
    Feed(0);
    Feed(1);
    FFmpegWatch const quiet;
    EXPECT_THROW(effect->Feed(MakeLiar({32, 32, 1, 1})), Proc::EffectException);
    Feed(2);
    effect->End();
    EXPECT_EQ(Take(), (Out{{0, s_first}, {1, s_first}, {2, s_first}}));
}

} // namespace
} // namespace Tarsel::Test
