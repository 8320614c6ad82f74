#pragma once

#include "Conf/FrameInfo.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Wrappers/AVFrameWrapper.h"

#include <string>
#include <string_view>

struct AVFilterContext;
struct AVFrame;

namespace Tarsel::Proc {

/// Frames on their way into a video graph. Any thread.

/// Filters trust a frame to be what their graph was built for, and read past the end of one that is not.
/// Throws EffectException unless `frame`, that of `data`, is all that `data` says, and that is what `source`
/// was made for. `name`, "Frame", begins the text; `filter` is the description that goes with it.
void RequireFrameFor(AVFilterContext const& source, IDataVideo const& data, AVFrame const& frame,
                     std::string_view name, std::string const& filter);

/// Another reference to the frame's buffers, or over a copy where filters could read past the end of the
/// memory: see FrameRoom.h. Throws as AVFrameWrapper and CopyWithRoomBehind.
AVFrameWrapper MakeSourceFrame(AVFrame const& frame);

/// The frame's geometry, with the aspect of `data` where it does not state its own.
Conf::FrameInfo GetStatedInfo(IDataVideo const& data, AVFrame const& frame);

} // namespace Tarsel::Proc
