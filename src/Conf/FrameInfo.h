#pragma once

#include <cstdint>

namespace Tarsel::Conf {

/// Geometry of a frame: size in pixels and the shape of one pixel (width : height). An aspect with a zero in
/// it is unknown; objects that store one keep 0/1.
struct FrameInfo {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t aspectNum = 0;
    std::uint32_t aspectDen = 0;

    friend bool operator==(FrameInfo const&, FrameInfo const&) = default;
};

/// `info` with an aspect that has a zero in it replaced by 0/1, unknown; others are left as written.
constexpr FrameInfo WithDefinedAspect(FrameInfo info) noexcept {
    if (info.aspectNum == 0 || info.aspectDen == 0) {
        info.aspectNum = 0;
        info.aspectDen = 1;
    }
    return info;
}

} // namespace Tarsel::Conf
