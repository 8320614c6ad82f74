#include "Conf/PixFmtDescription.h"
#include "Core/ThreadBudget.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Support/Child.h"
#include "Support/PageEnd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

/// No frame brings the process down, however small, in whatever format, and whatever memory it has: a result
/// comes of it or an error. By default a sample of all combinations; all of them with LUMENTA_TEST_FULL set.
namespace Tarsel::Test {
namespace {

enum class Memory : std::uint8_t {
    /// Ends with a page.
    PageEnd,
    /// Of a frame that is larger than it is said to be, and says nothing of its aspect.
    Larger,
    /// As PageEnd, with rows that are shorter than their pixels.
    ShortRows,
};

struct Combination {
    EffectCase const* row;
    Conf::PixFmt format;
    std::uint32_t width;
    std::uint32_t height;
    Memory memory = Memory::PageEnd;
};

constexpr std::size_t s_sample = 1200;
constexpr std::array s_sizes{1U, 2U, 3U, 16U, 17U, 64U, 65U};
/// Of every family of formats one that is common.
constexpr std::array s_formats{"yuv420p",     "yuva420p", "rgba",    "gray",    "nv12",
                               "yuv420p10le", "yuv422p",  "yuv444p", "yuv410p", "pal8",
                               "yuvj420p",    "gbrp",     "rgb24",   "yuyv422", "gray16le"};

std::vector<Combination> GetCombinations() {
    static std::vector<EffectCase> const rows = [] {
        std::vector<EffectCase> all = GetWorkingCases();
        std::ranges::copy(GetPictureCases(), std::back_inserter(all));
        return all;
    }();
    std::vector<Combination> all;
    for (EffectCase const& row : rows)
        for (char const* const format : s_formats)
            for (std::uint32_t const width : s_sizes)
                for (std::uint32_t const height : s_sizes)
                    all.push_back({&row, ByName(format), width, height});
    if (std::getenv("LUMENTA_TEST_FULL") != nullptr)
        return all;
    std::vector<Combination> sample;
    std::mt19937 random(20);
    std::ranges::sample(all, std::back_inserter(sample), s_sample, random);
    for (EffectCase const& row : rows) {
        sample.push_back({&row, Conf::PixFmt::RGB24, 640, 48}); // a scaler reads on here
        for (char const* const format : {"yuv444p", "rgb24"})
            for (Memory const memory : {Memory::Larger, Memory::ShortRows})
                sample.push_back({&row, ByName(format), 640, 48, memory});
    }
    // Every format where FFmpeg's scaler may cut a picture into slices that end within a pattern or a block.
    auto const sliced = std::ranges::find(rows, "negate", &EffectCase::classId);
    for (Conf::PixFmt const format : Conf::PixFmtDescription::s_supportedFormats)
        for (auto const& [width, height] : {std::pair{200U, 3U}, {3U, 61U}, {129U, 9U}})
            sample.push_back({&*sliced, format, width, height});
    return sample;
}

std::string Describe(Combination const& each) {
    return ::testing::PrintToString(*each.row) + ' ' + NameOf(each.format) + ' ' +
           std::to_string(each.width) + 'x' + std::to_string(each.height) + " memory " +
           std::to_string(static_cast<int>(each.memory));
}

SP<Proc::IDataVideo> MakeInput(Combination const& each, std::uint32_t seed) {
    auto const frame = MakeFrame(each.format, {each.width, each.height, 1, 1}, 0, 40000, seed);
    if (each.memory == Memory::Larger) {
        frame->GetAVFrame()->sample_aspect_ratio = {0, 1};
        return MakeSP<Proc::DataVideoFF>(*frame->GetAVFrame(),
                                         Conf::FrameInfo{each.width - 10, each.height / 3, 1, 1});
    }
    SP<Proc::IDataVideo> placed = AtPageEnds(*frame->GetAVFrame(), seed == 1);
    if (each.memory == Memory::ShortRows)
        placed->GetAVFrame()->linesize[0] = 3;
    return placed;
}

/// "r" for a result, "e" for an error that says something, "-" for anything else.
char Try(Combination const& each) {
    try {
        FrameList frames;
        for (std::uint32_t seed = 0; seed < 2; ++seed) {
            frames.push_back(MakeInput(each, seed));
            frames.back()->SetTime(seed * 40000);
            frames.back()->SetDuration(40000);
        }
        FrameList const results = RunStream(*each.row->Make(), frames);
        // Reads every one; what has no whole rows can only have passed as it is.
        bool const haveBytes =
            each.memory == Memory::ShortRows ||
            std::ranges::none_of(results, [](auto const& data) { return GetPixels(*data).empty(); });
        return results.size() >= 2 && haveBytes ? 'r' : '-';
    } catch (std::exception const& failure) {
        return std::string(failure.what()).empty() ? '-' : 'e';
    }
}

/// In a process of its own; which of them brought it down is looked for in halves. How many gave a result.
std::ptrdiff_t TryAll(std::span<Combination const> combinations) {
    std::size_t const count = combinations.size();
    Check::ChildEnd const end = RunChild(
        [&] {
            av_log_set_level(AV_LOG_QUIET);
            std::string outcomes;
            for (Combination const& each : combinations)
                outcomes += Try(each);
            return outcomes;
        },
        std::chrono::seconds(60 + count));
    if (end.kind == Check::ChildEnd::Kind::Returned) {
        for (std::size_t i = 0; i < count; ++i)
            EXPECT_NE(end.text.at(i), '-')
                << Describe(combinations[i]) << " gave neither a result nor an error";
        return std::ranges::count(end.text, 'r');
    }
    if (count > 1)
        return TryAll(combinations.first(count / 2)) + TryAll(combinations.subspan(count / 2));
    ADD_FAILURE() << Describe(combinations[0]) << " brought the process down: " << end.text;
    return 0;
}

TEST(Sizes, AnyFrameGivesAResultOrAnError) {
    int const budget = Core::ThreadBudget::Get();
    Core::ThreadBudget::Set(4);
    std::vector<Combination> const combinations = GetCombinations();
    // Refusing everything would be no way out.
    EXPECT_GT(TryAll(combinations), std::ssize(combinations) / 2);
    Core::ThreadBudget::Set(budget);
}

} // namespace
} // namespace Tarsel::Test
