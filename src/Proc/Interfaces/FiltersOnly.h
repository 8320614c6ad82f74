#pragma once

#include "Core/Api.h"

namespace Tarsel::Proc {

/// Effects do the work of some filters themselves, with the same result to the bit in a fraction of the time.
/// With true they leave all of it to the filters: for comparisons. Holds for the process, and for what an
/// effect builds from then on; false to begin with. Any thread.
TARSEL_API void SetFiltersOnly(bool filtersOnly) noexcept;
TARSEL_API bool IsFiltersOnly() noexcept;

} // namespace Tarsel::Proc
