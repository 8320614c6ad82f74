#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Settings/Stabilize.h"
#include "Support/TempFolder.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Proc::IDataVideo;

constexpr Conf::FrameInfo s_size{256, 192, 1, 1};
constexpr int s_frames = 4;

int CountFrames(std::string const& path) {
    std::ifstream file(path);
    int frames = 0;
    for (std::string line; std::getline(file, line);)
        frames += line.starts_with("Frame ") && line.ends_with("])") ? 1 : 0;
    return frames;
}

struct Stabilizer : testing::Test {
    FFmpegWatch const quiet;
    TempFolder folder;
    Proc::SettingsEffectStabilizer detection;
    Proc::SettingsEffectStabilizer transform;

    Stabilizer() {
        detection.enabled = true;
        detection.statisticsPath = folder / "motion.trf";
        transform = detection;
        transform.detectionPass = false;
    }
    SP<Proc::IOneInputEffectVideo> Detect() const {
        auto effect = MakeEffect(detection);
        for (int i = 0; i < s_frames; ++i)
            Apply(*effect, MakeFrame(PixFmt::YUV420P, s_size, i * std::int64_t{40000}));
        return effect;
    }
};

TEST_F(Stabilizer, WhateverEndsThePassCompletesTheFile) {
    using Effect = SP<Proc::IOneInputEffectVideo>;
    for (auto const& end : {std::function([](Effect& effect) { effect->Reset(); }),
                            {[](Effect& effect) { effect = nullptr; }},
                            {[](Effect& effect) { RunStream(*effect, FrameList(s_frames, MakeFrame())); }},
                            {[&](Effect& effect) { effect->SetSettings(transform); }}}) {
        Effect effect = Detect();
        end(effect);
        EXPECT_EQ(CountFrames(detection.statisticsPath), s_frames);
    }
}

/// FFmpeg turns these into RGB for the filters, which end the process then.
bool BecomesRgb(PixFmtDescription const& format) {
    std::string const& name = format.GetName();
    return format.IsRgb() || (format.GetFlags() & PixFmtDescription::Palette) != 0 ||
           name.starts_with("ya8") || name.starts_with("ya16") || name.starts_with("xyz") ||
           name == "yuvj444p";
}

TEST_F(Stabilizer, TakesWhateverDoesNotBecomeRgb) {
    Detect();
    for (bool detects : {true, false})
        for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
            auto const effect = MakeEffect(detects ? detection : transform);
            PixFmtDescription const& description = PixFmtDescription::Find(format);
            SP<IDataVideo> data = MakeFrame(format, s_size);
            if (BecomesRgb(description)) {
                EXPECT_EQ(Catch([&] { effect->Process(data); }).text,
                          "stabilizer takes planar YUV of a width divisible by 2 and a height divisible by "
                          "2, not " +
                              description.GetName() + " of 256x192");
            } else {
                EXPECT_NO_THROW(effect->Process(data)) << description.GetName();
                EXPECT_NE(data, nullptr) << description.GetName();
            }
        }
}

} // namespace
} // namespace Tarsel::Test
