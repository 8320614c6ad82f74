#include "Host/Doubles.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"
#include "Support/Failure.h"

#include <gtest/gtest.h>

#include <stdexcept>
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

TEST(OneInputAdapter, CastsVideo) {
    CheckOneInput<Video>(MakeVideo(), MakeVideo(), MakeAudio());
}

TEST(OneInputAdapter, CastsAudio) {
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

void ExpectWrongCount(IEffect& effect, std::size_t count, char const* text, char const* file,
                      char const* function) {
    SCOPED_TRACE(count);
    Tarsel::Test::Failure const failure =
        Tarsel::Test::Catch<std::logic_error>([&] { effect.ProcessData(std::vector<SP<IData>>(count)); });
    EXPECT_EQ(failure.text, text);
    EXPECT_EQ(failure.file, file);
    EXPECT_EQ(failure.function, function);
    EXPECT_TRUE(failure.hasStack);
}

TEST(Adapters, RefuseAWrongCountOfInputs) {
    for (std::size_t const count : {0U, 2U})
        ExpectWrongCount(*MakeSP<Video>(), count, "incorrect data count", "Proc/Interfaces/IOneInputEffect",
                         "virtual SP<IData> Tarsel::Proc::IOneInputEffect::ProcessData("
                         "const std::vector<SP<IData>> &)");
    for (std::size_t const count : {0U, 1U, 3U})
        ExpectWrongCount(*MakeSP<TwoInput>(), count, "invalid data count", "Proc/Interfaces/ITwoInputEffect",
                         "virtual SP<IData> Tarsel::Proc::ITwoInputEffect::ProcessData("
                         "const std::vector<SP<IData>> &)");
}

} // namespace
