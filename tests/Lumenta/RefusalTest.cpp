#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Settings/Colour.h"
#include "Proc/Settings/Denoise.h"
#include "Proc/Settings/Orientation.h"
#include "Proc/Settings/SmartBlur.h"
#include "Proc/Settings/Stabilise.h"
#include "Proc/Settings/Stylise.h"
#include "Support/TempFolder.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <limits>
#include <string_view>

/// What effects will not take: settings that have no filter text, settings that the filter refuses, frames
/// that it would not survive.
namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::IDataVideo;

void ExpectOrigin(Failure const& failure, std::string const& function) {
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalVideo");
    EXPECT_EQ(failure.function, function);
    EXPECT_TRUE(failure.hasStack);
}

/// A frame's format and size, and what an effect says to it; "" where it takes it.
struct SizeCase {
    char const* format;
    std::uint32_t width;
    std::uint32_t height;
    std::string text;
};

/// What is refused stays as it was, and the effect goes on with the next frame.
void ExpectSizes(Proc::IOneInputEffectVideo& effect, std::vector<SizeCase> const& rows) {
    for (SizeCase const& row : rows) {
        SCOPED_TRACE(effect.GetSettingsBase().GetClassId() + ' ' + row.format + ' ' +
                     std::to_string(row.width) + 'x' + std::to_string(row.height));
        SP<IDataVideo> const frame = MakeFrame(ByName(row.format), {row.width, row.height, 1, 1});
        SP<IDataVideo> data = frame;
        if (row.text.empty()) {
            effect.Process(data);
            EXPECT_NE(data, frame);
            continue;
        }
        Failure const failure = Catch([&] { effect.Process(data); });
        EXPECT_EQ(failure.text, row.text);
        EXPECT_EQ(data, frame);
        EXPECT_EQ(Catch([&] { Ask(effect, frame->GetPixelFormat(), frame->GetFrameInfo()); }).text, row.text);
    }
}

struct SizesOfEffect {
    char const* classId;
    char const* options;
    std::vector<SizeCase> sizes;
};

TEST(Refusals, OfFramesThatAreTooSmall) {
    std::string const dct = "denoise-dct takes yuv420p frames of ";
    std::string const gbrp = "denoise-dct takes gbrp frames of a width and a height of ";
    auto const least = [](char const* effect, std::string const& format, char const* smallest,
                          char const* size) {
        return effect + (" takes " + format) + " frames of " + smallest + " pixels at least, not of " + size;
    };
    for (SizesOfEffect const& row : {
             SizesOfEffect{"denoise-dct",
                           "sigma=4.5",
                           {{"yuv420p", 7, 64, dct + "8x1 pixels at least, not of 7x64"},
                            {"yuv420p", 8, 17, ""},
                            {"gbrp", 65, 67, ""}}},
             {"denoise-dct",
              "sigma=4.5:overlap=-1:block-size=16x16",
              {{"yuv420p", 15, 64, dct + "16x1 pixels at least, not of 15x64"},
               {"yuv420p", 16, 64, ""},
               {"gbrp", 65, 67, ""}}},
             {"denoise-dct",
              "sigma=4.5:overlap=5:block-size=16x16",
              {{"gbrp", 64, 60, gbrp + "16 and a multiple of 11 pixels, not 64x60"},
               {"gbrp", 60, 64, gbrp + "16 and a multiple of 11 pixels, not 60x64"},
               {"gbrp", 60, 71, ""},
               {"rgb24", 64, 64, ""},
               {"yuv420p", 64, 64, ""}}},
             {"denoise-dct",
              "sigma=4.5:overlap=1:block-size=8x8",
              {{"gbrp", 64, 100, gbrp + "8 and a multiple of 7 pixels, not 64x100"}, {"gbrp", 64, 50, ""}}},
             {"remove-grain",
              "m0=2:m1=2:m2=2:m3=2",
              {{"gray", 1, 16, least("remove-grain", "gray", "2x1", "1x16")},
               {"gray", 2, 16, ""},
               {"rgb24", 1, 3, least("remove-grain", "rgb24", "2x1", "1x3")},
               {"yuv420p", 2, 16, least("remove-grain", "yuv420p", "3x1", "2x16")},
               {"yuv420p", 3, 1, ""},
               {"nv12", 2, 7, least("remove-grain", "nv12", "3x1", "2x7")},
               {"yuv410p", 4, 4, least("remove-grain", "yuv410p", "5x1", "4x4")},
               {"yuv410p", 5, 4, ""}}},
             {"edge-detect",
              "",
              {{"gray", 1, 64, least("edge-detect", "gray", "2x4", "1x64")},
               {"gray", 2, 4, ""},
               {"yuv420p", 64, 3, least("edge-detect", "yuv420p", "2x4", "64x3")},
               {"rgba", 64, 4, ""}}},
             {"blur",
              "sigma=1:sigma-v=1",
              {{"gray", 1, 1, least("blur", "gray", "2x1", "1x1")},
               {"gray", 2, 1, ""},
               {"yuv420p", 2, 2, least("blur", "yuv420p", "3x1", "2x2")},
               {"nv12", 2, 2, least("blur", "nv12", "3x1", "2x2")},
               {"yuv420p", 3, 1, ""},
               {"yuv410p", 4, 64, least("blur", "yuv410p", "5x1", "4x64")},
               {"yuv410p", 5, 64, ""},
               {"rgba", 1, 64, least("blur", "rgba", "2x1", "1x64")}}},
             // Luma and alpha are not subsampled.
             {"blur",
              "sigma=1:sigma-v=1:planes=9",
              {{"yuva420p", 1, 8, least("blur", "yuva420p", "2x1", "1x8")}, {"yuva420p", 2, 2, ""}}},
             // The planes are those of the format that is blurred.
             {"blur",
              "sigma=1:sigma-v=1:pixel-format=yuv420p",
              {{"gray", 2, 16, least("blur", "yuv420p", "3x1", "2x16")}, {"gray", 3, 16, ""}}},
             {"blur", "sigma=1:sigma-v=1:pixel-format=yuv444p", {{"yuv420p", 2, 2, ""}}},
             // Whether that blurs hangs on the filter's version.
             {"blur", "sigma-v=1", {{"yuv420p", 1, 1, least("blur", "yuv420p", "3x1", "1x1")}}},
             // Nothing is blurred.
             {"blur", "sigma=1:sigma-v=1:planes=0:pixel-format=yuv420p", {{"yuv420p", 1, 1, ""}}},
             {"posterize",
              "colors=200",
              {{"yuv420p", 14, 14, "posterize takes 1 to 196 colors in frames of 14x14, not 200"},
               {"rgba", 20, 10, ""}}},
         })
        ExpectSizes(*MakeEffect(row.classId, row.options), row.sizes);
}

TEST(Refusals, OfFramesThatCannotBeStabilised) {
    auto const divisible = [](char const* width, char const* height, char const* frame) {
        return std::string("stabilizer takes planar YUV of a width divisible by ") + width +
               " and a height divisible by " + height + ", not " + frame;
    };
    TempFolder const folder;
    std::string const options = "enabled=1:path=" + (folder / "motion.trf").string();
    std::string const low =
        "stabilizer detects motion in frames of a width of 8192 from a height of 88, not 2";
    FFmpegWatch const quiet;
    std::vector<SizeCase> const either{
        {"yuv420p", 63, 48, divisible("2", "2", "yuv420p of 63x48")},
        {"yuv420p", 64, 47, divisible("2", "2", "yuv420p of 64x47")},
        {"yuv444p", 175, 144, divisible("2", "2", "yuv444p of 175x144")},
        {"gray", 1, 1, divisible("2", "2", "gray of 1x1")},
        {"yuv410p", 100, 70, divisible("4", "4", "yuv410p of 100x70")},
        {"yuv411p", 102, 100, divisible("4", "2", "yuv411p of 102x100")},
        {"rgb24", 64, 48, divisible("2", "2", "rgb24 of 64x48")},
        {"yuv420p", 2, 2, ""},
        {"yuv444p", 16, 16, ""},
        {"yuv410p", 100, 72, ""},
        {"yuv411p", 100, 70, ""},
        {"yuv420p", 2, 1000, ""},
    };
    {
        auto const detection = MakeEffect("stabilizer", options);
        ExpectSizes(*detection, either);
        ExpectSizes(*detection, {{"yuv420p", 8192, 2, low}, {"yuv420p", 8192, 88, ""}});
    }
    auto const transform = MakeEffect("stabilizer", options + ":detect=0");
    ExpectSizes(*transform, either);
    ExpectSizes(*transform, {{"yuv420p", 8192, 2, ""}});
}

TEST(Refusals, OfSamplesAboveTheirDepth) {
    auto const effect = MakeEffect("color-channel-mixer", "rg=0.5");
    std::string const higher = " frames; plane 1 has higher ones";
    for (auto const& [name, text] :
         {std::pair{"gbrp10le", "color-channel-mixer takes samples of 0 to 1023 in gbrp10le" + higher},
          {"gbrap12le", "color-channel-mixer takes samples of 0 to 4095 in gbrap12le" + higher},
          {"yuv420p10le", std::string()}, // through the scaler
          {"gbrp16le", ""}}) {
        SP<IDataVideo> const frame = MakeFrame(ByName(name));
        EXPECT_NE(Apply(*effect, frame), frame);
        frame->GetWritablePlane(1).data[1] = 0xFF;
        if (text.empty())
            EXPECT_NE(Apply(*effect, frame), frame);
        else
            EXPECT_EQ(Catch([&] { Apply(*effect, frame); }).text, text);
    }
}

/// Of a policy that is shared with settings of other libraries, or of this library's own.
std::string TextSignature(std::string const& name, bool isShared) {
    return "static std::string EffectActions<Tarsel::Proc::" + name + ">::GetFFString(const " +
           (isShared ? name + " &, const FrameInfo &) [Settings = Tarsel::Proc::" + name + "]"
                     : "SettingsType &, const FrameInfo &)");
}

TEST(Refusals, OfSettingsWithoutAText) {
    using Deinterlace = Proc::SettingsDeinterlace;
    using Border = Proc::SettingsEffectBorder;
    using Blur = Proc::SettingsEffectBlur;
    struct Case {
        std::shared_ptr<Proc::Settings const> settings;
        char const* text;
        std::string function;
        std::string detail;
    };
    std::vector<Case> rows;
    for (auto const& [frame, deinterlace, detail] : {std::tuple{4U, 0U, "frame mode 4, not 0 to 3"},
                                                     {0xFFFFFFFFU, 1U, "frame mode 4294967295, not 0 to 3"},
                                                     {1U, 2U, "deinterlace mode 2, not 0 to 1"}}) {
        auto const settings = std::make_shared<Deinterlace>();
        settings->frameMode = static_cast<Deinterlace::FrameMode>(frame);
        settings->deinterlaceMode = static_cast<Deinterlace::DeinterlaceMode>(deinterlace);
        rows.push_back({settings, "Unsupported deinterlace settings",
                        TextSignature("SettingsDeinterlace", true), detail});
    }
    for (std::uint32_t const type : {6U, 0xFFFFFFFFU}) {
        auto const settings = std::make_shared<Border>();
        settings->sizeType = static_cast<Border::SizeType>(type);
        rows.push_back({settings, "Unreal Logic", TextSignature("SettingsEffectBorder", true),
                        "size type " + std::to_string(type) + ", not 0 to 5"});
    }
    for (int const algorithm : {0, 2})
        rows.push_back({std::make_shared<Blur>(static_cast<Blur::Algorithm>(algorithm)),
                        "Invalid algorithm for EffectBlur", TextSignature("SettingsEffectBlur", true),
                        "algorithm " + std::to_string(algorithm) + ", not 1"});
    for (int const step : {-1, 4, std::numeric_limits<int>::min() + 1})
        rows.push_back({std::make_shared<Proc::SettingsEffectTranspose>(step), "Unsupported effect settings",
                        TextSignature("SettingsEffectTranspose", false),
                        "step " + std::to_string(step) + ", not 0 to 3 quarter turns"});
    for (Case const& row : rows) {
        auto const effect = MakeEffect(*row.settings);
        for (Failure const& failure : {Catch<std::logic_error>([&] { effect->GetStatistic(); }),
                                       Catch<std::logic_error>([&] { Apply(*effect, MakeFrame()); })}) {
            EXPECT_EQ(failure.text, row.text);
            EXPECT_EQ(failure.detail, row.detail);
            ExpectOrigin(failure, row.function);
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
        ExpectOrigin(failure, TextSignature("SettingsEffectStabilizer", false));
    }
    // While it is off, nothing is looked for but for the statistic.
    auto const off = MakeEffect("stabilizer", "detect=0:path=" + path);
    SP<IDataVideo> const input = MakeFrame();
    EXPECT_EQ(Apply(*off, input), input);
    EXPECT_EQ(Catch([&] { off->GetStatistic(); }).text, "File with statistics unavailable");
}

} // namespace
} // namespace Tarsel::Test
