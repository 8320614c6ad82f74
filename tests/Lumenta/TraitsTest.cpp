#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/MidEqualizerFF.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>

extern "C" {
#include <libavutil/frame.h>
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

SP<IDataVideo> MakeFullRange(Conf::PixFmt format, std::uint32_t seed) {
    SP<IDataVideo> frame = MakeFrame(format, s_small, s_duration * seed, s_duration, seed);
    if (!PixFmtDescription::Find(format).IsRgb())
        frame->GetAVFrame()->color_range = AVCOL_RANGE_JPEG;
    return frame;
}

Outcome RunRow(EffectCase const& row, std::string_view format, std::uint32_t first, std::uint32_t count) {
    auto const effect = row.Make();
    auto& stream = StreamOf(*effect);
    Outcome outcome;
    auto const takeAll = [&] { std::ranges::move(TakeAll(stream), std::back_inserter(outcome.out)); };
    for (std::uint32_t seed = first; seed < first + count; ++seed) {
        SP<IDataVideo> const frame = MakeFrame(ByName(format), s_small, s_duration * seed, s_duration, seed);
        if (!PixFmtDescription::Find(frame->GetPixelFormat()).IsRgb())
            frame->GetAVFrame()->color_range = AVCOL_RANGE_JPEG;
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

Kept KeptAlpha(IDataVideo const& in, IDataVideo const& out) {
    if (!PixFmtDescription::Find(in.GetPixelFormat()).HasAlpha())
        return {};
    return PixFmtDescription::Find(out.GetPixelFormat()).HasAlpha();
}

Kept KeptDepth(IDataVideo const& in, IDataVideo const& out) {
    int const depth = PixFmtDescription::Find(in.GetPixelFormat()).GetDepth();
    if (depth <= 8)
        return {};
    return PixFmtDescription::Find(out.GetPixelFormat()).GetDepth() >= depth;
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
    for (char const* text :
         {"width=32", "width=64:height=48", "width=60:height=90:fit=pad", "height=20:fit=crop"})
        cases["resize"].push_back({"resize", text, text});
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

TEST(Traits, SayWhatIsKept) {
    for (auto const& [classId, rows] : GetCases()) {
        Seen seen;
        for (EffectCase const& row : rows)
            for (char const* format : s_formatKinds) {
                if (IsRefused(row, format))
                    continue;
                Outcome const outcome = RunRow(row, format, 1, 3);
                ASSERT_FALSE(outcome.out.empty()) << row << ' ' << format;
                seen.Note(*outcome.in.front(), *outcome.out.front());
            }
        seen.Expect(GetTraits(rows.front()), classId);
    }
    Seen seen;
    for (char const* format : s_formatKinds) {
        SP<IDataVideo> const first = MakeFullRange(ByName(format), 1);
        SP<IDataVideo> data = first;
        auto const effect = MakeSP<Proc::MidEqualizerFF>();
        effect->Process(data, MakeFullRange(ByName(format), 1));
        ASSERT_NE(data, nullptr) << format; // nothing is held back
        seen.Note(*first, *data);
    }
    seen.Expect(MakeSP<Proc::MidEqualizerFF>()->GetTraits(), "midequalizer");
}

TEST(Traits, SayHowManyFramesComeAndWhen) {
    constexpr std::uint32_t count = 6;
    for (auto const& [classId, rows] : GetCases()) {
        Proc::EffectTraits const& traits = GetTraits(rows.front());
        std::size_t mostHeld = 0;
        std::size_t mostOut = 0;
        for (EffectCase const& row : rows) {
            Outcome const outcome = RunRow(row, "yuv420p", 1, count);
            mostHeld = std::max(mostHeld, outcome.fedBeforeFirst);
            mostOut = std::max(mostOut, outcome.out.size());
            EXPECT_GE(outcome.out.size(), count) << row << ": a frame was lost";
        }
        EXPECT_EQ(mostHeld, static_cast<std::size_t>(traits.delayFrames)) << classId;
        EXPECT_EQ(mostOut, count * static_cast<std::size_t>(traits.framesPerFrame)) << classId;
    }
}

TEST(Traits, SayWhetherAFrameStandsAlone) {
    for (auto const& [classId, rows] : GetCases())
        for (EffectCase const& row : rows) {
            if (!GetTraits(row).frameIndependent)
                continue;
            Outcome const together = RunRow(row, "yuv420p", 1, 3);
            for (std::uint32_t i = 0; i < 3; ++i)
                EXPECT_EQ(GetPixels(*RunRow(row, "yuv420p", 1 + i, 1).out.at(0)),
                          GetPixels(*together.out.at(i)))
                    << row << " frame " << i;
        }
}

TEST(EffectTable, HasARowForEveryRegisteredEffect) {
    auto const cases = GetCases();
    for (Host::EffectEntry const& entry : GetFactory()->GetRegistry().GetEntries()) {
        if (entry.GetKind() == Host::EffectKind::Video) {
            EXPECT_TRUE(cases.contains(MakeEffect(entry.classId)->GetSettingsBase().GetClassId()))
                << entry.classId;
        }
    }
}

} // namespace
} // namespace Tarsel::Test
