#pragma once

#include "Conf/PixColor.h"

struct AVFrame;

namespace Tarsel::Proc {

/// How a picture of few colors is made.
struct PaletteParams {
    /// 1 to 255; black is in the palette besides.
    int colors = 255;
    bool dither = false;
    /// Shows through where the picture does.
    Conf::PixColor background;
};

/// Makes `palette` (PAL8, with buffers of its own) of `rgba` (RGBA, the same size), which is laid over the
/// background and so changed. Entry 0 of the palette is black, those not needed are black too; all are
/// opaque. Throws what ColorQuant::Process throws. Any thread, as long as no other uses the frames.
void ConvertToPalette(AVFrame& rgba, AVFrame& palette, PaletteParams const& params);

} // namespace Tarsel::Proc
