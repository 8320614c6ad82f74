#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"
#include "Proc/Settings/Color.h"
#include "Proc/Settings/Denoise.h"
#include "Proc/Settings/Orientation.h"
#include "Proc/Settings/SmartBlur.h"
#include "Proc/Settings/Stabilize.h"
#include "Proc/Settings/Stylize.h"
#include "Support/TempFolder.h"
#include "Support/TextRows.h"
#include "Support/Watch.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

extern "C" {
#include <libavutil/frame.h>
}

/// What effects will not take: settings that have no filter text, settings that the filter refuses, frames
/// that it would not survive.
namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::IDataVideo;

void ExpectOrigin(Failure const& failure) {
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalVideo");
    EXPECT_TRUE(failure.hasStack);
}

/// What effects say to frames of a format and a size; nothing to those they take.
constexpr char const* s_sizes = R"(
denoise-dct sigma=4.5 => denoise-dct takes yuv420p frames of 8x1 pixels at least, not of 7x64 @ yuv420p 7x64
denoise-dct sigma=4.5 => @ yuv420p 8x17
denoise-dct sigma=4.5:overlap=-1:block-size=16x16
    => denoise-dct takes yuv420p frames of 16x1 pixels at least, not of 15x64 @ yuv420p 15x64
denoise-dct sigma=4.5:overlap=-1:block-size=16x16 => @ yuv420p 16x64
denoise-dct sigma=4.5:overlap=5:block-size=16x16
    => denoise-dct takes gbrp frames of a width and a height of 16 and a multiple of 11 pixels, not 64x60 @ gbrp 64x60
denoise-dct sigma=4.5:overlap=5:block-size=16x16
    => denoise-dct takes gbrp frames of a width and a height of 16 and a multiple of 11 pixels, not 60x64 @ gbrp 60x64
denoise-dct sigma=4.5:overlap=5:block-size=16x16 => @ gbrp 60x71
denoise-dct sigma=4.5:overlap=5:block-size=16x16 => @ yuv420p 64x64
remove-grain m0=2:m1=2:m2=2:m3=2 => remove-grain takes gray frames of 2x1 pixels at least, not of 1x16 @ gray 1x16
remove-grain m0=2:m1=2:m2=2:m3=2 => @ gray 2x16
remove-grain m0=2:m1=2:m2=2:m3=2 => remove-grain takes yuv420p frames of 3x1 pixels at least, not of 2x16 @ yuv420p 2x16
remove-grain m0=2:m1=2:m2=2:m3=2 => @ yuv420p 3x1
remove-grain m0=2:m1=2:m2=2:m3=2 => remove-grain takes yuv410p frames of 5x1 pixels at least, not of 4x4 @ yuv410p 4x4
remove-grain m0=2:m1=2:m2=2:m3=2 => @ yuv410p 5x4
edge-detect => edge-detect takes gray frames of 2x4 pixels at least, not of 1x64 @ gray 1x64
edge-detect => @ gray 2x4
edge-detect => edge-detect takes yuv420p frames of 2x4 pixels at least, not of 64x3 @ yuv420p 64x3
edge-detect => @ rgba 64x4
blur sigma=1:sigma-v=1 => blur takes gray frames of 2x1 pixels at least, not of 1x1 @ gray 1x1
blur sigma=1:sigma-v=1 => @ gray 2x1
blur sigma=1:sigma-v=1 => blur takes yuv420p frames of 3x1 pixels at least, not of 2x2 @ yuv420p 2x2
blur sigma=1:sigma-v=1 => @ yuv420p 3x1
blur sigma=1:sigma-v=1:planes=9 => blur takes yuva420p frames of 2x1 pixels at least, not of 1x8 @ yuva420p 1x8
blur sigma=1:sigma-v=1:planes=9 => @ yuva420p 2x2
blur sigma=1:sigma-v=1:pixel-format=yuv420p => blur takes yuv420p frames of 3x1 pixels at least, not of 2x16 @ gray 2x16
blur sigma=1:sigma-v=1:pixel-format=yuv420p => @ gray 3x16
blur sigma=1:sigma-v=1:pixel-format=yuv444p => @ yuv420p 2x2
blur sigma=1:sigma-v=1:planes=0:pixel-format=yuv420p => @ yuv420p 1x1
posterize colors=200 => posterize takes 1 to 196 colors in frames of 14x14, not 200 @ yuv420p 14x14
posterize colors=200 => @ rgba 20x10
stabilizer enabled=1:path=$motion
    => stabilizer takes planar YUV of a width divisible by 2 and a height divisible by 2, not yuv420p of 63x48 @ yuv420p 63x48
stabilizer enabled=1:path=$motion
    => stabilizer takes planar YUV of a width divisible by 2 and a height divisible by 2, not yuv420p of 64x47 @ yuv420p 64x47
stabilizer enabled=1:path=$motion
    => stabilizer takes planar YUV of a width divisible by 2 and a height divisible by 2, not gray of 1x1 @ gray 1x1
stabilizer enabled=1:path=$motion
    => stabilizer takes planar YUV of a width divisible by 4 and a height divisible by 4, not yuv410p of 100x70 @ yuv410p 100x70
stabilizer enabled=1:path=$motion
    => stabilizer takes planar YUV of a width divisible by 4 and a height divisible by 2, not yuv411p of 102x100 @ yuv411p 102x100
stabilizer enabled=1:path=$motion => @ yuv420p 2x2
stabilizer enabled=1:path=$motion => @ yuv411p 100x70
stabilizer enabled=1:path=$motion
    => stabilizer detects motion in frames of a width of 8192 from a height of 88, not 2 @ yuv420p 8192x2
stabilizer enabled=1:path=$motion => @ yuv420p 8192x88
stabilizer enabled=1:detect=0:path=$motion
    => stabilizer takes planar YUV of a width divisible by 2 and a height divisible by 2, not yuv420p of 64x47 @ yuv420p 64x47
stabilizer enabled=1:detect=0:path=$motion => @ yuv420p 2x1000
stabilizer enabled=1:detect=0:path=$motion => @ yuv420p 8192x2
)";

/// What is refused stays as it was, and the effect goes on with the next frame.
TEST(Refusals, OfFormatsAndSizes) {
    TempFolder const folder;
    FFmpegWatch const quiet;
    SP<Proc::IOneInputEffectVideo> effect;
    std::string made;
    for (TextRow const& row : ReadTextRows(s_sizes, {{"$motion", folder / "motion.trf"}})) {
        SCOPED_TRACE(row.classId + ' ' + row.options + ' ' + row.remark);
        if (made != row.classId + row.options)
            effect = MakeEffect(row.classId, row.options);
        made = row.classId + row.options;
        Conf::FrameInfo info{0, 0, 1, 1};
        char name[16]{};
        ASSERT_EQ(std::sscanf(row.remark.c_str(), "%15s %ux%u", name, &info.width, &info.height), 3);
        SP<IDataVideo> const frame = MakeFrame(ByName(name), info);
        SP<IDataVideo> data = frame;
        if (row.text.empty()) {
            effect->Process(data);
            EXPECT_NE(data, frame);
            continue;
        }
        EXPECT_EQ(Catch([&] { effect->Process(data); }).text, row.text);
        EXPECT_EQ(data, frame);
        EXPECT_EQ(Catch([&] { Ask(*effect, frame->GetPixelFormat(), info); }).text, row.text);
    }
}

/// Without the check, these frames crash the denoiser.
TEST(Refusals, OfSamplesAboveTheirDepth) {
    for (char const* classId : {"color-channel-mixer", "denoise-chroma-luma"}) {
        bool const isDenoiser = classId[0] == 'd';
        auto const effect = MakeEffect(classId, isDenoiser ? "" : "rg=0.5");
        for (auto const& [name, most] : {std::pair{"gbrp10le", "1023"},
                                         {"gbrap12le", "4095"},
                                         {"yuv420p10le", isDenoiser ? "1023" : ""}, // through the scaler
                                         {"gbrp16le", ""}}) {
            SP<IDataVideo> const good = MakeFrame(ByName(name));
            EXPECT_NE(Apply(*effect, good), good);
            for (int i = 0; i < Conf::PixFmtDescription::Find(ByName(name)).GetPlaneCount(); ++i) {
                SP<IDataVideo> const frame = MakeFrame(ByName(name));
                Proc::WritablePlane const plane = frame->GetWritablePlane(i);
                std::fill_n(plane.data + (plane.rows - 1) * plane.lineSize + plane.rowBytes - 2, 2, 0xFF);
                if (*most == 0)
                    EXPECT_NE(Apply(*effect, frame), frame);
                else
                    EXPECT_EQ(
                        Catch([&] { Apply(*effect, frame); }).text,
                        fmt::format("{} takes samples of 0 to {} in {} frames; plane {} has higher ones",
                                    classId, most, name, i));
            }
        }
    }
}

void Check(IDataVideo const& data) {
    Proc::RequireSamplesWithinDepth(data, "an effect", {"Lumenta/SampleDepthTest", "void Check()"});
}

TEST(SampleDepth, FormatsWithoutRoomForMoreBitsPass) {
    // Their samples use all bits, or the upper ones, or are no whole numbers.
    for (char const* name : {"yuv420p", "rgba", "yuv420p16le", "gray16be", "p010le", "y210le", "x2rgb10le",
                             "rgb48le", "grayf32le", "gbrpf32be", "rgb555le", "pal8"})
        EXPECT_NO_THROW(Check(*MakeOverfullFrame(ByName(name)))) << name;
}

TEST(SampleDepth, ReadsThePictureAndNoMore) {
    for (char const* name : {"gray10le", "gray10be", "gray14le"}) {
        SCOPED_TRACE(name);
        SP<IDataVideo> const data = MakeFrame(ByName(name), {16, 4, 1, 1});
        Proc::WritablePlane const plane = data->GetWritablePlane(0);
        std::fill_n(plane.data + 3 * plane.lineSize + 30, 2, std::uint8_t{0xFF});
        auto const shown = [&](std::uint32_t width, std::uint32_t height) {
            return MakeSP<Proc::DataVideoFF>(*data->GetAVFrame(), Conf::FrameInfo{width, height, 1, 1});
        };
        EXPECT_THROW(Check(*shown(16, 4)), Proc::EffectException);
        EXPECT_THROW(Check(*shown(1000, 1000)), Proc::EffectException);
        EXPECT_NO_THROW(Check(*shown(15, 4)));
        EXPECT_NO_THROW(Check(*shown(16, 3)));
        SP<IDataVideo> const none = shown(16, 4);
        none->GetAVFrame()->data[0] = nullptr;
        EXPECT_NO_THROW(Check(*none)); // the graph refuses it
    }
}

TEST(Refusals, OfSettingsWithoutAText) {
    struct Case {
        std::shared_ptr<Proc::Settings const> settings;
        char const* text;
        char const* detail;
    };
    auto const make = [](auto settings, auto const& change) {
        change(settings);
        return std::make_shared<decltype(settings) const>(settings);
    };
    using Deinterlace = Proc::SettingsDeinterlace;
    using Border = Proc::SettingsEffectBorder;
    using Blur = Proc::SettingsEffectBlur;
    using Transpose = Proc::SettingsEffectTranspose;
    for (auto const& [settings, text, detail] :
         {Case{make(Deinterlace(), [](auto& s) { s.frameMode = static_cast<Deinterlace::FrameMode>(4); }),
               "Unsupported deinterlace settings", "frame mode 4, not 0 to 3"},
          {make(Deinterlace(),
                [](auto& s) { s.deinterlaceMode = static_cast<Deinterlace::DeinterlaceMode>(2); }),
           "Unsupported deinterlace settings", "deinterlace mode 2, not 0 to 1"},
          {make(Border(), [](auto& s) { s.sizeType = static_cast<Border::SizeType>(6); }), "Unreal Logic",
           "size type 6, not 0 to 5"},
          {std::make_shared<Blur>(static_cast<Blur::Algorithm>(2)), "Invalid algorithm for EffectBlur",
           "algorithm 2, not 1"},
          {std::make_shared<Transpose>(4), "Unsupported effect settings",
           "step 4, not 0 to 3 quarter turns"}}) {
        auto const effect = MakeEffect(*settings);
        for (Failure const& failure : {Catch<std::logic_error>([&] { effect->GetStatistic(); }),
                                       Catch<std::logic_error>([&] { Apply(*effect, MakeFrame()); })}) {
            EXPECT_EQ(failure.text, text);
            EXPECT_EQ(failure.detail, detail);
            ExpectOrigin(failure);
        }
    }
    Blur blur;
    blur.verticalSigma = 1;
    blur.pixelFormat = static_cast<PixFmt>(99999);
    EXPECT_EQ(Catch<Core::CoreException>([&] { MakeEffect(blur)->GetStatistic(); }).text,
              "Unknown pixel format 99999");
}

TEST(Refusals, OfTheFilterItself) {
    TempFolder const folder;
    FFmpegWatch const quiet;
    Proc::SettingsEffectDenoiseChromaLuma chromaLuma;
    chromaLuma.lumaSpatial = -1;
    Proc::SettingsEffectRemoveGrain removeGrain;
    removeGrain.modes[0] = 25;
    Proc::SettingsEffectDenoiseDCT dct;
    dct.sigma = 4.5;
    dct.overlap = 8;
    Proc::SettingsEffectSmartBlur smartBlur;
    smartBlur.lumaStrength = -100;
    smartBlur.lumaStrengthOffset = 100;
    std::string const stabilizer = "enabled=1:path=";
    std::string const detect =
        "vidstabdetect=show=0:shakiness=5:accuracy=15:stepsize=6:mincontrast=0.250000:result=";
    std::string const nowhere = folder / "no folder" / "file.trf";
    struct Case {
        SP<Proc::IOneInputEffectVideo> effect;
        char const* text;
        std::string filter;
    };
    for (Case const& row :
         {Case{MakeEffect(chromaLuma), "Cannot parse graph", "hqdn3d=-1:0:0:0"},
          {MakeEffect(removeGrain), "Cannot parse graph", "removegrain=m0=25:m1=0:m2=0:m3=0"},
          {MakeEffect(dct), "Cannot parse graph", "dctdnoiz=4.5:overlap=8"},
          {MakeEffect(smartBlur), "Cannot parse graph", "smartblur=lr=1:cr=1:lt=0:ct=0:ls=-2:cs=0"},
          {MakeEffect("stabilizer", stabilizer + nowhere), "Cannot configure graph", detect + nowhere},
          // What comes after the colon is no option.
          {MakeEffect("stabilizer", stabilizer + "a\\:b"), "Cannot parse graph", detect + "a:b"}}) {
        Failure const failure = Catch([&] { Apply(*row.effect, MakeFrame()); });
        EXPECT_EQ(failure.text, row.text);
        EXPECT_EQ(failure.filter, row.filter);
    }
}

TEST(Refusals, OfMissingStatistics) {
    TempFolder const folder;
    std::string const path = folder / "none.trf";
    auto const effect = MakeEffect("stabilizer", "enabled=1:detect=0:path=" + path);
    for (Failure const& failure :
         {Catch([&] { effect->GetStatistic(); }), Catch([&] { Apply(*effect, MakeFrame()); }),
          Catch([&] { Ask(*effect); }), Catch([&] { Describe(*effect); })}) {
        EXPECT_EQ(failure.text, "File with statistics unavailable");
        EXPECT_EQ(failure.detail, "no file \"" + path + '"');
        ExpectOrigin(failure);
    }
    // While it is off, nothing is looked for but for the statistic.
    auto const off = MakeEffect("stabilizer", "detect=0:path=" + path);
    SP<IDataVideo> const input = MakeFrame();
    EXPECT_EQ(Apply(*off, input), input);
    EXPECT_EQ(Catch([&] { off->GetStatistic(); }).text, "File with statistics unavailable");
}

} // namespace
} // namespace Tarsel::Test
