#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Settings/Stabilize.h"
#include "Support/TempFolder.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <random>

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Proc::IDataVideo;

constexpr Conf::FrameInfo s_size{256, 192, 1, 1};
constexpr int s_frames = 40;

/// A landscape of dark and bright shapes with soft detail in them, larger than the frames that show parts of
/// it: values of noise on grids of halved width, interpolated and added up; hard edges where the first sum
/// changes its sign.
class Landscape {
public:
    static constexpr int s_side = 320;

    Landscape() : m_values(static_cast<std::size_t>(s_side) * s_side) {
        std::mt19937 random(7);
        for (int cell = 32; cell >= 4; cell /= 2) {
            int const cells = s_side / cell + 1;
            std::vector<double> grid(static_cast<std::size_t>(cells) * static_cast<std::size_t>(cells));
            std::generate(grid.begin(), grid.end(),
                          [&] { return std::generate_canonical<double, 32>(random) - 0.5; });
            auto const at = [&](int x, int y) { return grid[static_cast<std::size_t>(y * cells + x)]; };
            for (int y = 0; y < s_side; ++y)
                for (int x = 0; x < s_side; ++x) {
                    double const right = double(x % cell) / cell;
                    double const down = double(y % cell) / cell;
                    double const top = std::lerp(at(x / cell, y / cell), at(x / cell + 1, y / cell), right);
                    double const bottom =
                        std::lerp(at(x / cell, y / cell + 1), at(x / cell + 1, y / cell + 1), right);
                    double const height = std::lerp(top, bottom, down);
                    double& value = m_values[static_cast<std::size_t>(y * s_side + x)];
                    value += 50 * height;
                    if (cell == 32)
                        value += height < 0 ? -75 : 75;
                }
        }
    }

    /// What a camera at that place sees.
    SP<IDataVideo> Look(int left, int top, std::int64_t time) const {
        SP<IDataVideo> data = MakeFrame(PixFmt::YUV420P, s_size, time);
        for (int i = 0; i < 3; ++i) {
            Proc::WritablePlane const plane = data->GetWritablePlane(i);
            int const scale = i == 0 ? 1 : 2;
            for (int y = 0; y < static_cast<int>(plane.rows); ++y)
                for (int x = 0; x < static_cast<int>(plane.rowBytes); ++x) {
                    int const place = (top + y * scale) * s_side + left + x * scale;
                    plane.data[y * plane.lineSize + x] = static_cast<std::uint8_t>(
                        std::clamp(128 + m_values[static_cast<std::size_t>(place)], 16.0, 235.0));
                }
        }
        return data;
    }

private:
    std::vector<double> m_values;
};

/// A clip by a hand that trembles around one place.
FrameList MakeShakyClip() {
    Landscape const landscape;
    std::mt19937 random(11);
    std::uniform_int_distribution<int> step(-5, 5);
    int left = 30;
    int top = 60;
    FrameList clip;
    for (int i = 0; i < s_frames; ++i) {
        clip.push_back(landscape.Look(left, top, i * std::int64_t{40000}));
        left = std::clamp(left + step(random), 0, Landscape::s_side - int(s_size.width));
        top = std::clamp(top + step(random), 0, Landscape::s_side - int(s_size.height));
    }
    return clip;
}

struct Shift {
    int x = 0;
    int y = 0;
};

/// How far the middle of `before` lies from where it was in `after`: the shift of least absolute difference.
Shift FindShift(IDataVideo const& before, IDataVideo const& after) {
    constexpr int reach = 8;
    Proc::ReadOnlyPlane const a = before.GetReadOnlyPlane(0);
    Proc::ReadOnlyPlane const b = after.GetReadOnlyPlane(0);
    int const border = 32;
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
    Shift best;
    for (int dy = -reach; dy <= reach; ++dy)
        for (int dx = -reach; dx <= reach; ++dx) {
            std::int64_t difference = 0;
            for (int y = border; y < int(s_size.height) - border; y += 2)
                for (int x = border; x < int(s_size.width) - border; x += 2)
                    difference +=
                        std::abs(a.data[y * a.lineSize + x] - b.data[(y + dy) * b.lineSize + x + dx]);
            if (difference < least) {
                least = difference;
                best = {dx, dy};
            }
        }
    return best;
}

/// The sum of the squared distances between consecutive frames.
int MeasureShake(FrameList const& clip) {
    int shake = 0;
    for (std::size_t i = 1; i < clip.size(); ++i) {
        Shift const shift = FindShift(*clip[i - 1], *clip[i]);
        shake += shift.x * shift.x + shift.y * shift.y;
    }
    return shake;
}

FrameList RunCalls(Proc::IOneInputEffectVideo& effect, FrameList const& clip) {
    FrameList out;
    for (SP<IDataVideo> const& data : clip)
        out.push_back(Apply(effect, data));
    return out;
}

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
    FrameList const clip = MakeShakyClip();
    Proc::SettingsEffectStabilizer detection;
    Proc::SettingsEffectStabilizer transform;

    Stabilizer() {
        detection.enabled = true;
        detection.statisticsPath = folder / "motion.trf";
        transform = detection;
        transform.detectionPass = false;
    }
    void ExpectSteadier(FrameList const& result) {
        ASSERT_EQ(result.size(), clip.size());
        int const before = MeasureShake(clip);
        ASSERT_GT(before, s_frames * 10);
        EXPECT_LT(MeasureShake(result), before / 8);
        for (std::size_t i = 0; i < result.size(); ++i) {
            EXPECT_EQ(result[i]->GetTime(), clip[i]->GetTime());
            EXPECT_EQ(result[i]->GetDuration(), clip[i]->GetDuration());
        }
    }
};

/// The end of the stream completes the file while the effect lives on.
TEST_F(Stabilizer, TwoStreamsMakeAClipSteady) {
    auto const first = MakeEffect(detection);
    FrameList const seen = RunStream(*first, clip);
    EXPECT_EQ(CountFrames(detection.statisticsPath), s_frames);
    ASSERT_EQ(seen.size(), clip.size());
    for (std::size_t i = 0; i < seen.size(); ++i)
        ASSERT_EQ(GetPixels(*seen[i]), GetPixels(*clip[i]));
    ExpectSteadier(RunStream(*MakeEffect(transform), clip));
}

/// So do other settings, for one effect that makes both passes.
TEST_F(Stabilizer, OneEffectMakesBothPassesByCalls) {
    auto const effect = MakeEffect(detection);
    RunCalls(*effect, clip);
    effect->SetSettings(transform);
    EXPECT_EQ(CountFrames(detection.statisticsPath), s_frames);
    ExpectSteadier(RunCalls(*effect, clip));
}

TEST_F(Stabilizer, ResetAndTheEffectsEndCompleteTheFile) {
    for (bool byReset : {true, false}) {
        auto effect = MakeEffect(detection);
        RunCalls(*effect, clip);
        if (byReset)
            effect->Reset();
        else
            effect = nullptr;
        EXPECT_EQ(CountFrames(detection.statisticsPath), s_frames) << byReset;
    }
}

TEST_F(Stabilizer, DeshakeSteadiesInOnePass) {
    FrameList const result = RunStream(*MakeEffect("deshake", "enabled=1"), clip);
    ASSERT_EQ(result.size(), clip.size());
    EXPECT_LT(MeasureShake(result), MeasureShake(clip) / 2);
}

/// FFmpeg turns these into RGB for the filters, which end the process then.
bool BecomesRgb(PixFmtDescription const& format) {
    std::string const& name = format.GetName();
    return format.IsRgb() || (format.GetFlags() & PixFmtDescription::Palette) != 0 ||
           name.starts_with("ya8") || name.starts_with("ya16") || name.starts_with("xyz") ||
           name == "yuvj444p";
}

TEST_F(Stabilizer, TakesWhateverDoesNotBecomeRgb) {
    RunCalls(*MakeEffect(detection), clip);
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
