#pragma once

namespace Tarsel::Media {

/// A decoder that keeps failing without taking anything in is left alone after this many errors.
constexpr int s_mostErrorsInARow = 1000;

} // namespace Tarsel::Media
