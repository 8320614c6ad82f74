#pragma once

#include "EffectCases.h"

/// The rows of each family of effects, in the order of the families' files.
namespace Tarsel::Test {

std::vector<EffectCase> GetOrientationCases();
std::vector<EffectCase> GetDenoiseCases();
std::vector<EffectCase> GetStyliseCases();
std::vector<EffectCase> GetColourCases();
std::vector<EffectCase> GetStabiliseCases();
std::vector<EffectCase> GetCustomCases();
/// Of effects that are no filter texts; not in GetEffectCases.
std::vector<EffectCase> GetPictureCases();

template <class S, class... Args>
std::shared_ptr<Proc::Settings const> MakeSettings(Args&&... args) {
    return std::make_shared<S const>(args...);
}

} // namespace Tarsel::Test
