#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

/// Every effect gives, bit for bit, what the ffmpeg program gives for the same text.
namespace Tarsel::Test {
namespace {

constexpr std::uint32_t s_frames = 4;

/// As the ffmpeg program writes raw video: a palette follows its picture.
std::string GetRaw(Proc::IDataVideo const& data) {
    std::string raw;
    for (auto const& plane : GetPixels(data))
        raw.append(plane.begin(), plane.end());
    if (data.GetPixelFormat() == Conf::PixFmt::PAL8)
        raw.append(reinterpret_cast<char const*>(data.GetAVFrame()->data[1]), AVPALETTE_SIZE);
    return raw;
}

std::string GetName(Conf::PixFmt format) {
    return Conf::PixFmtDescription::Find(format).GetName();
}

struct Outcome {
    std::string raw;
    Conf::PixFmt format = Conf::PixFmt::None;
};

Outcome RunEffect(EffectCase const& row, std::vector<SP<Proc::IDataVideo>> const& frames) {
    SP<Proc::IOneInputEffectVideo> const effect = row.create({}, {});
    effect->SetSettings(*row.settings);
    auto& stream = dynamic_cast<Proc::IEffectStreamVideo&>(*effect);
    Outcome outcome;
    auto const takeAll = [&] {
        while (SP<Proc::IDataVideo> const data = stream.Take()) {
            outcome.format = data->GetPixelFormat();
            outcome.raw += GetRaw(*data);
        }
    };
    for (auto const& frame : frames) {
        stream.Feed(frame);
        takeAll();
    }
    stream.End();
    takeAll();
    return outcome;
}

class Peer : public testing::TestWithParam<EffectCase> {};

TEST_P(Peer, GivesTheSameBits) {
    EffectCase const& row = GetParam();
    Proc::EffectTraits const traits =
        dynamic_cast<Proc::IEffectDetails const&>(*row.create({}, {})).GetTraits();
    TempFolder const folder;
    for (char const* name : {"yuv420p", "yuva420p", "rgba", "gray", "nv12", "yuv420p10le"}) {
        SCOPED_TRACE(name);
        auto const& format = Conf::PixFmtDescription::Find(Conf::PixFmtDescription::FindByName(name).value());
        if (traits.takes == Proc::Takes::PlanarYuv && (format.IsRgb() || format.GetName() == "nv12"))
            continue; // refused, which others test
        if (row.treatsAlphaApart && format.HasAlpha())
            continue;
        std::vector<SP<Proc::IDataVideo>> frames;
        std::ofstream file(folder / "in.raw", std::ios::binary);
        for (std::uint32_t i = 0; i < s_frames; ++i) {
            frames.push_back(MakeFrame(format.GetFormat(), s_small, i * 40000, 40000, i + 1));
            file << GetRaw(*frames.back());
        }
        file.close();

        Outcome const outcome = RunEffect(row, frames);
        // Told to use alpha, elbg takes the byte after a pixel without any for it, in the padding of rows
        // too.
        if (row.name == "SettingsEffectPosterize" && outcome.format == Conf::PixFmt::RGB24)
            continue;
        ASSERT_FALSE(outcome.raw.empty());
        std::string const expected = RunForOutput({"ffmpeg",
                                                   "-nostdin",
                                                   "-v",
                                                   "error",
                                                   "-filter_threads",
                                                   "1",
                                                   "-f",
                                                   "rawvideo",
                                                   "-pix_fmt",
                                                   format.GetName(),
                                                   "-s",
                                                   "64x48",
                                                   "-r",
                                                   "25",
                                                   "-i",
                                                   folder / "in.raw",
                                                   "-vf",
                                                   row.text,
                                                   "-fps_mode",
                                                   "passthrough",
                                                   "-pix_fmt",
                                                   GetName(outcome.format),
                                                   "-f",
                                                   "rawvideo",
                                                   "-"});
        EXPECT_EQ(outcome.raw.size(), expected.size());
        EXPECT_TRUE(outcome.raw == expected) << row << " gave other " << GetName(outcome.format);
    }
}

std::vector<EffectCase> GetWorking() {
    std::vector<EffectCase> rows;
    for (EffectCase const& row : GetEffectCases())
        if (!row.PassesUntouched())
            rows.push_back(row);
    return rows;
}

INSTANTIATE_TEST_SUITE_P(Effects, Peer, testing::ValuesIn(GetWorking()));

} // namespace
} // namespace Tarsel::Test
