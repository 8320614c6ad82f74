#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Host/EffectRegistry.h"
#include "Proc/Effects/Lumenta/CreateEffect.h"
#include "Proc/Effects/Lumenta/EffectImageResizer.h"
#include "Proc/Effects/Lumenta/PixelFormatConverterFF.h"
#include "Proc/Effects/Lumenta/Registrator.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <gtest/gtest.h>

#include <algorithm>
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
    std::vector<SP<IDataVideo>> in;
    std::vector<SP<IDataVideo>> out;
    std::size_t fedBeforeFirst = 0;
};

Outcome RunStream(EffectCase const& row, std::string_view format, std::uint32_t first, std::uint32_t count) {
    SP<Proc::IOneInputEffectVideo> const effect = row.create({}, {});
    effect->SetSettings(*row.settings);
    auto& stream = dynamic_cast<Proc::IEffectStreamVideo&>(*effect);
    Outcome outcome;
    auto const takeAll = [&] {
        while (SP<IDataVideo> frame = stream.Take())
            outcome.out.push_back(frame);
    };
    for (std::uint32_t seed = first; seed < first + count; ++seed) {
        SP<IDataVideo> const frame = MakeFrame(PixFmtDescription::FindByName(format).value(), s_small,
                                               s_duration * seed, s_duration, seed);
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

/// Effects that work on pixels by themselves: the table of filter texts has no rows for them.
std::vector<EffectCase> GetPictureCases() {
    std::vector<EffectCase> cases;
    auto const add = [&]<class S>(Proc::VideoEffectCreator create, S settings, std::string const& text) {
        settings.Deserialize(text);
        cases.push_back({S::CLASS_ID, create, std::make_shared<S>(settings), text});
    };
    for (char const* text :
         {"formats=rgb24", "formats=yuv420p", "formats=yuva422p10le", "formats=gray", "formats=pal8"})
        add(Proc::CreatePixelFormatConverter, Proc::SettingsPixelFormatConverter(), text);
    for (char const* text :
         {"width=32", "width=64:height=48", "width=60:height=90:fit=pad", "height=20:fit=crop"})
        add(Proc::CreateEffect<Proc::IOneInputEffectVideo, Proc::EffectImageResizer>, Proc::SettingsResizer(),
            text);
    return cases;
}

/// The rows of the table that build a graph, and the others that do something, by class.
std::map<std::string, std::vector<EffectCase>> GetWorkingCases() {
    std::map<std::string, std::vector<EffectCase>> cases;
    for (EffectCase const& row : GetEffectCases())
        if (!row.PassesUntouched())
            cases[row.settings->GetClassId()].push_back(row);
    for (EffectCase const& row : GetPictureCases())
        cases[row.settings->GetClassId()].push_back(row);
    return cases;
}

Proc::EffectTraits const& GetTraits(EffectCase const& row) {
    return dynamic_cast<Proc::IEffectDetails const&>(*row.create({}, {})).GetTraits();
}

bool IsRefused(EffectCase const& row, std::string_view format) {
    return GetTraits(row).takes == Proc::Takes::PlanarYuv &&
           PixFmtDescription::Find(PixFmtDescription::FindByName(format).value()).IsRgb();
}

TEST(Traits, SayWhatIsKept) {
    for (auto const& [classId, rows] : GetWorkingCases()) {
        std::map<std::string_view, std::pair<bool, bool>> seen; // kept, lost
        for (EffectCase const& row : rows)
            for (char const* format : s_formatKinds) {
                if (IsRefused(row, format))
                    continue;
                Outcome const outcome = RunStream(row, format, 1, 3);
                ASSERT_FALSE(outcome.out.empty()) << row << ' ' << format;
                for (KeptTrait const& trait : s_keptTraits)
                    if (Kept const kept = trait.find(*outcome.in.front(), *outcome.out.front()))
                        (*kept ? seen[trait.name].first : seen[trait.name].second) = true;
            }
        for (KeptTrait const& trait : s_keptTraits) {
            auto const [kept, lost] = seen[trait.name];
            Keeps const truth = !lost ? Keeps::Always : kept ? Keeps::Sometimes : Keeps::Never;
            EXPECT_EQ(GetName(GetTraits(rows.front()).*trait.trait), GetName(truth))
                << classId << ' ' << trait.name;
        }
    }
}

TEST(Traits, SayHowManyFramesComeAndWhen) {
    constexpr std::uint32_t count = 6;
    for (auto const& [classId, rows] : GetWorkingCases()) {
        Proc::EffectTraits const& traits = GetTraits(rows.front());
        std::size_t mostHeld = 0;
        std::size_t mostOut = 0;
        for (EffectCase const& row : rows) {
            Outcome const outcome = RunStream(row, "yuv420p", 1, count);
            mostHeld = std::max(mostHeld, outcome.fedBeforeFirst);
            mostOut = std::max(mostOut, outcome.out.size());
            EXPECT_GE(outcome.out.size(), count) << row << ": a frame was lost";
        }
        EXPECT_EQ(mostHeld, static_cast<std::size_t>(traits.delayFrames)) << classId;
        EXPECT_EQ(mostOut, count * static_cast<std::size_t>(traits.framesPerFrame)) << classId;
    }
}

TEST(Traits, SayWhetherAFrameStandsAlone) {
    for (auto const& [classId, rows] : GetWorkingCases())
        for (EffectCase const& row : rows) {
            if (!GetTraits(row).frameIndependent)
                continue;
            Outcome const together = RunStream(row, "yuv420p", 1, 3);
            for (std::uint32_t i = 0; i < 3; ++i)
                EXPECT_EQ(GetPixels(*RunStream(row, "yuv420p", 1 + i, 1).out.at(0)),
                          GetPixels(*together.out.at(i)))
                    << row << " frame " << i;
        }
}

TEST(EffectTable, HasARowForEveryRegisteredEffect) {
    Host::EffectRegistry registry;
    Registrator(registry);
    auto const cases = GetWorkingCases();
    for (Host::EffectEntry const& entry : registry.GetEntries()) {
        if (entry.GetKind() == Host::EffectKind::Video) {
            auto const effect = std::get<Proc::VideoEffectCreator>(entry.creator)({}, {});
            EXPECT_TRUE(cases.contains(effect->GetSettingsBase().GetClassId())) << entry.classId;
        }
    }
}

} // namespace
} // namespace Tarsel::Test
