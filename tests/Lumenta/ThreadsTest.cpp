#include "EffectCases.h"
#include "Frames.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

/// What may be called from any thread is; a race shows under the thread sanitizer.
namespace Tarsel::Test {
namespace {

constexpr int s_rounds = 50;

/// Frames, format queries, settings and resets, in an order that each thread starts elsewhere.
void Use(Proc::IOneInputEffectVideo& effect, Proc::Settings const& settings, int thread) {
    std::function<void()> const operations[]{
        [&] { EXPECT_TRUE(Apply(effect, MakeFrame())); },
        [&] { Ask(effect, Conf::PixFmt::YUV422P); },
        [&] { effect.SetSettings(settings); },
        [&] { EXPECT_NO_THROW(effect.GetStatistic()); },
        [&] { effect.SetProgressController({}); },
        [&] { effect.Reset(); },
    };
    for (int round = 0; round < s_rounds; ++round)
        operations[static_cast<std::size_t>(round + thread) % std::size(operations)]();
}

class Threads : public testing::TestWithParam<EffectCase> {};

TEST_P(Threads, EffectsOfOwnAndOneShared) {
    EffectCase const& row = GetParam();
    auto const settings = row.MakeSettings();
    auto const shared = row.Make();
    constexpr int count = 4;
    std::vector<std::jthread> threads;
    threads.reserve(count);
    for (int i = 0; i < count; ++i)
        threads.emplace_back([&, i] {
            auto const own = row.Make();
            Use(*own, *settings, i);
            Use(*shared, *settings, i);
        });
}

// On filter texts, and of the kinds that do the work themselves.
INSTANTIATE_TEST_SUITE_P(Kinds, Threads,
                         testing::Values(GetEffectCases()[1], GetPictureCases()[3], GetPictureCases()[5]));

} // namespace
} // namespace Tarsel::Test
