#include "Proc/Interfaces/FiltersOnly.h"

#include <atomic>

namespace Tarsel::Proc {
namespace {

std::atomic<bool> s_filtersOnly{false};

} // namespace

void SetFiltersOnly(bool filtersOnly) noexcept {
    s_filtersOnly = filtersOnly;
}

bool IsFiltersOnly() noexcept {
    return s_filtersOnly;
}

} // namespace Tarsel::Proc
