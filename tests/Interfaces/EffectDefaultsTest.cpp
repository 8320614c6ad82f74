#include "Host/Doubles.h"
#include "Proc/Interfaces/Statistics.h"
#include "Proc/Interfaces/TimeToProgress.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <string>

using namespace Tarsel;
using namespace Tarsel::Proc;

namespace {

TEST(TimeToProgress, IsLinearInDouble) {
    TimeToProgress const standard;
    EXPECT_EQ(standard.GetStart(), 0);
    EXPECT_EQ(standard.GetEnd(), 1000000);
    EXPECT_EQ(standard(250000), 0.25);
    EXPECT_EQ(standard(-500000), -0.5); // not clamped
    EXPECT_EQ(TimeToProgress::Linear(15, 10, 20), 0.5);
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(TimeToProgress::Linear(0, least, most), 0.5); // wider than 64 bits
    TimeToProgress const squared(0, 10, [](auto current, auto start, auto end) {
        double const linear = TimeToProgress::Linear(current, start, end);
        return linear * linear;
    });
    EXPECT_EQ(squared(5), 0.25);
}

TEST(Effect, KeepsTheProgressItIsGiven) {
    auto const effect = MakeSP<HostTest::Effect>("any");
    EXPECT_EQ(effect->GetProgress().GetEnd(), 1000000);
    effect->SetProgress(TimeToProgress(100, 300));
    EXPECT_EQ(static_cast<IEffect const&>(*effect).GetProgress()(200), 0.5);
    EXPECT_EQ(effect->GetStatistic(), Core::Property());
}

TEST(Statistics, BecomeAPropertyTree) {
    Core::Property const tree = Statistics::MakeStatistics({"GetStatistic()", 7, 1, "ffmpeg", 3, 25});
    Core::Property expected("Statistics");
    expected.CreateChildT("Name", std::string("GetStatistic()"));
    expected.CreateChildT("Category", std::int64_t{7});
    expected.CreateChildT("MediaType", std::int64_t{1});
    expected.CreateChildT("ImplName", std::string("ffmpeg"));
    expected.CreateChildT("CounterA", std::int64_t{3});
    expected.CreateChildT("Processed", std::int64_t{25});
    EXPECT_EQ(tree, expected);
}

} // namespace
