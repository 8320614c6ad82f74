#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"

#include <cstddef>
#include <vector>

namespace Tarsel::Proc {

/// A plane and what is made of it; they may be the same, but not overlap otherwise. Sizes in samples: bytes
/// or, where deep, 16 bits in the machine's byte order.
struct WaveletPlane {
    PlaneView from;
    MutablePlane to;
    std::size_t width;
    std::size_t height;
    bool isDeep;
};

/// Whether the denoiser makes of the planes of luma and chroma of such frames what the filter "owdenoise"
/// does, which leaves alpha as it is; on x86 only. Throws CoreException for a format that FFmpeg does not
/// know.
bool CoversWaveletDenoise(Conf::PixFmt format);

/// Denoises planes by soft thresholding of an undecimated wavelet transform: on each level all three planes
/// of details, horizontal, vertical and diagonal, lose `strength`. The wavelet is the biorthogonal 9/7 one of
/// Cohen, Daubechies and Feauveau (1992), scaled by sqrt(2); level n filters every 2^n-th sample, each of
/// these subsequences mirrored at its own ends. Products and
/// their sums are doubles; samples between two steps, and the sums of two that share a tap, are floats. Keeps
/// its memory, 12 bytes a sample and level, for the next plane. One thread at a time.
class WaveletDenoiser {
public:
    /// `depth` levels, but no more than log2 of the shorter side; 8-bit samples are dithered by an 8x8 Bayer
    /// matrix, deep ones rounded to zero and cut to 16 bits. The strength as the filter reads it from its
    /// text. Throws std::bad_alloc.
    void Denoise(WaveletPlane const& plane, int depth, double strength);

private:
    std::vector<float> m_memory;
};

} // namespace Tarsel::Proc
