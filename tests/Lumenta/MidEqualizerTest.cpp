#include "Proc/Effects/Lumenta/Effects/MidEqualizerFF.h"

#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <stdexcept>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Proc::IDataVideo;
using Proc::MidEqualizerFF;
using Proc::SettingsEffectMidEqualizer;

constexpr char const* s_file = "Proc/Effects/Lumenta/MidEqualizerFF";
constexpr char const* s_process = "virtual void Tarsel::Proc::MidEqualizerFF::Process(SP<DataType> &, "
                                  "const SP<const DataType> &)";

SettingsEffectMidEqualizer MakeSettings(std::int32_t planes) {
    SettingsEffectMidEqualizer settings;
    settings.planes = planes;
    return settings;
}

/// Frames of one time, which goes on with each pair.
struct Pair {
    explicit Pair(PixFmt format = PixFmt::YUV420P, Conf::FrameInfo const& firstInfo = s_small,
                  Conf::FrameInfo const& secondInfo = s_small) {
        static std::int64_t time = 0;
        time += 40000;
        first = data = MakeFrame(format, firstInfo, time, 40000, 1);
        // Darker, so that every plane of the first changes.
        second = MakeFrame(format, secondInfo, time, 40000, 2);
        for (int plane = 0; plane < PixFmtDescription::Find(format).GetPlaneCount(); ++plane) {
            Proc::WritablePlane const to = second->GetWritablePlane(plane);
            for (std::uint32_t y = 0; y < to.rows; ++y)
                for (std::size_t x = 0; x < to.rowBytes; ++x)
                    to.data[y * to.lineSize + static_cast<std::ptrdiff_t>(x)] /= 2;
        }
    }

    /// Bit n for each plane n that is not as it was.
    int GetChanged() const {
        Pixels const before = GetPixels(*first);
        Pixels const after = GetPixels(*data);
        int changed = 0;
        for (std::size_t plane = 0; plane < before.size(); ++plane)
            changed |= before[plane] != after.at(plane) ? 1 << plane : 0;
        return changed;
    }

    SP<IDataVideo> first;
    SP<IDataVideo> second;
    SP<IDataVideo> data;
};

TEST(MidEqualizer, NewMaskWaitsForTheNextGraph) {
    auto const effect = MakeSP<MidEqualizerFF>();
    auto const run = [&](PixFmt format, Conf::FrameInfo const& first, Conf::FrameInfo const& second) {
        Pair pair(format, first, second);
        effect->Process(pair.data, pair.second);
        return pair.GetChanged();
    };
    constexpr Conf::FrameInfo other{32, 48, 1, 1};
    EXPECT_EQ(run(PixFmt::YUV420P, s_small, s_small), 0b111);
    effect->SetSettings(MakeSettings(1));
    EXPECT_EQ(effect->Describe(*MakeCodec()), "midequalizer=planes=1");
    EXPECT_EQ(run(PixFmt::YUV420P, s_small, s_small), 0b111);
    // A question is answered for the new mask.
    SP<Conf::IFormatCodecVideo> codec = MakeCodec();
    EXPECT_EQ(CountGraphs([&] { effect->UpdateFormatCodec(codec); }), 1);
    effect->Reset();
    EXPECT_EQ(run(PixFmt::YUV420P, s_small, s_small), 0b001);
    // Each pair that the graph was not built for.
    int planes = 2;
    for (auto const& [format, first, second] :
         {std::tuple(PixFmt::YUV444P, s_small, s_small), std::tuple(PixFmt::YUV444P, other, s_small),
          std::tuple(PixFmt::YUV444P, other, other)}) {
        effect->SetSettings(MakeSettings(planes));
        EXPECT_EQ(run(format, first, second), planes);
        planes = 6 - planes;
    }
}

TEST(MidEqualizer, RefusedPairsStayAsTheyAre) {
    std::string const spaces = "Both frames must have the same color space to operate";
    std::string const depth = "midequalizer takes samples of 0 to 1023 in yuv420p10le frames; "
                              "plane 0 has higher ones";
    PixFmt const deep = ByName("yuv420p10le");
    auto const effect = MakeSP<MidEqualizerFF>();
    auto const expect = [&](Pair pair, std::string const& text) {
        Failure const failure = Catch<Exception>([&] { effect->Process(pair.data, pair.second); });
        EXPECT_EQ(failure.text, text);
        EXPECT_EQ(failure.file, s_file);
        EXPECT_EQ(failure.function, s_process);
        EXPECT_TRUE(failure.hasStack);
        EXPECT_EQ(pair.data, pair.first);
        // The graph was built all the same, and is used.
        Pair next(pair.first->GetPixelFormat());
        EXPECT_EQ(CountGraphs([&] { effect->Process(next.data, next.second); }), 0);
        EXPECT_NE(next.GetChanged(), 0);
    };
    Pair pairs[5]{Pair(), Pair(), Pair(), Pair(deep), Pair(deep)};
    pairs[0].second->GetAVFrame()->colorspace = AVCOL_SPC_BT709;
    pairs[1].first->GetAVFrame()->color_range = AVCOL_RANGE_MPEG;
    pairs[2].first->GetAVFrame()->color_primaries = AVCOL_PRI_BT709;
    pairs[3].first = pairs[3].data = MakeOverfullFrame(deep);
    pairs[4].second = MakeOverfullFrame(deep);
    for (int i = 0; i < 5; ++i)
        expect(pairs[i], i < 3 ? spaces : depth);
    EXPECT_EQ(effect->GetPairCount(), 5U);
}

TEST(MidEqualizer, NullsPassUntouched) {
    auto const effect = MakeSP<MidEqualizerFF>();
    Pair pair;
    EXPECT_EQ(CountGraphs([&] { effect->Process(pair.data, nullptr); }), 0);
    EXPECT_EQ(pair.data, pair.first);
    pair.data = nullptr;
    effect->Process(pair.data, pair.second);
    EXPECT_EQ(pair.data, nullptr);
    EXPECT_EQ(effect->GetPairCount(), 0U);
    EXPECT_THROW((void)effect->ProcessData({pair.first}), std::logic_error);
    EXPECT_NE(effect->ProcessData({pair.first, pair.second}), pair.first);
    EXPECT_EQ(effect->GetPairCount(), 1U);
}

TEST(MidEqualizer, GivesTheBitsOfTheFFmpegProgram) {
    constexpr std::uint32_t frames = 3;
    constexpr Conf::FrameInfo secondInfo{33, 27, 1, 1};
    TempFolder const folder;
    for (char const* const name : {"yuv420p", "yuvj420p", "yuva444p", "gray", "nv12", "rgba", "yuv410p",
                                   "yuv422p10le", "gbrp12le", "yuv420p12le"})
        for (int const planes : {15, 5}) {
            SCOPED_TRACE(name + std::string(" ") + std::to_string(planes));
            auto const effect = MakeSP<MidEqualizerFF>();
            effect->SetSettings(MakeSettings(planes));
            std::string firsts;
            std::string seconds;
            std::string raw;
            PixFmt format = PixFmt::None;
            for (std::uint32_t i = 0; i < frames; ++i) {
                Pair pair(ByName(name), s_small, secondInfo);
                firsts += GetRaw(*pair.first);
                seconds += GetRaw(*pair.second);
                effect->Process(pair.data, pair.second);
                ASSERT_NE(pair.data, nullptr);
                raw += GetRaw(*pair.data);
                format = pair.data->GetPixelFormat();
            }
            WriteFile(folder / "first.raw", firsts);
            WriteFile(folder / "second.raw", seconds);
            std::string const form = std::string("-f rawvideo -r 25 -pix_fmt ") + name + " -s ";
            std::string const expected =
                RunFFmpeg(form + "64x48 -i " + (folder / "first.raw").string() + ' ' + form + "33x27 -i " +
                              (folder / "second.raw").string() + " -filter_complex_threads 1 -filter_complex",
                          {"midequalizer=planes=" + std::to_string(planes)},
                          "-f rawvideo -pix_fmt " + NameOf(format) + " -");
            EXPECT_EQ(raw.size(), expected.size());
            EXPECT_TRUE(raw == expected);
        }
}

// No pair brings the process down or goes past the end of a frame, however small.
TEST(MidEqualizer, TakesAnySize) {
    constexpr Conf::FrameInfo sizes[]{
        {1, 1, 1, 1}, {1, 7, 1, 1}, {2, 1, 1, 1}, {17, 3, 1, 1}, {65, 33, 1, 1}};
    for (char const* const name : {"yuv420p", "yuv410p", "yuva444p", "gray10le", "gbrap", "nv12", "pal8"})
        for (Conf::FrameInfo const& first : sizes)
            for (Conf::FrameInfo const& second : sizes) {
                Pair pair(ByName(name), first, second);
                MakeSP<MidEqualizerFF>()->Process(pair.data, pair.second);
                ASSERT_NE(pair.data, nullptr);
                EXPECT_EQ(pair.data->GetFrameInfo(), first) << name;
            }
}

} // namespace
} // namespace Tarsel::Test
