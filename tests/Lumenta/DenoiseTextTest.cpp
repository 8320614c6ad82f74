#include "Conf/FormatCodecVideo.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Video/Denoise.h"
#include "Refusals.h"
#include "Support/Watch.h"
#include "TextCases.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

/// The texts of settings at the edges, and of such as no filter takes.
namespace Tarsel::Test {
namespace {

using Deinterlace = Proc::SettingsDeinterlace;
using ChromaLuma = Proc::SettingsEffectDenoiseChromaLuma;
using DCT = Proc::SettingsEffectDenoiseDCT;
using Wavelet = Proc::SettingsEffectDenoiseOvercompleteWavelet;
using Noise = Proc::SettingsEffectNoiseVideo;
using RemoveGrain = Proc::SettingsEffectRemoveGrain;

constexpr std::int32_t s_most = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t s_least = std::numeric_limits<std::int32_t>::min();

TextCase ChromaLumaText(std::array<double, 4> const& strengths, char const* text) {
    return Text<ChromaLuma>(
        [=](ChromaLuma& settings) {
            settings.lumaSpatial = strengths[0];
            settings.chromaSpatial = strengths[1];
            settings.lumaTemporal = strengths[2];
            settings.chromaTemporal = strengths[3];
        },
        text);
}

TextCase DCTText(double sigma, std::int32_t overlap, std::int32_t exponent, char const* text) {
    return Text<DCT>(
        [=](DCT& settings) {
            settings.sigma = sigma;
            settings.overlap = overlap;
            settings.blockSizeExponent = exponent;
        },
        text);
}

TextCase WaveletText(std::int32_t depth, double luma, double chroma, char const* text) {
    return Text<Wavelet>(
        [=](Wavelet& settings) {
            settings.depth = depth;
            settings.lumaStrength = luma;
            settings.chromaStrength = chroma;
        },
        text);
}

TextCase NoiseText(std::int32_t strength, std::int32_t seed, int method, char const* text) {
    return Text<Noise>(
        [=](Noise& settings) {
            settings.strength = strength;
            settings.seed = seed;
            settings.method = static_cast<Noise::Method>(method);
        },
        text);
}

TEST(DenoiseText, IsExact) {
    ExpectTexts({
        Text<Deinterlace>(
            [](Deinterlace& settings) {
                settings.frameMode = Deinterlace::FrameMode::FieldNoSpatial;
                settings.deinterlaceMode = Deinterlace::DeinterlaceMode::Interlaced;
            },
            "yadif=mode=3:deint=1"),
        ChromaLumaText({0.0001, 1234567, 1e-5, -0.0}, "hqdn3d=0.0001:1.23457e+06:1e-05:-0"),
        ChromaLumaText({1234.5678, 999999.5, 1e300, 0.1 + 0.2}, "hqdn3d=1234.57:1e+06:1e+300:0.3"),
        DCTText(4.5, 7, 0, "dctdnoiz=4.5:overlap=7"),
        DCTText(999, -1, 3, "dctdnoiz=999:n=3:overlap=-1"),
        DCTText(1e9, s_most, s_least, "dctdnoiz=1e+09:n=-2147483648:overlap=2147483647"),
        WaveletText(16, -0.0, 0.0, "owdenoise=16"),
        WaveletText(12, 0.0, 1e-300, "owdenoise=12:cs=1e-300"),
        WaveletText(s_least, 12345.67, 0.0, "owdenoise=-2147483648:ls=12345.7"),
        NoiseText(100, 1, 0, "noise=alls=100:all_seed=1"),
        NoiseText(1, -1, 2, "noise=alls=1:allf=u"),
        NoiseText(s_least, s_most, 3, "noise=alls=-2147483648:all_seed=2147483647"),
        Text<RemoveGrain>(
            [](RemoveGrain& settings) {
                settings.modes = {1, 24, -1, 1234567};
            },
            "removegrain=m0=1:m1=24:m2=-1:m3=1234567"),
    });
}

TEST(DenoiseText, UnsupportedDeinterlaceSettingsAreNamed) {
    struct Case {
        std::uint32_t frame;
        std::uint32_t deinterlace;
        char const* detail;
    };
    for (Case const& row : {Case{4, 0, "frame mode 4, not 0 to 3"},
                            {0xFFFFFFFF, 1, "frame mode 4294967295, not 0 to 3"},
                            {1, 2, "deinterlace mode 2, not 0 to 1"}}) {
        auto const effect = Proc::CreateEffectDeinterlace({}, {});
        Deinterlace settings;
        settings.frameMode = static_cast<Deinterlace::FrameMode>(row.frame);
        settings.deinterlaceMode = static_cast<Deinterlace::DeinterlaceMode>(row.deinterlace);
        effect->SetSettings(settings);
        SP<Proc::IDataVideo> data = MakeFrame();
        SP<Conf::IFormatCodecVideo> codec = MakeSP<Conf::FormatCodecVideo>(Conf::PixFmt::YUV420P, s_small);
        for (Failure const& failure : {Catch<std::logic_error>([&] { effect->GetStatistic(); }),
                                       Catch<std::logic_error>([&] { effect->Process(data); }),
                                       Catch<std::logic_error>([&] { effect->UpdateFormatCodec(codec); })}) {
            EXPECT_EQ(failure.text, "Unsupported deinterlace settings");
            EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalVideo");
            EXPECT_EQ(failure.function,
                      "static std::string EffectActions<Tarsel::Proc::SettingsDeinterlace>::GetFFString("
                      "const SettingsDeinterlace &, const FrameInfo &) "
                      "[Settings = Tarsel::Proc::SettingsDeinterlace]");
            EXPECT_EQ(failure.detail, row.detail);
            EXPECT_TRUE(failure.hasStack);
        }
    }
}

template <class S, class Change>
void ExpectCannotParse(Proc::VideoEffectCreator create, Change const& change, char const* text) {
    auto const effect = create({}, {});
    effect->SetSettings(MakeChanged<S>(change));
    SP<Proc::IDataVideo> data = MakeFrame();
    Failure const failure = Catch([&] { effect->Process(data); });
    EXPECT_EQ(failure.text, "Cannot parse graph");
    EXPECT_EQ(failure.filter, text);
}

TEST(DenoiseText, ValuesOutOfRangeAreForTheFilterToRefuse) {
    FFmpegWatch const quiet;
    ExpectCannotParse<ChromaLuma>(
        Proc::CreateEffectDenoiseChromaLuma, [](ChromaLuma& settings) { settings.lumaSpatial = -1; },
        "hqdn3d=-1:0:0:0");
    ExpectCannotParse<DCT>(
        Proc::CreateEffectDenoiseDCT,
        [](DCT& settings) {
            settings.sigma = 4.5;
            settings.overlap = 8; // as much as a block
        },
        "dctdnoiz=4.5:overlap=8");
    ExpectCannotParse<Wavelet>(
        Proc::CreateEffectDenoiseOvercompleteWavelet,
        [](Wavelet& settings) {
            settings.depth = 7;
            settings.lumaStrength = 1;
        },
        "owdenoise=7:ls=1");
    ExpectCannotParse<Noise>(
        Proc::CreateEffectNoiseVideo, [](Noise& settings) { settings.strength = 101; }, "noise=alls=101");
    ExpectCannotParse<RemoveGrain>(
        Proc::CreateEffectRemoveGrain, [](RemoveGrain& settings) { settings.modes[0] = 25; },
        "removegrain=m0=25:m1=0:m2=0:m3=0");
}

TEST(DenoiseDCT, TakesFramesThatItsBlocksFill) {
    struct Case {
        std::int32_t overlap;
        std::int32_t exponent;
        std::vector<SizeCase> sizes;
    };
    std::string const narrow = "denoise-dct takes yuv420p frames of ";
    std::string const gbrp = "denoise-dct takes gbrp frames of a width and a height of ";
    for (Case const& row :
         {Case{0,
               0,
               {{"yuv420p", 7, 64, narrow + "8x1 pixels at least, not of 7x64"},
                {"yuv420p", 8, 17, ""},
                {"gbrp", 65, 67, ""}}},
          {-1,
           4,
           {{"yuv420p", 15, 64, narrow + "16x1 pixels at least, not of 15x64"},
            {"yuv420p", 16, 64, ""},
            {"gbrp", 65, 67, ""}}},
          {5,
           4,
           {{"gbrp", 64, 60, gbrp + "16 and a multiple of 11 pixels, not 64x60"},
            {"gbrp", 60, 64, gbrp + "16 and a multiple of 11 pixels, not 60x64"},
            {"gbrp", 60, 71, ""},
            {"rgb24", 64, 64, ""},
            {"yuv420p", 64, 64, ""}}},
          {1,
           3,
           {{"gbrp", 64, 100, gbrp + "8 and a multiple of 7 pixels, not 64x100"}, {"gbrp", 64, 50, ""}}}}) {
        auto const effect = Proc::CreateEffectDenoiseDCT({}, {});
        effect->SetSettings(MakeChanged<DCT>([&](DCT& settings) {
            settings.sigma = 4.5;
            settings.overlap = row.overlap;
            settings.blockSizeExponent = row.exponent;
        }));
        ExpectSizes(*effect,
                    "static void EffectActions<Tarsel::Proc::SettingsEffectDenoiseDCT>::CheckFormat("
                    "const SettingsType &, PixFmt, const FrameInfo &)",
                    row.sizes);
    }
}

TEST(RemoveGrain, NeedsTwoColumnsInEveryPlane) {
    auto const effect = Proc::CreateEffectRemoveGrain({}, {});
    effect->SetSettings(MakeChanged<RemoveGrain>([](RemoveGrain& settings) {
        settings.modes = {2, 2, 2, 2};
    }));
    std::string const start = "remove-grain takes ";
    ExpectSizes(*effect,
                "static void EffectActions<Tarsel::Proc::SettingsEffectRemoveGrain>::CheckFormat("
                "const SettingsType &, PixFmt, const FrameInfo &)",
                {
                    {"gray", 1, 16, start + "gray frames of 2x1 pixels at least, not of 1x16"},
                    {"gray", 2, 16, ""},
                    {"rgb24", 1, 3, start + "rgb24 frames of 2x1 pixels at least, not of 1x3"},
                    {"yuv420p", 2, 16, start + "yuv420p frames of 3x1 pixels at least, not of 2x16"},
                    {"yuv420p", 3, 1, ""},
                    {"nv12", 2, 7, start + "nv12 frames of 3x1 pixels at least, not of 2x7"},
                    {"yuv410p", 4, 4, start + "yuv410p frames of 5x1 pixels at least, not of 4x4"},
                    {"yuv410p", 5, 4, ""},
                });
}

} // namespace
} // namespace Tarsel::Test
