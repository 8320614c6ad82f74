#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Effects/RotateFF.h"
#include "Proc/Effects/Lumenta/Picture/RotateGeometry.h"
#include "Support/LibraryEffects.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

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

using Proc::PictureSize;

constexpr double s_degree = std::numbers::pi / 180;

TEST(RotateGeometry, TakesWholeTurnsOut) {
    struct Case {
        double degrees;
        double left;
        int quarters;
        bool isWhole;
    };
    for (Case const& row : {Case{0, 0, 0, true},
                            {90, 90, 1, true},
                            {360, 0, 0, true},
                            {450, 90, 1, true},
                            {-90, -90, -1, true},
                            {-450, -90, -1, true},
                            {90.000001, 90.000001, 1, true},
                            {-89.999999, -89.999999, -1, true},
                            {89.99999, 89.99999, 1, false},
                            {-90.00001, -90.00001, 0, false},
                            {400, 40, 0, false},
                            {-400, -400, -3, false},
                            {-500, -140, -1, false}}) {
        Proc::SplitAngle const split = Proc::TakeApart(row.degrees * s_degree);
        EXPECT_NEAR(split.angle, row.left * s_degree, 1e-12) << row.degrees;
        EXPECT_EQ(split.quarters, row.quarters) << row.degrees;
        EXPECT_EQ(split.isWhole, row.isWhole) << row.degrees;
    }
    for (double quarters : {-7.0, -1.0, 0.0, 2.0})
        for (auto const& [distance, isWhole] : {std::pair{0.99e-7, true}, {1.01e-7, false}})
            for (double sign : {-1.0, 1.0})
                EXPECT_EQ(Proc::TakeApart(quarters * 90 * s_degree + sign * distance).isWhole, isWhole)
                    << quarters << ' ' << distance;
}

TEST(RotateGeometry, CountsQuarterTurnsIn32Bits) {
    double const most = std::numeric_limits<std::int32_t>::max();
    for (double turns : {most, -most - 1})
        EXPECT_EQ(Proc::TakeApart(turns * std::numbers::pi / 2).quarters, turns < 0 ? 0 : 3);
    for (double turns : {most + 1, -most - 2, 1e300, HUGE_VAL, -HUGE_VAL, std::nan("")})
        EXPECT_THROW(Proc::TakeApart(turns * std::numbers::pi / 2), Proc::EffectException) << turns;
    Failure const failure = Catch([] { Proc::TakeApart(3e11 * s_degree); });
    EXPECT_EQ(failure.text, "Cannot rotate by 3e+11 degrees: quarter turns are counted from -2147483648 to "
                            "2147483647");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/Picture/RotateGeometry");
    EXPECT_TRUE(failure.hasStack);
}

/// A picture of random size, turned by a random angle.
struct Turned {
    std::uint32_t width;
    std::uint32_t height;
    double angle;
};

std::vector<Turned> MakeTurned() {
    std::mt19937 random(62);
    std::uniform_int_distribution<std::uint32_t> side(1, 5000);
    std::uniform_real_distribution<double> angle(-4 * std::numbers::pi, 4 * std::numbers::pi);
    std::vector<Turned> all(2000);
    for (Turned& each : all)
        each = {side(random), side(random), angle(random)};
    return all;
}

TEST(RotateGeometry, PadHoldsThePictureAndNoMore) {
    constexpr std::uint32_t huge = std::numeric_limits<std::uint32_t>::max();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(Proc::ComputeSizePad(huge, huge, 1), (PictureSize{most, most}));
    for (Turned const& each : MakeTurned()) {
        SCOPED_TRACE(testing::Message() << each.width << 'x' << each.height << ' ' << each.angle);
        double const sine = std::abs(std::sin(each.angle));
        double const cosine = std::abs(std::cos(each.angle));
        PictureSize const size = Proc::ComputeSizePad(each.width, each.height, each.angle);
        for (auto const& [side, extent] : {std::pair{size.width, each.width * cosine + each.height * sine},
                                           {size.height, each.width * sine + each.height * cosine}}) {
            EXPECT_EQ(side % 2, 0);
            EXPECT_GE(side, extent - 0.5 - 1e-6);
            EXPECT_LE(side, extent + 1.5 + 1e-6);
        }
    }
}

TEST(RotateGeometry, CropIsTheLargestBoxInside) {
    EXPECT_EQ(Proc::ComputeSizeCrop(1, 1, 30 * s_degree), (PictureSize{0, 0}));
    for (Turned const& each : MakeTurned()) {
        SCOPED_TRACE(testing::Message() << each.width << 'x' << each.height << ' ' << each.angle);
        PictureSize const size = Proc::ComputeSizeCrop(each.width, each.height, each.angle);
        double const sine = std::abs(std::sin(each.angle));
        double const cosine = std::abs(std::cos(each.angle));
        // Of the picture's proportions; its corners touch the turned sides.
        double const width = cosine > sine ? each.width : each.height;
        double const height = cosine > sine ? each.height : each.width;
        double const scale = std::min(each.width / (width * cosine + height * sine),
                                      each.height / (width * sine + height * cosine));
        for (auto const& [side, extent] :
             {std::pair{size.width, scale * width}, {size.height, scale * height}}) {
            EXPECT_EQ(side % 2, 0);
            EXPECT_GE(side, extent - 1.5 - 1e-6);
            EXPECT_LE(side, extent + 0.5 + 1e-6);
        }
    }
}

} // namespace
} // namespace Tarsel::Test
