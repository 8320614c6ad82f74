#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Effects/RotateFF.h"
#include "Support/LibraryEffects.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

namespace Tarsel::Test {
namespace {

using Conf::FrameInfo;
using Conf::PixFmt;
using Proc::IDataVideo;
using Rotate = Proc::SettingsEffectRotate;
using Mode = Rotate::SizeMode;

Rotate MakeSettings(double degrees, Mode mode = Mode::Keep) {
    Rotate settings;
    settings.angle = degrees;
    settings.sizeMode = mode;
    return settings;
}

SP<Proc::IOneInputEffectVideo> MakeRotate(double degrees, Mode mode = Mode::Keep,
                                          SP<Proc::IEffectFactory const> const& factory = GetFactory()) {
    auto effect = Proc::RotateFF::Create(factory, {});
    effect->SetSettings(static_cast<Proc::Settings const&>(MakeSettings(degrees, mode)));
    return effect;
}

void Set(Proc::IOneInputEffectVideo& effect, Rotate const& settings) {
    effect.SetSettings(static_cast<Proc::Settings const&>(settings));
}

FrameInfo AskInfo(Proc::IOneInputEffectVideo& effect, FrameInfo const& info = s_small) {
    return Ask(effect, PixFmt::YUV420P, info)->GetFrameInfo();
}

TEST(Rotate, QuarterTurnsAreThoseOfThisLibrary) {
    SP<IDataVideo> const frame = MakeFrame(PixFmt::YUV420P, {64, 48, 4, 3});
    auto const effect = MakeRotate(270);
    SP<IDataVideo> const expected = Apply(*MakeEffect("transpose", "step=3"), frame);
    for (int i = 0; i < 2; ++i) {
        SP<IDataVideo> const result = Apply(*effect, frame);
        EXPECT_EQ(GetPixels(*result), GetPixels(*expected));
        EXPECT_EQ(result->GetFrameInfo(), (FrameInfo{48, 64, 3, 4}));
        EXPECT_EQ(AskInfo(*effect, {64, 48, 4, 3}), (FrameInfo{48, 64, 3, 4}));
        EXPECT_EQ(Describe(*effect), "transpose=dir=2");
        effect->Reset(); // which gives the transpose effect up
    }
    EXPECT_EQ(Describe(*effect), "transpose=dir=2");
    EXPECT_EQ(Describe(*MakeRotate(720)), "");
    EXPECT_FALSE(Apply(*effect, {}));
}

TEST(Rotate, NeedsAFactoryForQuarterTurnsOnly) {
    auto const effect = MakeRotate(30, Mode::Keep, {});
    Failure const failure = Catch([&] { Set(*effect, MakeSettings(-90)); });
    EXPECT_EQ(failure.text,
              "Cannot rotate by -90 degrees: quarter turns take the effect \"transpose\", and no "
              "effect factory was given to make one");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/Effects/RotateFF");
    EXPECT_TRUE(failure.hasStack);
    EXPECT_EQ(Describe(*effect), "rotate=angle=0.524:fillcolor=0x000000ff");
    Set(*effect, MakeSettings(0));
    SP<IDataVideo> const frame = MakeFrame();
    EXPECT_EQ(Apply(*effect, frame), frame);

    EXPECT_THROW(Set(*effect, MakeSettings(1e12)), Proc::EffectException);
    EXPECT_EQ(Apply(*effect, frame), frame);
}

TEST(Rotate, ComputesTheSizeOfEachFrame) {
    auto const effect = MakeRotate(30, Mode::Pad);
    EXPECT_EQ(AskInfo(*effect), (FrameInfo{80, 74, 1, 1})) << "before any frame was seen";
    constexpr FrameInfo full{1920, 1080, 1, 1};
    std::string const text = "rotate=angle=0.524:fillcolor=0x000000ff:out_w=";
    EXPECT_EQ(Describe(*effect, PixFmt::YUV420P, full), text + "2204:out_h=1896");

    EXPECT_EQ(Apply(*effect, MakeFrame())->GetFrameInfo(), (FrameInfo{80, 74, 1, 1}));
    EXPECT_EQ(CountGraphs([&] { Apply(*effect, MakeFrame()); }), 0);
    EXPECT_EQ(AskInfo(*effect), (FrameInfo{80, 74, 1, 1}));
    EXPECT_EQ(AskInfo(*effect, full), (FrameInfo{2204, 1896, 1, 1}));
    EXPECT_EQ(CountGraphs([&] { Apply(*effect, MakeFrame()); }), 0) << "after questions about others";
    EXPECT_EQ(Apply(*effect, MakeFrame(PixFmt::YUV420P, {48, 64, 1, 1}))->GetFrameInfo(),
              (FrameInfo{74, 80, 1, 1}));

    // The computed size is in the effect's own settings: the user's are news.
    auto const& settings = static_cast<Rotate const&>(effect->GetSettingsBase());
    EXPECT_EQ(settings.outputWidth, 74);
    EXPECT_EQ(settings.outputHeight, 80);
    Set(*effect, MakeSettings(30, Mode::Pad));
    EXPECT_EQ(settings.outputWidth, 0);
    EXPECT_EQ(AskInfo(*effect), (FrameInfo{80, 74, 1, 1}));

    Set(*effect, MakeSettings(30, Mode::Crop));
    EXPECT_EQ(Apply(*effect, MakeFrame(PixFmt::YUV420P, full))->GetFrameInfo(), (FrameInfo{1094, 614, 1, 1}));
}

TEST(Rotate, NamesFramesOfWhichNothingIsLeft) {
    auto const effect = MakeRotate(-30, Mode::Crop);
    SP<IDataVideo> const tiny = MakeFrame(PixFmt::YUV420P, {2, 1, 1, 1});
    std::string const text = "Cannot rotate a frame of 2x1 pixels by -30 degrees: 0x0 would be left";
    for (int i = 0; i < 2; ++i) {
        SP<IDataVideo> data = tiny;
        Failure const failure = Catch([&] { effect->Process(data); });
        EXPECT_EQ(failure.text, text);
        EXPECT_TRUE(failure.hasStack);
        EXPECT_EQ(data, tiny);
        EXPECT_EQ(Catch([&] { Describe(*effect, PixFmt::YUV420P, {2, 1, 1, 1}); }).text, text);
        EXPECT_EQ(Apply(*effect, MakeFrame())->GetFrameInfo(), (FrameInfo{42, 30, 1, 1}));
        EXPECT_EQ(Catch([&] { StreamOf(*effect).Feed(tiny); }).text, text);
    }
}

TEST(Rotate, StreamsGoOnThroughChangesOfAngleAndSize) {
    auto const effect = MakeRotate(30, Mode::Pad);
    auto const feed = [&](std::int64_t time, FrameInfo const& info = s_small) {
        StreamOf(*effect).Feed(MakeFrame(PixFmt::YUV420P, info, time));
    };
    using Out = std::vector<std::tuple<std::int64_t, std::uint32_t, std::uint32_t>>; // time, width, height
    auto const endAndTake = [&] {
        Out out;
        for (SP<IDataVideo> const& data : RunStream(*effect, {}))
            out.emplace_back(data->GetTime(), data->GetFrameInfo().width, data->GetFrameInfo().height);
        return out;
    };
    feed(1);
    feed(2, {48, 64, 1, 1});
    Set(*effect, MakeSettings(90));
    feed(3);
    feed(4, {66, 50, 1, 1});
    Set(*effect, MakeSettings(0));
    feed(5);
    Set(*effect, MakeSettings(-30, Mode::Crop));
    feed(6);
    EXPECT_EQ(endAndTake(),
              (Out{{1, 80, 74}, {2, 74, 80}, {3, 48, 64}, {4, 50, 66}, {5, 64, 48}, {6, 42, 30}}));
    Set(*effect, MakeSettings(90));
    feed(7);
    effect->Reset();
    EXPECT_EQ(endAndTake(), Out{});
    feed(8);
    EXPECT_EQ(endAndTake(), (Out{{8, 48, 64}}));
}

} // namespace
} // namespace Tarsel::Test
