#pragma once

#include "Conf/PixColor.h"
#include "Proc/Effects/Lumenta/Api.h"

struct AVFrame;

namespace Tarsel::Conf {
struct FrameInfo;
} // namespace Tarsel::Conf

namespace Tarsel::Proc {

/// Reduces a picture to a palette and indices into it. The colors of the picture are collected in an octree
/// whose least important nodes are folded into their parents until few enough are left; an octree after
/// M. Gervautz and W. Purgathofer, "A Simple Method for Color Quantization: Octree Quantization" (1988),
/// folded in the order of a heap.
class LUMENTA_API ColorQuant {
public:
    /// `in`, plane 0: pixels of 4 bytes, red, green, blue and straight alpha, `size` pixels wide and high.
    /// They are laid over `background` (its alpha is not read) in place; their alpha byte stays. `out`, plane
    /// 0: an index for every pixel; plane 1: the palette, 4 bytes an entry (red, green, blue, 255). Entry 0
    /// is black and no pixel's; the picture's colors, at most `colors` (1 to 255), follow, and entries
    /// behind them are not written. Line sizes may be negative; nothing else of the frames is used, and the
    /// caller keeps them. `dither` other than 0 diffuses the error. Returns true.
    ///
    /// FilterException, before anything is touched: colors out of range, a plane missing, a frame that says
    /// it is smaller than `size`. FilterException "Cannot realloc heap memmory" and
    /// std::bad_alloc: out of memory; `in` may be partly laid over the background then. Any thread.
    static bool Process(AVFrame& in, AVFrame& out, Conf::FrameInfo const& size, int colors, int dither,
                        Conf::PixColor background);
};

} // namespace Tarsel::Proc
