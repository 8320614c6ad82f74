#include "Proc/Effects/Lumenta/Video/Colour.h"
#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Video/Blur.h"
#include "Refusals.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <string_view>

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::IDataVideo;
using Blur = Proc::SettingsEffectBlur;

SP<Proc::IOneInputEffectVideo> MakeBlur(double sigma, std::int32_t planes = 15,
                                        PixFmt format = PixFmt::None) {
    Blur settings;
    settings.horizontalSigma = sigma;
    settings.verticalSigma = 1;
    settings.planes = planes;
    settings.pixelFormat = format;
    auto effect = Proc::CreateEffectBlur({}, {});
    effect->SetSettings(settings);
    return effect;
}

TEST(Colour, BlurKnowsOneAlgorithm) {
    for (int algorithm : {0, 2}) {
        auto const effect = Proc::CreateEffectBlur({}, {});
        effect->SetSettings(Blur(static_cast<Blur::Algorithm>(algorithm)));
        SP<IDataVideo> data = MakeFrame();
        for (Failure const& failure : {Catch<std::logic_error>([&] { effect->GetStatistic(); }),
                                       Catch<std::logic_error>([&] { effect->Process(data); })}) {
            EXPECT_EQ(failure.text, "Invalid algorithm for EffectBlur");
            EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalVideo");
            EXPECT_EQ(failure.function,
                      "static std::string EffectActions<Tarsel::Proc::SettingsEffectBlur>::GetFFString("
                      "const SettingsEffectBlur &, const FrameInfo &) "
                      "[Settings = Tarsel::Proc::SettingsEffectBlur]");
            EXPECT_EQ(failure.detail, "algorithm " + std::to_string(algorithm) + ", not 1");
            EXPECT_TRUE(failure.hasStack);
        }
    }
    auto const effect = MakeBlur(1, 15, static_cast<PixFmt>(99999));
    EXPECT_EQ(Catch<Core::CoreException>([&] { effect->GetStatistic(); }).text, "Unknown pixel format 99999");
}

TEST(Colour, BlurNeedsTwoColumnsInEachPlane) {
    std::string const function = "static void EffectActions<Tarsel::Proc::SettingsEffectBlur>::CheckFormat("
                                 "const SettingsType &, PixFmt, const FrameInfo &)";
    auto const refused = [](std::string const& format, char const* smallest, char const* size) {
        return "blur takes " + format + " frames of " + smallest + " pixels at least, not of " + size;
    };
    ExpectSizes(*MakeBlur(1), function,
                {{"gray", 1, 1, refused("gray", "2x1", "1x1")},
                 {"gray", 1, 16, refused("gray", "2x1", "1x16")},
                 {"gray", 2, 1, ""},
                 {"yuv420p", 2, 2, refused("yuv420p", "3x1", "2x2")},
                 {"nv12", 2, 2, refused("nv12", "3x1", "2x2")},
                 {"yuv420p", 3, 1, ""},
                 {"yuv410p", 4, 64, refused("yuv410p", "5x1", "4x64")},
                 {"yuv410p", 5, 64, ""},
                 {"rgba", 1, 64, refused("rgba", "2x1", "1x64")}});
    // Luma and alpha are not subsampled.
    ExpectSizes(*MakeBlur(1, 9), function,
                {{"yuva420p", 1, 8, refused("yuva420p", "2x1", "1x8")}, {"yuva420p", 2, 2, ""}});
    // The planes are those of the format that is blurred.
    ExpectSizes(*MakeBlur(1, 15, PixFmt::YUV420P), function,
                {{"gray", 2, 16, refused("yuv420p", "3x1", "2x16")}, {"gray", 3, 16, ""}});
    ExpectSizes(*MakeBlur(1, 15, PixFmt::YUV444P), function, {{"yuv420p", 2, 2, ""}});
    // Nothing is blurred.
    ExpectSizes(*MakeBlur(0), function, {{"yuv420p", 1, 1, ""}});
    ExpectSizes(*MakeBlur(1, 0, PixFmt::YUV420P), function, {{"yuv420p", 1, 1, ""}});

    SP<Conf::IFormatCodecVideo> codec =
        MakeSP<Conf::FormatCodecVideo>(PixFmt::GRAY8, Conf::FrameInfo{1, 1, 1, 1});
    auto const effect = MakeBlur(1.5); // a text that no cache knows
    EXPECT_EQ(Catch([&] { effect->UpdateFormatCodec(codec); }).text, refused("gray", "2x1", "1x1"));
}

TEST(Colour, MixerTakesSamplesWithinTheirDepth) {
    Proc::SettingsEffectColorChannelMixer settings;
    settings.gains[1] = 0.5;
    auto const effect = Proc::CreateEffectColorChannelMixer({}, {});
    effect->SetSettings(settings);
    for (auto const& [name, text] :
         {std::pair{"gbrp10le", "color-channel-mixer takes samples of 0 to 1023 in gbrp10le frames; plane 1 "
                                "has higher ones"},
          {"gbrap12le", "color-channel-mixer takes samples of 0 to 4095 in gbrap12le frames; plane 1 has "
                        "higher ones"},
          {"yuv420p10le", ""}, // through the scaler
          {"gbrp16le", ""}}) {
        SP<IDataVideo> const fine = MakeFrame(Conf::PixFmtDescription::FindByName(name).value());
        SP<IDataVideo> data = fine;
        effect->Process(data);
        EXPECT_NE(data, fine);

        fine->GetWritablePlane(1).data[1] = 0xFF;
        data = fine;
        if (std::string_view(text).empty()) {
            effect->Process(data);
            EXPECT_NE(data, fine);
        } else {
            EXPECT_EQ(Catch([&] { effect->Process(data); }).text, text);
        }
    }
}

} // namespace
} // namespace Tarsel::Test
