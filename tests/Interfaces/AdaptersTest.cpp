#include "Core/Throw.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"
#include "Proc/Settings/Settings.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <typeinfo>
#include <vector>

using namespace Tarsel;
using namespace Tarsel::Proc;

namespace {

/// What the adapters do not touch.
template <class Interface, int frameType>
class Unused : public Core::RefCounted<Interface> {
public:
    using Interface::ProcessData;
    Core::Property GetSettings() const override { return Core::Property(); }
    void SetSettings(Core::Property const&) override {}
    Settings const& GetSettingsBase() const override { throw std::logic_error("not asked for"); }
    void SetSettings(Settings const&) override {}
    void Reset() override {}
    std::int32_t GetInputFrameType() const override { return frameType; }
};

/// Remembers what it was given and answers with `result`.
class Video : public Unused<IOneInputEffectVideo, 1> {
public:
    void Process(SP<IDataVideo>& data) override {
        given = data;
        data = result;
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}

    SP<IDataVideo> given, result;
};

class Audio : public Unused<IOneInputEffectAudio, 2> {
public:
    void Process(SP<IDataAudio>& data) override {
        given = data;
        data = result;
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>&) override {}

    SP<IDataAudio> given, result;
};

class TwoInput : public Unused<ITwoInputEffectVideo, 1> {
public:
    void Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) override {
        given = data;
        givenSecond = second;
        data = result;
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}

    SP<IDataVideo> given, result;
    SP<IDataVideo const> givenSecond;
};

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
    try {
        effect.ProcessData(std::vector<SP<IData>>(count));
        ADD_FAILURE() << "nothing thrown";
    } catch (std::logic_error const& exception) {
        EXPECT_STREQ(exception.what(), text);
        auto const* thrownFile = boost::get_error_info<boost::throw_file>(exception);
        auto const* thrownFunction = boost::get_error_info<boost::throw_function>(exception);
        auto const* stack = boost::get_error_info<TagCallStack>(exception);
        ASSERT_TRUE(thrownFile && thrownFunction && stack);
        EXPECT_STREQ(*thrownFile, file);
        EXPECT_STREQ(*thrownFunction, function);
        EXPECT_THAT(stack->GetFunctionNames().front(), testing::HasSubstr("::ProcessData("));
    }
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
