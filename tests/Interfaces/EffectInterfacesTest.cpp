#include "Host/Doubles.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"
#include "Proc/Interfaces/Statistics.h"
#include "Proc/Interfaces/TimeToProgress.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

using namespace Tarsel;
using namespace Tarsel::Proc;

namespace {

/// Remembers what it was given and answers with `result`.
template <class Medium>
struct OneInput : HostTest::EffectOf<Medium> {
    using Data = typename Medium::Data;
    OneInput() : HostTest::EffectOf<Medium>("one") {}
    using Medium::Effect::ProcessData;
    void Process(SP<Data>& data) override {
        given = data;
        data = result;
    }

    SP<Data> given, result;
};

struct TwoInput : HostTest::EffectAs<ITwoInputEffectVideo> {
    TwoInput() : EffectAs("two") {}
    using ITwoInputEffectVideo::ProcessData;
    void Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) override {
        given = data;
        givenSecond = second;
        data = result;
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}

    SP<IDataVideo> given, result;
    SP<IDataVideo const> givenSecond;
};

using Video = OneInput<Host::VideoMedium>;
using Audio = OneInput<Host::AudioMedium>;

SP<IDataVideo> MakeVideo() {
    return MakeSP<DataVideoFF>(Conf::ColorSpace{}, Conf::PixFmt::GRAY8, Conf::FrameInfo{4, 2, 1, 1});
}

SP<IDataAudio> MakeAudio() {
    return DataAudioFF::CreateBySampleCount(
        Conf::SampleInfo::Init(Conf::SampleFormats::S16, 48000, Conf::ChannelLayout::FromCount(1)), 8);
}

/// One effect of a kind, fed with the right kind of data, the wrong one, and none.
template <class Effect>
void CheckOneInput(SP<IData> const& right, decltype(Effect::result) const& result, SP<IData> const& wrong) {
    auto const effect = MakeSP<Effect>();
    effect->result = result;
    std::vector<SP<IData>> const inputs{right};
    EXPECT_EQ(effect->ProcessData(inputs), result);
    EXPECT_EQ(effect->given, right);
    EXPECT_EQ(inputs[0], right); // the caller's element stays

    EXPECT_EQ(effect->ProcessData({SP<IData>()}), result); // frames held back are asked for with null
    EXPECT_EQ(effect->given, nullptr);

    effect->result = nullptr;
    EXPECT_EQ(effect->ProcessData(inputs), nullptr);

    effect->given = nullptr;
    EXPECT_THROW(effect->ProcessData({wrong}), std::bad_cast);
    EXPECT_EQ(effect->given, nullptr);
}

TEST(OneInputAdapter, Casts) {
    CheckOneInput<Video>(MakeVideo(), MakeVideo(), MakeAudio());
    CheckOneInput<Audio>(MakeAudio(), MakeAudio(), MakeVideo());
}

TEST(TwoInputAdapter, CastsBoth) {
    auto const effect = MakeSP<TwoInput>();
    effect->result = MakeVideo();
    SP<IData> const first = MakeVideo();
    SP<IData> const second = MakeVideo();
    std::vector<SP<IData>> const inputs{first, second};
    EXPECT_EQ(effect->ProcessData(inputs), effect->result);
    EXPECT_EQ(effect->given, first);
    EXPECT_EQ(effect->givenSecond, second);
    EXPECT_EQ(inputs, (std::vector{first, second}));

    effect->ProcessData({SP<IData>(), SP<IData>()});
    EXPECT_EQ(effect->given, nullptr);
    EXPECT_EQ(effect->givenSecond, nullptr);

    EXPECT_THROW(effect->ProcessData({MakeAudio(), second}), std::bad_cast);
    EXPECT_THROW(effect->ProcessData({first, MakeAudio()}), std::bad_cast);
    EXPECT_EQ(effect->given, nullptr);
}

TEST(Adapters, RefuseAWrongCountOfInputs) {
    struct {
        SP<IEffect> effect;
        std::size_t count;
        std::string name;
        char const* text;
    } const cases[] = {{MakeSP<Video>(), 0, "IOneInputEffect", "incorrect data count"},
                       {MakeSP<Video>(), 2, "IOneInputEffect", "incorrect data count"},
                       {MakeSP<TwoInput>(), 0, "ITwoInputEffect", "invalid data count"},
                       {MakeSP<TwoInput>(), 1, "ITwoInputEffect", "invalid data count"},
                       {MakeSP<TwoInput>(), 3, "ITwoInputEffect", "invalid data count"}};
    for (auto const& row : cases) {
        Tarsel::Test::Failure const failure = Tarsel::Test::Catch<std::logic_error>(
            [&] { row.effect->ProcessData(std::vector<SP<IData>>(row.count)); });
        EXPECT_EQ(failure.text, row.text);
        EXPECT_EQ(failure.file, "Proc/Interfaces/" + row.name);
        EXPECT_THAT(failure.function, testing::HasSubstr("ProcessData"));
        EXPECT_TRUE(failure.hasStack);
    }
}

TEST(TimeToProgress, IsLinearInDouble) {
    TimeToProgress const standard;
    EXPECT_EQ(standard.GetStart(), 0);
    EXPECT_EQ(standard.GetEnd(), 1000000);
    EXPECT_EQ(standard(250000), 0.25);
    EXPECT_EQ(standard(-500000), -0.5); // not clamped
    EXPECT_EQ(TimeToProgress::Linear(15, 10, 20), 0.5);
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(TimeToProgress::Linear(0, least, most), 0.5); // wider than 64 bits
    TimeToProgress const squared(0, 10, [](auto current, auto start, auto end) {
        double const linear = TimeToProgress::Linear(current, start, end);
        return linear * linear;
    });
    EXPECT_EQ(squared(5), 0.25);
}

TEST(Effect, KeepsTheProgressItIsGiven) {
    auto const effect = MakeSP<HostTest::Effect>("any");
    EXPECT_EQ(effect->GetProgress().GetEnd(), 1000000);
    effect->SetProgress(TimeToProgress(100, 300));
    EXPECT_EQ(static_cast<IEffect const&>(*effect).GetProgress()(200), 0.5);
    EXPECT_EQ(effect->GetStatistic(), Core::Property());
}

TEST(Statistics, BecomeAPropertyTree) {
    Core::Property const tree = Statistics::MakeStatistics({"GetStatistic()", 7, 1, "ffmpeg", 3, 25});
    Core::Property expected("Statistics");
    expected.CreateChildT("Name", std::string("GetStatistic()"));
    expected.CreateChildT("Category", std::int64_t{7});
    expected.CreateChildT("MediaType", std::int64_t{1});
    expected.CreateChildT("ImplName", std::string("ffmpeg"));
    expected.CreateChildT("CounterA", std::int64_t{3});
    expected.CreateChildT("Processed", std::int64_t{25});
    EXPECT_EQ(tree, expected);
}

} // namespace
