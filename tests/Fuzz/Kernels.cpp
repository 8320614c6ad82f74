// The kernels on all instruction sets: the bits of the filters that they stand for, and no byte beside the
// rows is touched.

#include "Fuzz/Fuzz.h"
#include "Pixels/FilterRun.h"
#include "Pixels/KernelCases.h"
#include "Pixels/KernelPicture.h"

#include <hwy/targets.h>

TARSEL_FUZZ(draws) {
    using namespace Tarsel;
    static std::vector<Test::KernelCase> const s_cases = Test::KernelCases();
    av_log_set_level(AV_LOG_QUIET);
    Test::KernelCase const& kernel = draws.Pick(s_cases);
    Conf::PixFmt const format = draws.Pick(Conf::PixFmtDescription::s_supportedFormats);
    auto const drawSide = [&] { return static_cast<int>(draws.Between(1, draws.OneIn(4) ? 200 : 24)); };
    int const width = drawSide();
    int const height = drawSide();
    std::mt19937 random(draws());
    auto const trial = kernel.draw(random, format, width, height);
    if (!trial)
        return;
    Test::KernelPicture from(format, width, height, draws);
    from.Paint(draws);
    Proc::SafeFrame const filtered = Test::FilterRun(trial->filter, from.Get())(from.Get());
    for (std::int64_t const target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        Test::KernelPicture to(trial->result, width, height, draws);
        auto const expected = to.With(*filtered);
        trial->run(from.Get(), to.Get());
        Fuzz::Require(to.Planes() == expected, "{} makes something else of {} {}x{} than {}", kernel.name,
                      Test::NameOf(format), width, height, trial->filter);
    }
    hwy::SetSupportedTargetsForTest(0);
}
