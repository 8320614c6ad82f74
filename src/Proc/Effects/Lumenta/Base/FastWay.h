#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstddef>
#include <functional>
#include <string>

struct AVFrame;

namespace Tarsel::Proc {

/// Makes of frames of one format and size what a filter graph makes of them, to the bit, without the graph.
/// One thread at a time.
struct FastWay {
    using Run = std::function<void(AVFrame const& from, AVFrame& to)>;

    /// Of the same size.
    Conf::PixFmt result = Conf::PixFmt::None;
    /// Null where there is no fast way. `to` has planes of its own, the properties of `from`, and the size to
    /// be worked on: `from` may be larger.
    Run run;
    /// Of the graph, for errors.
    std::string description = {};

    explicit operator bool() const noexcept { return run != nullptr; }
};

/// A plane of a frame and where its result goes; sizes in samples, those of the result.
struct PlanePair {
    PlaneView from;
    MutablePlane to;
    std::size_t width;
    std::size_t height;
};
PlanePair GetPlanes(AVFrame const& from, AVFrame& to, int plane);

/// Whether filters, as they turn the frame into gray, stretch its luma to the full range: of all but gray,
/// and YUV of full range by format or tag.
bool IsStretchedToGray(AVFrame const& frame);

/// What comes of the frame, as from the graph. EffectException as the graph, for frames that are not as they
/// say; MemoryException.
SP<IDataVideo> RunFastWay(FastWay const& way, IDataVideo const& data);

} // namespace Tarsel::Proc
