// The kernels against the linked FFmpeg's filters, bit for bit.

#include "Conf/PixFmtDescription.h"
#include "Pixels/FilterRun.h"
#include "Pixels/KernelCases.h"
#include "Pixels/KernelPicture.h"
#include "Support/Planes.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Random = std::mt19937;

#ifdef NDEBUG
constexpr int s_rounds = 24;
#else
constexpr int s_rounds = 2;
#endif

int DrawSide(Random& random) {
    constexpr unsigned most[]{4, 4, 40, 40, 40, 40, 200, 600};
    return 1 + static_cast<int>(random() % most[random() % 8]);
}

class Kernel : public testing::TestWithParam<KernelCase> {
protected:
    ~Kernel() override { hwy::SetSupportedTargetsForTest(0); }
};

// All of the memory is compared, so nothing may be written beside the rows either.
TEST_P(Kernel, MakesTheFiltersBitsOnEveryTarget) {
    Random random(3);
    int trials = 0;
    for (PixFmt const format : PixFmtDescription::s_supportedFormats)
        for (int round = 0; round < s_rounds; ++round) {
            int const width = DrawSide(random);
            int const height = DrawSide(random);
            auto const trial = GetParam().draw(random, format, width, height);
            if (!trial)
                continue;
            ++trials;
            KernelPicture from(format, width, height, random);
            from.Paint(random);
            Proc::SafeFrame const filtered = FilterRun(trial->filter, from.Get())(from.Get());
            ASSERT_EQ(NameOf(static_cast<PixFmt>(filtered->format)), NameOf(trial->result)) << NameOf(format);
            for (std::int64_t const target : hwy::SupportedAndGeneratedTargets()) {
                hwy::SetSupportedTargetsForTest(target);
                KernelPicture to(trial->result, width, height, random);
                auto const expected = to.With(*filtered);
                trial->run(from.Get(), to.Get());
                for (std::size_t i = 0; i < expected.size(); ++i) {
                    auto const [wanted, made] = std::ranges::mismatch(expected[i], to.Planes()[i]);
                    ASSERT_TRUE(wanted == expected[i].end())
                        << trial->filter << " on " << NameOf(format) << ' ' << width << 'x' << height
                        << ", byte " << wanted - expected[i].begin() << " of plane " << i << " (stride "
                        << to.Get().linesize[i] << "): " << int{*made} << " for " << int{*wanted} << " with "
                        << hwy::TargetName(target);
                }
            }
        }
    EXPECT_TRUE(trials > 0 || !HWY_ARCH_X86) << "covers nothing";
}

INSTANTIATE_TEST_SUITE_P(Filters, Kernel, testing::ValuesIn(KernelCases()),
                         [](auto const& test) { return std::string(test.param.name); });

} // namespace
} // namespace Tarsel::Test
