#pragma once

#include "Core/RefCount.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Tools/Tarsel/Preview/Canvas.h"

namespace Tarsel::Tools {

/// As many square pixels as a frame is shown with, at `scale`; at least one by one. Any thread.
Size GetShownSize(Proc::IDataVideo const& frame, double scale);

/// The frame as packed RGB of that size; what is clear shows a checkerboard. A frame that is so already is
/// given back. EffectException where it cannot be converted, MemoryException. Any thread.
SP<Proc::IDataVideo> ToRgb(SP<Proc::IDataVideo> const& frame, Size size);

/// Both are packed RGB of one size. The left half of the one, the right half of the other, a line between.
SP<Proc::IDataVideo> DrawSplit(Proc::IDataVideo const& before, Proc::IDataVideo const& after);

/// How two pictures of packed RGB of one size differ.
struct Difference {
    /// The differences times `gain`.
    SP<Proc::IDataVideo> picture;
    /// The largest that shows all of them, at most 64.
    int gain = 1;
    /// In steps of 8 bits.
    int largest = 0;
    double mean = 0;
};
Difference Subtract(Proc::IDataVideo const& before, Proc::IDataVideo const& after);

} // namespace Tarsel::Tools
