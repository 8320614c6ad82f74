#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Tarsel::Proc {

Conf::PixFmt ByName(std::string_view name);

/// A picture of reproducible noise, padding and palette included.
SafeFrame MakeNoise(Conf::PixFmt format, std::uint32_t width, std::uint32_t height);

/// The same picture stored the other way up: the planes start at the last row in memory and have negative
/// line sizes.
SafeFrame StoreBottomUp(AVFrame const& frame);

/// The bytes of a plane that belong to the picture, top row first.
std::vector<std::uint8_t> PlaneBytes(AVFrame const& frame, int plane);

void FillPlane(AVFrame& frame, int plane, std::uint8_t value);

/// Makes FFmpeg refuse allocations above a size for as long as it lives.
class AllocationLimit {
public:
    explicit AllocationLimit(std::size_t bytes);
    ~AllocationLimit();
    AllocationLimit(AllocationLimit const&) = delete;
    AllocationLimit& operator=(AllocationLimit const&) = delete;
};

} // namespace Tarsel::Proc
