#include "EffectCases.h"

#include "Cases/Families.h"

#include <utility>

namespace Tarsel::Test {

std::vector<EffectCase> const& GetEffectCases() {
    static std::vector<EffectCase> const cases = [] {
        std::vector<EffectCase> all;
        for (auto const family : {GetOrientationCases, GetDenoiseCases, GetStyliseCases, GetColourCases,
                                  GetStabiliseCases, GetCustomCases})
            for (EffectCase& row : family())
                all.push_back(std::move(row));
        return all;
    }();
    return cases;
}

} // namespace Tarsel::Test
