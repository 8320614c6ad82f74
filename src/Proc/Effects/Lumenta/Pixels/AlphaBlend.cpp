#include "Proc/Effects/Lumenta/Pixels/AlphaBlend.h"

#include "Proc/Effects/Lumenta/Pixels/AlphaBlendPlane.h"

#include <array>
#include <cstdint>

namespace Tarsel::Proc {
namespace {

using Byte = unsigned char;

// The portable implementations, each named after the function that it stands behind. Others, for a machine of
// its own, would stand beside them.

void InlpaceMultiplyA_CPP(BlendedPlane const& plane, Byte k) {
    BlendPlane(plane, std::array{k});
}

void InlpaceMultiplyAB_CPP(BlendedPlane const& plane, Byte k1, Byte k2) {
    BlendPlane(plane, std::array{k1, k2});
}

void InlpaceMultiplyABC_CPP(BlendedPlane const& plane, Byte k1, Byte k2, Byte k3) {
    BlendPlane(plane, std::array{k1, k2, k3});
}

void InlpaceMultiplyABCD_CPP(BlendedPlane const& plane, Byte k1, Byte k2, Byte k3, Byte k4) {
    BlendPlane(plane, std::array{k1, k2, k3, k4});
}

void InlpaceMultiplyChromaA_CPP(BlendedPlane const& plane, Byte k) {
    BlendPlane(plane, std::array{k});
}

void InlpaceMultiplyChromaAB_CPP(BlendedPlane const& plane, Byte k1, Byte k2) {
    BlendPlane(plane, std::array{k1, k2});
}

} // namespace

void InlpaceMultiplyA(Byte* dst, int dstStride, Byte const* alpha, int alphaStride, unsigned int width,
                      unsigned int height, Byte k) {
    InlpaceMultiplyA_CPP({dst, dstStride, alpha, alphaStride, width, height}, k);
}

void InlpaceMultiplyAB(Byte* dst, int dstStride, Byte const* alpha, int alphaStride, unsigned int width,
                       unsigned int height, Byte k1, Byte k2) {
    InlpaceMultiplyAB_CPP({dst, dstStride, alpha, alphaStride, width, height}, k1, k2);
}

void InlpaceMultiplyABC(Byte* dst, int dstStride, Byte const* alpha, int alphaStride, unsigned int width,
                        unsigned int height, Byte k1, Byte k2, Byte k3) {
    InlpaceMultiplyABC_CPP({dst, dstStride, alpha, alphaStride, width, height}, k1, k2, k3);
}

void InlpaceMultiplyABCD(Byte* dst, int dstStride, Byte const* alpha, int alphaStride, unsigned int width,
                         unsigned int height, Byte k1, Byte k2, Byte k3, Byte k4) {
    InlpaceMultiplyABCD_CPP({dst, dstStride, alpha, alphaStride, width, height}, k1, k2, k3, k4);
}

void InlpaceMultiplyChromaA(Byte* dst, int dstStride, Byte const* alpha, int alphaStride, unsigned int width,
                            unsigned int height, Byte k) {
    InlpaceMultiplyChromaA_CPP({dst, dstStride, alpha, alphaStride, width, height}, k);
}

void InlpaceMultiplyChromaAB(Byte* dst, int dstStride, Byte const* alpha, int alphaStride, unsigned int width,
                             unsigned int height, Byte k1, Byte k2) {
    InlpaceMultiplyChromaAB_CPP({dst, dstStride, alpha, alphaStride, width, height}, k1, k2);
}

} // namespace Tarsel::Proc
