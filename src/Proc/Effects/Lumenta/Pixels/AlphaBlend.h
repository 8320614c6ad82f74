#pragma once

#include "Proc/Effects/Lumenta/Api.h"

namespace Tarsel::Proc {

// Flattening of 8-bit planes onto a background, in place. `dst` is the first byte of the first row,
// `dstStride` the bytes from one row to the next; a row has `width` pixels of as many interleaved components
// as the function's name has letters, and `alpha` one byte for each of its pixels, 255 opaque. Strides may be
// negative. For every component c with background value k and alpha a:
//
//     c' = (c (a + 1) + (255 - a) k) >> 8
//
// so a = 255 leaves c as it is, and a = 0 gives k or k - 1. Nothing is written outside the rows. Alpha that
// shares memory with the plane is read as the pixels before it have left it. Width or height 0: nothing
// happens. Nothing is allocated, nothing fails. Any thread, as long as no other uses the same memory.

LUMENTA_API void InlpaceMultiplyA(unsigned char* dst, int dstStride, unsigned char const* alpha,
                                  int alphaStride, unsigned int width, unsigned int height, unsigned char k);
LUMENTA_API void InlpaceMultiplyAB(unsigned char* dst, int dstStride, unsigned char const* alpha,
                                   int alphaStride, unsigned int width, unsigned int height, unsigned char k1,
                                   unsigned char k2);
LUMENTA_API void InlpaceMultiplyABC(unsigned char* dst, int dstStride, unsigned char const* alpha,
                                    int alphaStride, unsigned int width, unsigned int height,
                                    unsigned char k1, unsigned char k2, unsigned char k3);
LUMENTA_API void InlpaceMultiplyABCD(unsigned char* dst, int dstStride, unsigned char const* alpha,
                                     int alphaStride, unsigned int width, unsigned int height,
                                     unsigned char k1, unsigned char k2, unsigned char k3, unsigned char k4);

/// The same for planes of chroma; `alpha` has their size.
LUMENTA_API void InlpaceMultiplyChromaA(unsigned char* dst, int dstStride, unsigned char const* alpha,
                                        int alphaStride, unsigned int width, unsigned int height,
                                        unsigned char k);
LUMENTA_API void InlpaceMultiplyChromaAB(unsigned char* dst, int dstStride, unsigned char const* alpha,
                                         int alphaStride, unsigned int width, unsigned int height,
                                         unsigned char k1, unsigned char k2);

} // namespace Tarsel::Proc
