#include "Proc/Interfaces/IResample.h"
#include "Proc/Settings/Color.h"
#include "Proc/Settings/Delay.h"
#include "Proc/Settings/Denoise.h"
#include "Proc/Settings/Dynamics.h"
#include "Proc/Settings/Format.h"
#include "Proc/Settings/Modulation.h"
#include "Proc/Settings/Orientation.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/Stylize.h"
#include "Support/Failure.h"
#include "Support/LibraryEffects.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <limits>
#include <sstream>

/// What single classes have beside their tables.
namespace Tarsel::Proc {

namespace {

TEST(IsEmpty, IsTrueWhereTheEffectChangesNothing) {
    struct Case {
        char const* classId;
        std::vector<char const*> empty;
        std::vector<char const*> others;
    };
    for (Case const& each : {
             Case{"flip", {""}, {"horizontal=1", "vertical=1"}},
             Case{"transpose", {""}, {"step=2"}},
             Case{"display-matrix", {""}, {"matrix=6"}},
             Case{"deshake", {"block-size=16"}, {"enabled=1"}},
             Case{"stabilizer", {"detect=0:zoom=5"}, {"enabled=1"}},
             Case{"pixel-format", {""}, {"formats=rgb24"}},
             Case{"denoise-chroma-luma", {}, {""}},
             Case{"denoise-dct", {""}, {"sigma=0.1"}},
             Case{"denoise-wavelet", {"depth=9"}, {"chroma=1"}},
             Case{"edge-detect", {}, {""}},
             Case{"emboss", {}, {"x=0:y=0:keep-color=1"}},
             Case{"balance-chroma", {""}, {"blue-highlights=-1"}},
             Case{"blur",
                  {"", "sigma=3:planes=0", "sigma=3:factor=0:factor-v=0:mode=axis"},
                  {"sigma=3", "sigma-v=3", "sigma=3:factor=0:factor-v=0", "pixel-format=rgb24"}},
             Case{"color-channel-mixer", {""}, {"aa=0.5"}},
             Case{"negate", {"channels=0"}, {""}},
             Case{"noise", {"seed=5:method=uniform"}, {"strength=1"}},
             Case{"border",
                  {"left-fraction=0.5", "type=own:left=5"},
                  {"top=1", "type=longer:bottom-fraction=0.5"}},
             Case{"posterize", {}, {""}},
             Case{"remove-grain", {""}, {"m3=2"}},
             Case{"midequalizer", {"planes=0"}, {""}},
             Case{"deinterlace", {}, {""}},
             Case{"resize", {"fit=crop"}, {"height=100"}},
             Case{"resample", {""}, {"layout=mono"}},
             Case{"rotate", {"mode=pad"}, {"angle=-0.5"}},
             Case{"color-balance", {"gamma-weight=50"}, {"hue=10", "blue-gamma=10"}},
             Case{"smart-blur",
                  {"", "luma-strength=50:luma-strength-offset=50"},
                  {"chroma-strength-offset=50"}},
             Case{"equalizer", {"", "bands=100/3:factor=0"}, {"bands=100/3"}},
             Case{"echo", {"", "echos=500/0.5:scale=0"}, {"echos=500/0.5"}},
             Case{"chorus", {"", "voices=50/0.4/0.25/2:scale=1e-39"}, {"voices=50/0.4/0.25/2"}},
             Case{"reverb", {}, {""}},
             Case{"gate", {}, {""}},
             Case{"noise-gate", {"", "threshold=-4.99", "threshold=-5:reduction=0"}, {"threshold=-5"}},
             Case{"compressor", {}, {""}},
             Case{"distortion", {}, {""}},
             Case{"flanger", {}, {""}},
             Case{"vibrato", {}, {""}},
         })
        for (bool const isEmpty : {true, false})
            for (char const* text : isEmpty ? each.empty : each.others) {
                std::unique_ptr<Settings> const settings =
                    Tarsel::Test::FindSettingsClass(each.classId).Create();
                settings->Deserialize(text);
                EXPECT_EQ(settings->IsEmpty(), isEmpty) << each.classId << ' ' << text;
            }
}

TEST(Conflicts, OfSeveralFieldsAreRefusedByNameHoweverTheyAreRead) {
    struct Case {
        char const* classId;
        /// The first is legal, and the second contradicts itself.
        char const* legal;
        char const* illegal;
        char const* refusal;
    };
    for (Case const& each : {
             Case{"rotate", "mode=given:width=8:height=1", "mode=given:angle=30",
                  "give width and height, 1 to 16384 pixels: mode=given has no size without"},
             Case{"rotate", "mode=pad:width=0", "mode=given:angle=1:width=8",
                  "give height, 1 to 16384 pixels: mode=given has no size without"},
             Case{"rotate", "width=8:angle=90:mode=given", "mode=given:angle=90.5:height=8",
                  "give width, 1 to 16384 pixels: mode=given has no size without"},
             Case{"edge-detect", "low=0.5:high=0.5", "low=0.5:high=0.4",
                  "give low 0 to 0.4, the value of high: low=0.5 is above high=0.4"},
             Case{"stabilizer", "shakiness=8:accuracy=8", "shakiness=8:accuracy=7",
                  "give accuracy 8 to 15, shakiness or more: accuracy=7 is below shakiness=8"},
             Case{"smart-blur", "luma-strength=50:luma-strength-offset=-50",
                  "luma-strength=51:luma-strength-offset=-50",
                  "give luma-strength minus luma-strength-offset -100 to 100: 51 minus -50 is 101"},
             Case{"smart-blur", "chroma-strength=-50:chroma-strength-offset=50",
                  "chroma-strength=-50:chroma-strength-offset=51",
                  "give chroma-strength minus chroma-strength-offset -100 to 100: -50 minus 51 is -101"},
             Case{"posterize", "colors=256:palette=1", "colors=257:palette=1",
                  "give colors 1 to 256, or palette=0: a palette cannot hold colors=257"},
             Case{"denoise-dct", "overlap=7:block-size=8x8", "overlap=8",
                  "give overlap -1 to 7 with blocks of 8x8: overlap=8 is as large as the block"},
             Case{"denoise-dct", "overlap=15:block-size=16x16", "overlap=8:block-size=8x8",
                  "give overlap -1 to 7 with blocks of 8x8: overlap=8 is as large as the block"},
         }) {
        std::string const refusal = std::string(each.classId) + ": " + each.refusal;
        std::unique_ptr<Settings> const settings = Tarsel::Test::FindSettingsClass(each.classId).Create();
        EXPECT_NO_THROW(settings->Deserialize(each.legal)) << each.classId;
        EXPECT_NO_THROW(WriteFieldsFromProperty(*settings, Settings2Property(*settings)));

        std::unique_ptr<Settings> const before = Tarsel::Test::FindSettingsClass(each.classId).Create();
        std::unique_ptr<Settings> const after = before->Clone();
        EXPECT_EQ(Tarsel::Test::TextOf<SettingsException>([&] { after->Deserialize(each.illegal); }),
                  refusal);
        EXPECT_TRUE(after->IsEqualTo(*before)) << refusal;

        Core::Property property;
        for (std::string_view rest = each.illegal; !rest.empty();) {
            std::string_view const item = rest.substr(0, rest.find(':'));
            rest.remove_prefix(std::min(item.size() + 1, rest.size()));
            std::size_t const equals = item.find('=');
            property.SetChildT(std::string(item.substr(0, equals)), std::string(item.substr(equals + 1)));
        }
        EXPECT_EQ(Tarsel::Test::TextOf<SettingsException>([&] { WriteFieldsFromProperty(*after, property); }),
                  refusal);
    }
}

TEST(Transform, IsComparedAsItsConcreteClass) {
    SettingsEffectFlip flip(true, false);
    SettingsEffectFlip animated(true, false);
    animated.transform = [](double, Core::Matrix3x3&, double&) {};
    SettingsEffectTransform const& base = flip;
    EXPECT_TRUE(base == static_cast<SettingsEffectTransform const&>(animated));
    EXPECT_FALSE(base == static_cast<SettingsEffectTransform const&>(SettingsEffectFlip(true, true)));
    EXPECT_FALSE(base == static_cast<SettingsEffectTransform const&>(SettingsEffectTranspose(0)));

    SettingsEffectFlip const copy = animated;
    EXPECT_TRUE(copy.transform);
    flip.transform = animated.transform;
    flip.Deserialize("vertical=1");
    EXPECT_TRUE(flip.transform) << "reading settings must not drop the host's animation";
}

TEST(Transpose, TurnsWithinAFullCircle) {
    using Limits = std::numeric_limits<std::int32_t>;
    SettingsEffectTranspose transpose;
    for (auto const& [from, added, subtracted] : {std::array{0, 1, 3},
                                                  {1, 2, 0},
                                                  {3, 0, 2},
                                                  {-1, 0, 2},
                                                  {Limits::max(), 0, 2},
                                                  {Limits::min(), 1, 3}}) {
        transpose.step = from;
        transpose.AddAngle90();
        EXPECT_EQ(transpose.step, added);
        transpose.step = from;
        transpose.SubAngle90();
        EXPECT_EQ(transpose.step, subtracted);
    }
}

TEST(Blur, TakesOneSigmaForBothDirections) {
    SettingsEffectBlur blur;
    blur.Deserialize("sigma=3");
    EXPECT_EQ(blur.horizontalSigma, 3);
    EXPECT_EQ(blur.verticalSigma, 3);
    blur.Deserialize("sigma-v=1:sigma=2");
    EXPECT_EQ(blur.horizontalSigma, 2);
    EXPECT_EQ(blur.verticalSigma, 1);
}

TEST(ColorBalance, MapsZeroToNoChangeAndTheEndsToUsefulOnes) {
    SettingsEffectColorBalance balance;
    auto const expect = [&](double contrast, double brightness, double saturation, double gamma,
                            double weight) {
        EXPECT_DOUBLE_EQ(balance.GetFFContrast(), contrast);
        EXPECT_DOUBLE_EQ(balance.GetFFBrightness(), brightness);
        EXPECT_DOUBLE_EQ(balance.GetFFSaturation(), saturation);
        EXPECT_DOUBLE_EQ(balance.GetFFGamma(), gamma);
        EXPECT_DOUBLE_EQ(balance.GetFFGammaRed(), gamma);
        EXPECT_DOUBLE_EQ(balance.GetFFGammaGreen(), gamma);
        EXPECT_DOUBLE_EQ(balance.GetFFGammaBlue(), gamma);
        EXPECT_DOUBLE_EQ(balance.GetFFGammaWeight(), weight);
    };
    auto const set = [&](std::int32_t value) {
        for (std::int32_t* raw : {&balance.contrast, &balance.brightness, &balance.saturation, &balance.gamma,
                                  &balance.redGamma, &balance.greenGamma, &balance.blueGamma})
            *raw = value;
    };
    expect(1, 0, 1, 1, 1);
    set(100);
    balance.gammaWeight = 50;
    expect(2, 1, 3, 10, 0.5);
    set(-100);
    expect(0, -1, 0, 0.1, 0.5);
    set(20);
    EXPECT_DOUBLE_EQ(balance.GetFFContrast(), 1.2);
    EXPECT_DOUBLE_EQ(balance.GetFFSaturation(), 1.4);
}

TEST(Words, OfTheFiltersAreWrittenToStreams) {
    std::ostringstream text;
    text << SettingsAudioCompressor::LinkType::Maximum << ' ' << SettingsAudioCompressor::DetectionType::Peak
         << ' ' << SettingsAudioGate::LinkType::Average << ' ' << SettingsAudioGate::DetectionType::Rms << ' '
         << SettingsAudioFlanger::ShapeType::Triangular << ' '
         << SettingsAudioFlanger::InterpolationType::Quadratic << ' '
         << static_cast<SettingsAudioFlanger::ShapeType>(9);
    EXPECT_EQ(text.str(), "maximum peak average rms triangular quadratic 9");
}

TEST(RemoveGrain, HasAModeForEachOfFourPlanes) {
    SettingsEffectRemoveGrain grain;
    grain.Deserialize("m0=1:m1=2:m2=3:m3=4");
    for (int plane = 0; plane < 4; ++plane)
        EXPECT_EQ(grain.GetMode(plane), plane + 1);
    EXPECT_THROW((void)grain.GetMode(4), std::out_of_range);
    EXPECT_THROW((void)grain.GetMode(-1), std::out_of_range);
}

TEST(Resample, NamesWhatIsKnownOfItsOutput) {
    SettingsResample resample;
    EXPECT_EQ(resample.GetOutput(), Conf::SampleInfo());
    resample.Deserialize("format=fltp:rate=48000:layout=5.1");
    EXPECT_EQ(resample.GetOutput(), Conf::SampleInfo::Init(Conf::SampleFormats::FloatPlanar, 48000,
                                                           Conf::ChannelLayout::FromName("5.1").value()));
}

TEST(Property2Settings, OfSingleClassesReadTheirKeys) {
    Core::Property property;
    property.SetChildT("vertical", true);
    EXPECT_TRUE(Property2SettingsFlip(property) == SettingsEffectFlip(false, true));
    property.SetChildT("step", std::int64_t{2});
    EXPECT_TRUE(Property2SettingsTranspose(property) == SettingsEffectTranspose(2));
    EXPECT_TRUE(Property2SettingsNoiseGate(property) == SettingsAudioNoiseGate());
    property.SetChildT("mode", std::string("send_field"));
    EXPECT_EQ(Property2SettingsDeinterlace(property).frameMode, SettingsDeinterlace::FrameMode::Field);
    property.SetChildT("luma-spatial", 2.5);
    EXPECT_EQ(Property2SettingsChromaLuma(property).lumaSpatial, 2.5);
}

} // namespace

} // namespace Tarsel::Proc
