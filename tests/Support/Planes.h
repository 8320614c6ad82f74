#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Pictures as planes of bytes.
namespace Tarsel::Test {

Conf::PixFmt ByName(std::string_view name);
std::string const& NameOf(Conf::PixFmt format);

/// A picture of reproducible noise, padding and palette included.
Proc::SafeFrame MakeNoise(Conf::PixFmt format, std::uint32_t width, std::uint32_t height);

/// The same picture stored the other way up: the planes start at the last row in memory and have negative
/// line sizes.
Proc::SafeFrame StoreBottomUp(AVFrame const& frame);

/// A gray picture over the caller's pixels, whose references nobody counts.
Proc::SafeFrame MakeUncounted(std::uint8_t* pixels, int width, int height);

/// The bytes of a plane that belong to the picture, top row first.
std::vector<std::uint8_t> PlaneBytes(AVFrame const& frame, int plane);

void FillPlane(AVFrame& frame, int plane, std::uint8_t value);

} // namespace Tarsel::Test
