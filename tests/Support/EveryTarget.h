#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdint>

namespace Tarsel::Proc {

/// Runs each of its tests with every instruction set that was compiled and that this machine has.
class EveryTarget : public testing::TestWithParam<std::int64_t> {
protected:
    EveryTarget() { hwy::SetSupportedTargetsForTest(GetParam()); }
    ~EveryTarget() override { hwy::SetSupportedTargetsForTest(0); }
};

inline auto AllTargets() {
    return testing::ValuesIn(hwy::SupportedAndGeneratedTargets());
}

inline auto TargetNames() {
    return [](testing::TestParamInfo<std::int64_t> const& target) { return hwy::TargetName(target.param); };
}

} // namespace Tarsel::Proc
