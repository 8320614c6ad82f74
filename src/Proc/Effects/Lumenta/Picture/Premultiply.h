#pragma once

#include "Conf/PixColor.h"
#include "Conf/PixFmt.h"

struct AVFrame;

namespace Tarsel::Proc {

/// Pictures laid over a background of one color, by their alpha. Any thread, as long as no other uses the
/// same frames.

/// Whether the blending kernels know the format.
bool HasBlendKernel(Conf::PixFmt format) noexcept;

/// Blends `picture`, which is `withAlpha` in another format and has buffers of its own, towards `background`
/// by the alpha of `withAlpha`. The kernels of Pixels/AlphaBlend.h, with one alpha for each pixel, and for
/// chroma the mean over the pixels of a sample. Alpha or padding of packed RGB is blended towards 255.
/// EffectException "Not implemented for '{}' format" for a `picture` of a format without kernel, from
/// `PixelFormatConverterFF::Premultiply`. MemoryException.
void BlendByKernel(AVFrame const& withAlpha, AVFrame& picture, Conf::PixColor background);

/// The same for every format of 8 bits and more a component but palettes and XYZ, exactly rounded; opaque
/// pixels stay as they are bit for bit.
void BlendByComponent(AVFrame const& withAlpha, AVFrame& picture, Conf::PixColor background);

} // namespace Tarsel::Proc
