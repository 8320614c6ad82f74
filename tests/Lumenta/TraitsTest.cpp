#include "Conf/PixFmtDescription.h"
#include "Core/ThreadBudget.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <iterator>
#include <malloc.h>
#include <map>
#include <optional>
#include <string_view>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

/// Every effect's row of traits against what becomes of real frames.
namespace Tarsel::Test {
namespace {

using Conf::PixFmtDescription;
using Proc::IDataVideo;
using Proc::Keeps;

constexpr std::int64_t s_duration = 40000;

/// What came of frames of one format under one row's settings.
struct Outcome {
    FrameList in;
    FrameList out;
    std::size_t fedBeforeFirst = 0;
};

using Samples = std::vector<std::uint32_t>;

/// Of a format with alpha.
int FindAlpha(IDataVideo const& data) {
    return av_pix_fmt_desc_get(static_cast<AVPixelFormat>(data.GetPixelFormat()))->nb_components - 1;
}

/// A palette's for that of its colors.
Samples ReadAlpha(IDataVideo const& data) {
    Samples alpha = ReadSamples(data, FindAlpha(data));
    if (data.GetPixelFormat() == Conf::PixFmt::PAL8)
        for (std::uint32_t& sample : alpha)
            sample = data.GetAVFrame()->data[1][4 * sample + 3];
    return alpha;
}

/// A full-range picture of noise, its alpha too unless it is opaque.
SP<IDataVideo> MakeInput(Conf::PixFmt format, std::uint32_t seed, bool isOpaque = false) {
    SP<IDataVideo> frame = MakeFrame(format, s_small, s_duration * seed, s_duration, seed);
    auto const& description = PixFmtDescription::Find(format);
    if (!description.IsRgb())
        frame->GetAVFrame()->color_range = AVCOL_RANGE_JPEG;
    if (isOpaque && description.HasAlpha()) {
        Samples const alpha(s_small.width, (1U << description.GetDepth()) - 1);
        AVFrame& to = *frame->GetAVFrame();
        for (int y = 0; y < to.height; ++y)
            av_write_image_line2(alpha.data(), to.data, to.linesize,
                                 av_pix_fmt_desc_get(static_cast<AVPixelFormat>(to.format)), 0, y,
                                 FindAlpha(*frame), to.width, sizeof alpha[0]);
    }
    return frame;
}

Outcome RunRow(EffectCase const& row, std::string_view format, std::uint32_t first, std::uint32_t count) {
    auto const effect = row.Make();
    auto& stream = StreamOf(*effect);
    Proc::EffectTraits const& traits = dynamic_cast<Proc::IEffectDetails const&>(*effect).GetTraits();
    // Where new pixels are made of several, whether alpha is kept can be told by opaque pictures alone.
    bool const isOpaque =
        traits.size != Keeps::Always || row.classId == "deinterlace" || row.classId == "stabilizer";
    Outcome outcome;
    auto const takeAll = [&] { std::ranges::move(TakeAll(stream), std::back_inserter(outcome.out)); };
    for (std::uint32_t seed = first; seed < first + count; ++seed) {
        SP<IDataVideo> const frame = MakeInput(ByName(format), seed, isOpaque);
        outcome.in.push_back(frame);
        stream.Feed(frame);
        takeAll();
        if (outcome.out.empty())
            ++outcome.fedBeforeFirst;
    }
    stream.End();
    takeAll();
    return outcome;
}

/// Whether what went in came out; nothing where it was not there.
using Kept = std::optional<bool>;

int GetAlphaDepth(IDataVideo const& data) {
    auto const& format = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(data.GetPixelFormat()));
    return (format.flags & AV_PIX_FMT_FLAG_PAL) != 0 ? 8 : format.comp[format.nb_components - 1].depth;
}

/// Whether the opacities that went in came out, to the depth that is left. Pixels may have changed places; of
/// pictures that changed their size the middle counts.
Kept KeptAlpha(IDataVideo const& in, IDataVideo const& out) {
    if (!PixFmtDescription::Find(in.GetPixelFormat()).HasAlpha())
        return {};
    if (!PixFmtDescription::Find(out.GetPixelFormat()).HasAlpha())
        return false;
    Samples before = ReadAlpha(in);
    Samples after = ReadAlpha(out);
    bool const isOpaque = std::ranges::adjacent_find(before, std::ranges::not_equal_to{}) == before.end();
    if (isOpaque) {
        Conf::FrameInfo const info = out.GetFrameInfo();
        after = {after[info.height / 2 * info.width + info.width / 2]};
        before.resize(1);
    }
    if (before.size() != after.size())
        return false;
    std::ranges::sort(before);
    std::ranges::sort(after);
    double const toOut = ((1U << GetAlphaDepth(out)) - 1.0) / ((1U << GetAlphaDepth(in)) - 1.0);
    double const allowed = toOut == 1 ? 0 : std::max(toOut, 1.0);
    return std::ranges::equal(
        before, after, [&](std::uint32_t a, std::uint32_t b) { return std::abs(a * toOut - b) <= allowed; });
}

std::size_t CountDifferent(Samples samples) {
    std::ranges::sort(samples);
    return static_cast<std::size_t>(std::unique(samples.begin(), samples.end()) - samples.begin());
}

/// The bits below the first 8 have to say something: 8 bits made wider do not.
Kept KeptDepth(IDataVideo const& in, IDataVideo const& out) {
    int const depth = PixFmtDescription::Find(in.GetPixelFormat()).GetDepth();
    if (depth <= 8)
        return {};
    int const left = PixFmtDescription::Find(out.GetPixelFormat()).GetDepth();
    if (left < depth)
        return false;
    Samples samples = ReadSamples(out, 0);
    std::size_t const fine = CountDifferent(samples);
    for (std::uint32_t& sample : samples)
        sample >>= left - 8;
    return fine > CountDifferent(samples);
}

Kept KeptRange(IDataVideo const& in, IDataVideo const& out) {
    auto const& format = PixFmtDescription::Find(in.GetPixelFormat());
    if (format.IsRgb() || !format.IsFullRange(in.GetColorSpace()))
        return {};
    auto const& result = PixFmtDescription::Find(out.GetPixelFormat());
    bool const hasPalette = (result.GetFlags() & PixFmtDescription::Palette) != 0; // of RGB
    return hasPalette || result.IsFullRange(out.GetColorSpace());
}

Kept KeptSize(IDataVideo const& in, IDataVideo const& out) {
    Conf::FrameInfo const a = in.GetFrameInfo();
    Conf::FrameInfo const b = out.GetFrameInfo();
    return a.width == b.width && a.height == b.height;
}

struct KeptTrait {
    char const* name;
    Keeps Proc::EffectTraits::*trait;
    Kept (*find)(IDataVideo const&, IDataVideo const&);
};
constexpr KeptTrait s_keptTraits[]{{"alpha", &Proc::EffectTraits::alpha, KeptAlpha},
                                   {"depth", &Proc::EffectTraits::depth, KeptDepth},
                                   {"range", &Proc::EffectTraits::range, KeptRange},
                                   {"size", &Proc::EffectTraits::size, KeptSize}};

/// The rows of the table that do something, and others for effects that work on pixels by themselves, by
/// class.
std::map<std::string, std::vector<EffectCase>> GetCases() {
    std::map<std::string, std::vector<EffectCase>> cases;
    for (EffectCase const& row : GetWorkingCases())
        cases[row.classId].push_back(row);
    for (char const* text :
         {"formats=rgb24", "formats=yuv420p", "formats=yuva422p10le", "formats=gray", "formats=pal8"})
        cases["pixel-format"].push_back({"pixel-format", text, text});
    cases["blur"].push_back({"blur", "sigma=3:planes=7", "without alpha"});
    // Blocks that do not overlap by as much as they could.
    cases["denoise-dct"].push_back({"denoise-dct", "sigma=10:overlap=3", "overlap=3"});
    for (char const* text :
         {"width=32", "width=64:height=48", "width=60:height=90:fit=pad", "height=20:fit=crop"})
        cases["resize"].push_back({"resize", text, text});
    for (char const* text : {"planes=7", "planes=15"})
        cases["midequalizer"].push_back({"midequalizer", text, text});
    return cases;
}

Proc::EffectTraits const& GetTraits(EffectCase const& row) {
    return dynamic_cast<Proc::IEffectDetails const&>(*row.Make()).GetTraits();
}

bool IsRefused(EffectCase const& row, std::string_view format) {
    return GetTraits(row).takes == Proc::Takes::PlanarYuv && PixFmtDescription::Find(ByName(format)).IsRgb();
}

/// What frames showed of an effect.
class Seen {
public:
    void Note(IDataVideo const& in, IDataVideo const& out) {
        for (KeptTrait const& trait : s_keptTraits)
            if (Kept const kept = trait.find(in, out))
                (*kept ? m_seen[trait.name].first : m_seen[trait.name].second) = true;
    }
    void Expect(Proc::EffectTraits const& traits, std::string const& classId) {
        for (KeptTrait const& trait : s_keptTraits) {
            auto const [kept, lost] = m_seen[trait.name];
            Keeps const truth = !lost ? Keeps::Always : kept ? Keeps::Sometimes : Keeps::Never;
            EXPECT_EQ(GetName(traits.*trait.trait), GetName(truth)) << classId << ' ' << trait.name;
        }
    }

private:
    std::map<std::string_view, std::pair<bool, bool>> m_seen; // kept, lost
};

/// What came out is what a new effect states: by a graph, and from the cache.
void ExpectForetold(EffectCase const& row, IDataVideo const& in, IDataVideo const& out) {
    bool const isUnforetold =
        TreatsAlphaApart(row) && !PixFmtDescription::Find(in.GetPixelFormat()).HasAlpha();
    auto const effect = row.Make();
    for (int i = 0; i < 2; ++i) {
        auto codec = MakeCodecOf(in, effect->GetSettingsBase());
        effect->UpdateFormatCodec(codec);
        EXPECT_EQ(codec->GetPixelFormat(), (isUnforetold ? in : out).GetPixelFormat()) << row;
        EXPECT_EQ(codec->GetFrameInfo(), out.GetFrameInfo()) << row;
    }
}

/// Formats that effects treat differently, with more of alpha and depth than others need.
constexpr std::array s_formats{"yuv420p",      "yuvj420p", "yuvj422p", "yuva420p", "rgba",    "yuv420p10le",
                               "yuva444p10le", "gbrap",    "gray",     "nv12",     "yuyv422", "gbrp10le"};

TEST(Traits, SayWhatIsKeptAndWhatComesWhen) {
    auto const cases = GetCases();
    for (Host::EffectEntry const& entry : GetFactory()->GetRegistry().GetEntries())
        EXPECT_TRUE(entry.GetKind() == Host::EffectKind::Audio ||
                    cases.contains(CreateEffect(entry)->GetSettingsBase().GetClassId()))
            << entry.classId;
    constexpr std::uint32_t count = 6;
    for (auto const& [classId, rows] : cases) {
        Proc::EffectTraits const& traits = GetTraits(rows.front());
        Seen seen;
        std::size_t mostHeld = 0;
        std::size_t mostOut = 0;
        for (EffectCase const& row : rows) {
            for (char const* format : s_formats) {
                if (IsRefused(row, format))
                    continue;
                Outcome const outcome = RunRow(row, format, 1, 3);
                ASSERT_FALSE(outcome.out.empty()) << row << ' ' << format;
                seen.Note(*outcome.in.front(), *outcome.out.front());
                ExpectForetold(row, *outcome.in.front(), *outcome.out.front());
                if (!traits.frameIndependent)
                    continue;
                EXPECT_EQ(GetRaw(*RunRow(row, format, 3, 1).out.at(0)), GetRaw(*outcome.out.at(2)))
                    << row << ' ' << format;
            }
            Outcome const outcome = RunRow(row, "yuv420p", 1, count);
            mostHeld = std::max(mostHeld, outcome.fedBeforeFirst);
            mostOut = std::max(mostOut, outcome.out.size());
            EXPECT_GE(outcome.out.size(), count) << row << ": a frame was lost";
        }
        seen.Expect(traits, classId);
        EXPECT_EQ(mostHeld, static_cast<std::size_t>(traits.delayFrames)) << classId;
        EXPECT_EQ(mostOut, count * static_cast<std::size_t>(traits.framesPerFrame)) << classId;
    }
}

/// The results of two frames in the middle of ten, by their times, where the stream begins and ends so many
/// frames before and after them.
std::map<std::int64_t, std::string> RunWindow(EffectCase const& row, std::uint32_t before,
                                              std::uint32_t after) {
    constexpr std::uint32_t middle = 5;
    std::map<std::int64_t, std::string> results;
    for (SP<IDataVideo> const& frame : RunRow(row, "yuv420p", middle - before, before + 2 + after).out)
        if (frame->GetTime() >= s_duration * middle && frame->GetTime() < s_duration * (middle + 2))
            results[frame->GetTime()] = GetRaw(*frame);
    return results;
}

TEST(Traits, SayWhichFramesAResultDependsOn) {
    constexpr std::int32_t most = 4;
    int told = 0;
    for (auto const& [classId, rows] : GetCases()) {
        Proc::EffectTraits const& traits = GetTraits(rows.front());
        if (traits.frameIndependent)
            continue;
        std::int32_t least = 0;
        for (EffectCase const& row : rows) {
            auto const whole = RunWindow(row, most, most);
            std::int32_t enough = 0;
            while (enough < most && RunWindow(row, static_cast<std::uint32_t>(enough), most) != whole)
                ++enough;
            least = std::max(least, enough);
            auto const ahead = static_cast<std::uint32_t>(std::min(traits.looksAhead, most));
            EXPECT_EQ(RunWindow(row, most, ahead), whole) << row;
        }
        if (traits.looksBack != Proc::EffectTraits::s_withoutEnd) {
            EXPECT_EQ(traits.looksBack, least) << classId;
            ++told;
        }
    }
    EXPECT_GT(told, 0);
}

/// No result depends on how many threads there are, or on what the memory held before.
TEST(Traits, FramesComeOutTheSameInEveryRun) {
    int const budget = Core::ThreadBudget::Get();
    for (auto const& [classId, rows] : GetCases())
        for (EffectCase const& row : rows)
            for (char const* format : s_formats) {
                if (IsRefused(row, format))
                    continue;
                std::string first;
                for (int const threads : {1, 2, 5}) {
                    Core::ThreadBudget::Set(threads);
                    mallopt(M_PERTURB, 50 * threads);
                    std::string raw;
                    for (SP<IDataVideo> const& frame : RunRow(row, format, 1, 2).out)
                        raw += GetRaw(*frame);
                    if (first.empty())
                        first = raw;
                    EXPECT_TRUE(raw == first) << row << ' ' << format << " on " << threads << " threads";
                }
            }
    mallopt(M_PERTURB, 0);
    Core::ThreadBudget::Set(budget);
}

} // namespace
} // namespace Tarsel::Test
