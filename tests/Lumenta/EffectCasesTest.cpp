#include "EffectCases.h"
#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IPreset.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"
#include "Support/Watch.h"

#include <boost/core/demangle.hpp>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <typeinfo>

namespace Tarsel::Test {
namespace {

using Proc::IDataVideo;

/// Of any property they make the settings; all others of the wrapper make default ones.
bool ReadsProperties(EffectCase const& row) {
    static std::set<std::string> const s_reading{"flip",    "transpose", "deinterlace", "denoise-chroma-luma",
                                                 "deshake", "stabilizer"};
    return s_reading.contains(row.classId);
}

class Rows : public testing::TestWithParam<EffectCase> {};

TEST_P(Rows, TellTheirFilterAndGiveTheirSettingsBack) {
    EffectCase const& row = GetParam();
    auto const effect = row.Make();
    SP<IDataVideo> const input = MakeFrame();
    SP<IDataVideo> data;
    int const graphs = CountGraphs([&] { data = Apply(*effect, input); });
    EXPECT_EQ(data == input, row.PassesUntouched());
    EXPECT_TRUE(graphs == 0 || !row.PassesUntouched());
    Core::Property const statistic = effect->GetStatistic();
    EXPECT_TRUE(statistic["Processed"].GetInt64() == 0 || !row.PassesUntouched());
    if (IsCustom(row))
        return;
    EXPECT_EQ(Describe(*effect), row.PassesUntouched() ? "" : row.text);
    EXPECT_EQ(statistic["Options"].GetString(), row.text);
    Proc::Settings const& present = effect->GetSettingsBase();
    std::string name = boost::core::demangle(typeid(present).name());
    name.erase(0, std::string("Tarsel::Proc::").size());
    EXPECT_EQ(statistic["Name"].GetString(), "virtual Core::Property EffectFafloplal<EffectActions<" + name +
                                                 ">>::GetStatistic() const [EffectActions = EffectActions<" +
                                                 name + ">]");

    auto const settings = row.MakeSettings();
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*settings));
    Core::Property const property = effect->GetSettings();
    EXPECT_EQ(property[Proc::IPreset::KEY_TYPE_ID].GetString(), Proc::ImplNames::FFMPEG);

    bool const reads = ReadsProperties(row);
    auto const other = reads ? MakeEffect(row.classId) : row.Make();
    other->SetSettings(property);
    EXPECT_TRUE(
        other->GetSettingsBase().IsEqualTo(reads ? *settings : MakeEffect(row.classId)->GetSettingsBase()));
}

INSTANTIATE_TEST_SUITE_P(All, Rows, testing::ValuesIn(GetEffectCases()));

constexpr std::uint32_t s_frames = 4;

/// The frames with alpha of `input` as their last plane, which is where planar formats have it. Both hold
/// s_frames frames; of packed input every fourth byte is alpha.
std::string WithAlphaOf(std::string const& input, bool isPacked, std::string frames) {
    std::size_t const pixels = std::size_t{s_small.width} * s_small.height;
    std::size_t const from = input.size() / s_frames;
    std::size_t const to = frames.size() / s_frames;
    for (std::size_t frame = 0; frame < s_frames; ++frame)
        for (std::size_t pixel = 0; pixel < pixels; ++pixel)
            frames[frame * to + to - pixels + pixel] =
                input[frame * from + (isPacked ? 4 * pixel + 3 : from - pixels + pixel)];
    return frames;
}

/// Every effect gives, bit for bit, what the ffmpeg program gives for the same text.
class Peer : public testing::TestWithParam<EffectCase> {};

TEST_P(Peer, GivesTheSameBits) {
    EffectCase const& row = GetParam();
    auto const takes = dynamic_cast<Proc::IEffectDetails const&>(*row.Make()).GetTraits().takes;
    TempFolder const folder;
    for (char const* name : {"yuv420p", "yuva420p", "rgba", "gray", "nv12", "yuv420p10le"}) {
        SCOPED_TRACE(name);
        auto const& format = Conf::PixFmtDescription::Find(ByName(name));
        if (takes == Proc::Takes::PlanarYuv && (format.IsRgb() || format.GetName() == "nv12"))
            continue; // refused, which others test
        if (TreatsAlphaApart(row) && format.HasAlpha())
            continue;
        FrameList frames;
        std::string in;
        for (std::uint32_t i = 0; i < s_frames; ++i) {
            frames.push_back(MakeFrame(format.GetFormat(), s_small, i * 40000, 40000, i + 1));
            in += GetRaw(*frames.back());
        }
        WriteFile(folder / "in.raw", in);

        std::string raw;
        std::string result;
        for (SP<IDataVideo> const& data : RunStream(*row.Make(), frames)) {
            result = NameOf(data->GetPixelFormat());
            raw += GetRaw(*data);
        }
        // Told to use alpha, elbg takes the byte after a pixel without any for it, in the padding of rows
        // too.
        if (row.classId == "posterize" && result == "rgb24")
            continue;
        ASSERT_FALSE(raw.empty());
        std::string expected =
            RunFFmpeg(std::string("-filter_threads 1 -f rawvideo -s 64x48 -r 25 -pix_fmt ") + name + " -i",
                      {folder / "in.raw", "-vf", row.text},
                      "-fps_mode passthrough -f rawvideo -pix_fmt " + result + " -");
        // Where the filter changes alpha the effect may put back what went in, and nothing else.
        if (raw != expected && raw.size() == expected.size() && format.HasAlpha() &&
            Conf::PixFmtDescription::Find(ByName(result)).GetPlaneCount() == 4)
            expected = WithAlphaOf(in, format.IsRgb(), expected);
        EXPECT_EQ(raw.size(), expected.size());
        EXPECT_TRUE(raw == expected) << row << " gave other " << result;
    }
}

INSTANTIATE_TEST_SUITE_P(Effects, Peer, testing::ValuesIn(GetWorkingCases()));

TEST(Border, BordersInAChainAreExactAtAnySize) {
    struct Case {
        Conf::FrameInfo info;
        std::uint32_t left, right, top, bottom;
    };
    int compared = 0;
    for (char const* name :
         {"yuv420p", "yuvj420p", "yuva420p", "nv12", "yuv422p10le", "yuv410p", "yuyv422", "yuv420p10be"})
        for (Case const& row : {Case{{19, 7, 4, 3}, 1, 2, 1, 1}, Case{{64, 48, 1, 1}, 1, 1, 3, 0},
                                Case{{1, 1, 1, 1}, 0, 1, 0, 3}, Case{{64, 48, 1, 1}, 8, 4, 4, 0}}) {
            SCOPED_TRACE(fmt::format("{} {}x{}", name, row.info.width, row.info.height));
            auto const effect =
                MakeEffect("border", fmt::format("left={}:right={}:top={}:bottom={}:color=#ff8040", row.left,
                                                 row.right, row.top, row.bottom));
            SP<IDataVideo> const frame = MakeFrame(ByName(name), row.info);
            Host::VideoChain chain;
            chain.Append(effect);
            chain.Feed(frame);
            SP<IDataVideo> const result = chain.Take();
            ASSERT_TRUE(result);
            Conf::FrameInfo const size{row.info.width + row.left + row.right,
                                       row.info.height + row.top + row.bottom, row.info.aspectNum,
                                       row.info.aspectDen};
            EXPECT_EQ(result->GetFrameInfo(), size);
            EXPECT_EQ(result->GetPixelFormat(), frame->GetPixelFormat());
            EXPECT_TRUE(chain.GetNotes().empty());
            SP<Conf::IFormatCodecVideo> codec = MakeSP<Conf::FormatCodecVideo>(ByName(name), row.info);
            chain.UpdateFormatCodec(codec);
            EXPECT_EQ(codec->GetFrameInfo(), size);
            EXPECT_EQ(codec->GetPixelFormat(), frame->GetPixelFormat());

            Pixels const before = GetPixels(*frame);
            Pixels const after = GetPixels(*result);
            std::size_t const sample = before[0].size() / row.info.width / row.info.height;
            for (std::size_t y = 0; y < row.info.height && before.size() > 1; ++y)
                EXPECT_TRUE(std::equal(&before[0][y * row.info.width * sample],
                                       &before[0][0] + (y + 1) * row.info.width * sample,
                                       &after[0][((y + row.top) * size.width + row.left) * sample]))
                    << y;
            // On whole chroma samples the filter does the same by itself.
            SP<IDataVideo> const direct = row.left == 8 ? Apply(*effect, frame) : nullptr;
            if (direct && direct->GetPixelFormat() == frame->GetPixelFormat()) {
                EXPECT_EQ(after, GetPixels(*direct));
                ++compared;
            }
        }
    EXPECT_GT(compared, 4);
}

} // namespace
} // namespace Tarsel::Test
