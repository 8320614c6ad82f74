#include "Check/RandomSettings.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Interfaces/FiltersOnly.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/SettingsText.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

extern "C" {
#include <libavutil/frame.h>
}

/// What effects do without their filters is what the filters do: pixels, times, and all that a frame says of
/// itself.
namespace Tarsel::Test {
namespace {

using Random = std::mt19937;

class FastWay : public testing::TestWithParam<char const*> {
protected:
    ~FastWay() override { Proc::SetFiltersOnly(false); }
};

/// Frames of that format; of two sizes, and tagged alike: a filter's scaler remembers tags, a fast way does
/// not.
FrameList DrawFrames(Random& random, Conf::PixFmt format) {
    constexpr AVColorRange ranges[]{AVCOL_RANGE_UNSPECIFIED, AVCOL_RANGE_MPEG, AVCOL_RANGE_JPEG};
    constexpr AVColorSpace spaces[]{AVCOL_SPC_UNSPECIFIED, AVCOL_SPC_BT709, AVCOL_SPC_SMPTE170M};
    AVColorRange const range = ranges[random() % 3];
    AVColorSpace const space = spaces[random() % 3];
    auto const draw = [&](std::uint32_t most) { return 1 + static_cast<std::uint32_t>(random() % most); };
    // Of planes of one row or column geq makes what its memory held before.
    Conf::FrameInfo info{8 + draw(60), 8 + draw(60), draw(2), 1};
    FrameList frames;
    for (std::int64_t time = 0; time < 3; ++time) {
        if (time == 2)
            info = {8 + draw(60), 8 + draw(60), 1, 1};
        AVFrame* const frame =
            frames.emplace_back(MakeFrame(format, info, time * 1000, 40 + time, draw(1000)))->GetAVFrame();
        frame->color_range = range;
        frame->colorspace = space;
        frame->color_primaries = AVCOL_PRI_BT709;
        frame->chroma_location = AVCHROMA_LOC_LEFT;
        av_dict_set(&frame->metadata, "scene", "7", 0);
    }
    return frames;
}

std::string Tell(SP<Proc::IDataVideo> const& data) {
    if (!data)
        return "none";
    AVFrame const& frame = *data->GetAVFrame();
    Conf::FrameInfo const info = data->GetFrameInfo();
    return fmt::format("{} {}x{} {}:{} {}+{}, range {} space {} primaries {} curve {} chroma {} aspect {}:{} "
                       "metadata {}, {} bytes of {}",
                       NameOf(data->GetPixelFormat()), info.width, info.height, info.aspectNum,
                       info.aspectDen, data->GetTime(), data->GetDuration(),
                       static_cast<int>(frame.color_range), static_cast<int>(frame.colorspace),
                       static_cast<int>(frame.color_primaries), static_cast<int>(frame.color_trc),
                       static_cast<int>(frame.chroma_location), frame.sample_aspect_ratio.num,
                       frame.sample_aspect_ratio.den, av_dict_count(frame.metadata), GetRaw(*data).size(),
                       std::hash<std::string>()(GetRaw(*data)));
}

std::string TellAllOf(FrameList const& frames) {
    std::string text;
    for (SP<Proc::IDataVideo> const& frame : frames)
        text += Tell(frame) + '\n';
    return text;
}

/// What comes of three frames by single calls, and as a stream.
std::string RunBoth(Proc::Settings const& settings, FrameList const& frames, bool filtersOnly) {
    Proc::SetFiltersOnly(filtersOnly);
    auto const effect = MakeEffect(settings);
    std::string text;
    try {
        for (SP<Proc::IDataVideo> const& frame : frames)
            text += Tell(Apply(*effect, frame)) + '\n';
        text += TellAllOf(RunStream(*effect, frames));
        SP<Conf::IFormatCodecVideo> const format =
            Ask(*effect, frames.front()->GetPixelFormat(), frames.front()->GetFrameInfo());
        text += fmt::format("said to be {}", NameOf(format->GetPixelFormat()));
    } catch (Proc::EffectException const& failure) {
        text += failure.what();
    }
    return text;
}

TEST_P(FastWay, MakesWhatTheFilterMakes) {
    av_log_set_level(AV_LOG_QUIET); // scalers complain of formats with a range
    Random random(9);
    int const rounds = std::getenv("LUMENTA_TEST_FULL") != nullptr ? 5 : 1;
    auto const initial = MakeEffect(GetParam())->GetSettingsBase().Clone();
    int differing = 0;
    for (Conf::PixFmt const format : Conf::PixFmtDescription::s_supportedFormats)
        for (int round = 0; round < rounds; ++round) {
            auto const settings = Check::RandomSettings(random).Draw(*initial);
            FrameList const frames = DrawFrames(random, format);
            std::string const made = RunBoth(*settings, frames, false);
            std::string const due = RunBoth(*settings, frames, true);
            EXPECT_EQ(made, due) << NameOf(format) << ", " << Proc::Serialize(*settings);
            differing += made != due ? 1 : 0;
            ASSERT_LT(differing, 4);
        }
}

INSTANTIATE_TEST_SUITE_P(Filters, FastWay,
                         testing::Values("emboss", "denoise-wavelet", "edge-detect", "balance-chroma"),
                         [](auto const& test) {
                             std::string name = test.param;
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

} // namespace
} // namespace Tarsel::Test
