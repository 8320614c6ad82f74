#include "Conf/PixFmtDescription.h"
#include "Core/ThreadBudget.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Support/PageEnd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <random>
#include <span>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

/// No frame brings the process down, however small, in whatever format, and though its memory ends with a
/// page: a result comes of it or an error. By default a sample of all combinations; all of them with
/// LUMENTA_TEST_FULL set.
namespace Tarsel::Test {
namespace {

struct Combination {
    EffectCase const* row;
    Conf::PixFmt format;
    std::uint32_t width;
    std::uint32_t height;
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
    for (EffectCase const& row : rows) // a scaler reads on here
        sample.push_back({&row, Conf::PixFmt::RGB24, 640, 48});
    // Every format where FFmpeg's scaler may cut a picture into slices that end within a pattern or a block.
    auto const sliced = std::ranges::find(rows, "negate", &EffectCase::classId);
    for (Conf::PixFmt const format : Conf::PixFmtDescription::s_supportedFormats)
        for (auto const& [width, height] : {std::pair{200U, 3U}, {3U, 61U}, {129U, 9U}})
            sample.push_back({&*sliced, format, width, height});
    return sample;
}

std::string Describe(Combination const& each) {
    return ::testing::PrintToString(*each.row) + ' ' + NameOf(each.format) + ' ' +
           std::to_string(each.width) + 'x' + std::to_string(each.height);
}

/// 0 for a result, 1 for an error that says something, 2 for anything else.
std::uint8_t Try(Combination const& each) {
    try {
        FrameList frames;
        for (std::uint32_t seed = 0; seed < 2; ++seed) {
            auto const frame = MakeFrame(each.format, {each.width, each.height, 1, 1}, 0, 40000, seed);
            frames.push_back(AtPageEnds(*frame->GetAVFrame(), seed == 1));
            frames.back()->SetTime(seed * 40000);
            frames.back()->SetDuration(40000);
        }
        FrameList const results = RunStream(*each.row->Make(), frames);
        bool const haveBytes = std::ranges::none_of(
            results, [](auto const& data) { return GetPixels(*data).empty(); }); // reads every one
        return results.size() >= 2 && haveBytes ? 0 : 2;
    } catch (std::exception const& failure) {
        return std::string(failure.what()).empty() ? 2 : 1;
    }
}

/// In a process of its own: the outcomes, in order, one byte each. There are fewer than combinations where
/// one brought the process down.
std::vector<std::uint8_t> TryInChild(std::span<Combination const> combinations) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        throw std::runtime_error("no pipe");
    pid_t const child = fork();
    if (child == 0) {
        close(ends[0]);
        av_log_set_level(AV_LOG_QUIET);
        for (Combination const& each : combinations) {
            alarm(60); // hanging is no better than crashing
            std::uint8_t const outcome = Try(each);
            if (write(ends[1], &outcome, 1) != 1)
                break;
        }
        _exit(0);
    }
    close(ends[1]);
    std::vector<std::uint8_t> outcomes;
    std::uint8_t outcome = 0;
    while (read(ends[0], &outcome, 1) == 1)
        outcomes.push_back(outcome);
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return outcomes;
}

TEST(Sizes, AnyFrameGivesAResultOrAnError) {
    int const budget = Core::ThreadBudget::Get();
    Core::ThreadBudget::Set(4);
    std::vector<Combination> const combinations = GetCombinations();
    std::span<Combination const> rest = combinations;
    std::size_t results = 0;
    while (!rest.empty()) {
        std::vector<std::uint8_t> const outcomes = TryInChild(rest);
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            EXPECT_NE(outcomes[i], 2) << Describe(rest[i]) << " gave neither a result nor an error";
            results += outcomes[i] == 0 ? 1 : 0;
        }
        rest = rest.subspan(outcomes.size());
        if (rest.empty())
            break;
        ADD_FAILURE() << Describe(rest.front()) << " brought the process down";
        rest = rest.subspan(1);
    }
    Core::ThreadBudget::Set(budget);
    // Refusing everything would be no way out.
    EXPECT_GT(results, combinations.size() / 2);
}

} // namespace
} // namespace Tarsel::Test
