#pragma once

#include "Core/Throw.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Tarsel::Proc {

/// Whether any of a plane's 16-bit samples has a bit set above its `depth` lowest, depth being 1 to 15.
/// `lineSize` is in bytes, negative for a plane stored bottom up, with `data` at the top row either way;
/// `width` is in samples, `height` in rows. Plain memory of any alignment, only read; any thread.
bool HasBitsAbove(std::uint8_t const* data, std::ptrdiff_t lineSize, std::size_t width, std::size_t height,
                  int depth, std::endian order) noexcept;

/// Throws EffectException, from `site`, where a frame of 9 to 15 bits a sample holds samples with higher bits
/// set: filters look samples up in tables that end where the depth ends. Looks at no pixels where the format
/// has no room for such bits: samples of 8 or 16 bits, real ones, and those that fill their bytes from the
/// top. `effect` begins the text.
void RequireSamplesWithinDepth(IDataVideo const& data, std::string_view effect, Core::Site const& site);

} // namespace Tarsel::Proc
