#pragma once

#include <functional>
#include <string>

namespace Tarsel::Proc {
class Settings;
} // namespace Tarsel::Proc

namespace Tarsel::Host {

/// Whether an effect with such settings leaves its input as it is.
using IsIdle = std::function<bool(Proc::Settings const&)>;

/// What to change in settings that leave the input as it is, "; set left, right, top or bottom". Found by
/// trying other values of each field, and of two together where one is not enough; "" where that does not
/// help. Throws what `isIdle` throws.
std::string DescribeCure(Proc::Settings const& settings, IsIdle const& isIdle);

} // namespace Tarsel::Host
