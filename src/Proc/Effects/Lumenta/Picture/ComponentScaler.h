#pragma once

#include "Proc/Effects/Lumenta/Picture/StepScaler.h"
#include "Proc/Wrappers/SafeFrame.h"

namespace Tarsel::Proc {

/// Scales pictures component by component: with alpha, each weighted by it before and divided by it after, so
/// that what is transparent lends no color to what is not; and deep RGB, which the scaler would turn into
/// YUV and back. 16 bits in between. Where nothing shows the result is black. Not synchronized.
class ComponentScaler {
public:
    /// Both of the same format, one of 8 bits and more a component but no palette and not XYZ, and of the
    /// same color space; `flags` are those of SwsCtxParams. Throws as SafeSwsContext; MemoryException.
    void Scale(AVFrame const& from, AVFrame& to, int flags);
    /// Gives its memory back.
    void Drop() noexcept;

private:
    StepScaler m_pixels;
    StepScaler m_chroma;
};

} // namespace Tarsel::Proc
