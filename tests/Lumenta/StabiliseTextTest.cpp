#include "Conf/FormatCodecVideo.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Video/Stabilise.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Support/TempFolder.h"
#include "Support/Watch.h"
#include "TextCases.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

/// The texts of settings at the edges, and of such as cannot be had.
namespace Tarsel::Test {
namespace {

using Deshake = Proc::SettingsEffectDeshake;
using Stabilizer = Proc::SettingsEffectStabilizer;

constexpr std::int32_t s_most = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t s_least = std::numeric_limits<std::int32_t>::min();

template <class Change>
TextCase DetectionText(Change const& change, std::string const& text) {
    return Text<Stabilizer>(
        [&](Stabilizer& settings) {
            settings.statisticsPath = "a file"; // not looked for
            change(settings);
        },
        "vidstabdetect=show=0:" + text);
}

template <class Change>
TextCase TransformText(Change const& change, std::string const& text) {
    std::string const path = std::filesystem::temp_directory_path(); // anything that exists
    return Text<Stabilizer>(
        [&](Stabilizer& settings) {
            settings.detectionPass = false;
            settings.statisticsPath = path;
            change(settings);
        },
        "vidstabtransform=" + text + ":input=" + path);
}

TextCase DeshakeText(std::int32_t blockSize, std::string const& text) {
    return Text<Deshake>([=](Deshake& settings) { settings.blockSize = blockSize; }, text);
}

TEST(StabiliseText, IsExact) {
    auto const defaults = [](Stabilizer&) {};
    ExpectTexts({
        DeshakeText(4, "deshake=rx=64:ry=64:blocksize=4"),
        DeshakeText(s_most, "deshake=rx=64:ry=64:blocksize=2147483647"),
        DeshakeText(s_least, "deshake=rx=64:ry=64:blocksize=-2147483648"),

        DetectionText(defaults, "shakiness=5:accuracy=15:stepsize=6:mincontrast=0.250000:result=a file"),
        DetectionText(
            [](Stabilizer& settings) {
                settings.shakiness = 1234567;
                settings.accuracy = -1;
                settings.stepSize = s_least;
                settings.minContrast = s_most;
            },
            "shakiness=1234567:accuracy=-1:stepsize=-2147483648:mincontrast=21474836.470000:result=a file"),
        DetectionText(
            [](Stabilizer& settings) {
                settings.minContrast = -7;
                settings.statisticsPath = "it's: a %s {} file";
            },
            "shakiness=5:accuracy=15:stepsize=6:mincontrast=-0.070000:result=it's: a %s {} file"),

        TransformText(defaults, "smoothing=15:optalgo=gauss:crop=keep:zoom=0:optzoom=1:interpol=bilinear"),
        TransformText(
            [](Stabilizer& settings) {
                settings.smoothing = 1000;
                settings.optimisation = Stabilizer::Optimisation::Average;
                settings.cropMode = Stabilizer::CropMode::Black;
                settings.zoom = -100;
                settings.optimalZoom = Stabilizer::OptimalZoom::None;
                settings.interpolation = Stabilizer::Interpolation::None;
            },
            "smoothing=1000:optalgo=avg:crop=black:zoom=-100:optzoom=0:interpol=no"),
        TransformText(
            [](Stabilizer& settings) {
                settings.optimalZoom = Stabilizer::OptimalZoom::Dynamic;
                settings.interpolation = Stabilizer::Interpolation::Linear;
            },
            "smoothing=15:optalgo=gauss:crop=keep:zoom=0:optzoom=2:interpol=linear"),
        TransformText(
            [](Stabilizer& settings) { settings.interpolation = Stabilizer::Interpolation::Bicubic; },
            "smoothing=15:optalgo=gauss:crop=keep:zoom=0:optzoom=1:interpol=bicubic"),
        TransformText(
            [](Stabilizer& settings) {
                settings.smoothing = s_least;
                settings.zoom = 1234567;
                settings.optimisation = static_cast<Stabilizer::Optimisation>(2);
                settings.cropMode = static_cast<Stabilizer::CropMode>(-1);
                settings.optimalZoom = static_cast<Stabilizer::OptimalZoom>(5);
                settings.interpolation = static_cast<Stabilizer::Interpolation>(7);
            },
            "smoothing=-2147483648:optalgo=avg:crop=black:zoom=1234567:optzoom=2:interpol=bicubic"),
    });
}

TEST(StabiliseText, MissingStatisticsAreNamed) {
    TempFolder const folder;
    Stabilizer settings;
    settings.enabled = true;
    settings.detectionPass = false;
    settings.statisticsPath = folder / "none.trf";
    auto const effect = Proc::CreateEffectStabilizer({}, {});
    effect->SetSettings(settings);
    SP<Proc::IDataVideo> data = MakeFrame();
    SP<Conf::IFormatCodecVideo> codec = MakeSP<Conf::FormatCodecVideo>(Conf::PixFmt::YUV420P, s_small);
    for (Failure const& failure :
         {Catch([&] { effect->GetStatistic(); }), Catch([&] { effect->Process(data); }),
          Catch([&] { effect->UpdateFormatCodec(codec); }),
          Catch([&] { dynamic_cast<Proc::IEffectDetailsVideo&>(*effect).Describe(*codec); })}) {
        EXPECT_EQ(failure.text, "File with statistics unavailable");
        EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalVideo");
        EXPECT_EQ(failure.function,
                  "static std::string EffectActions<Tarsel::Proc::SettingsEffectStabilizer>::GetFFString("
                  "const SettingsType &, const FrameInfo &)");
        EXPECT_EQ(failure.detail, "no file \"" + settings.statisticsPath + '"');
        EXPECT_TRUE(failure.hasStack);
    }

    // While it is off, nothing is looked for but for the statistic.
    settings.enabled = false;
    effect->SetSettings(settings);
    SP<Proc::IDataVideo> const input = data;
    effect->Process(data);
    EXPECT_EQ(data, input);
    EXPECT_EQ(Catch([&] { effect->GetStatistic(); }).text, "File with statistics unavailable");
}

TEST(StabiliseText, WhatTheFilterRefuses) {
    TempFolder const folder;
    FFmpegWatch const quiet;
    auto const expect = [](Stabilizer const& settings, char const* text) {
        auto const effect = Proc::CreateEffectStabilizer({}, {});
        effect->SetSettings(settings);
        SP<Proc::IDataVideo> data = MakeFrame();
        EXPECT_EQ(Catch([&] { effect->Process(data); }).text, text);
    };
    Stabilizer settings;
    settings.enabled = true;
    settings.statisticsPath = folder / "no folder" / "file.trf";
    expect(settings, "Cannot configure graph");
    settings.statisticsPath = folder / "file.trf";
    settings.shakiness = 11;
    expect(settings, "Cannot parse graph");
    settings.statisticsPath = folder / "a:b"; // what comes after the colon is no option
    settings.shakiness = 5;
    expect(settings, "Cannot parse graph");
}

} // namespace
} // namespace Tarsel::Test
