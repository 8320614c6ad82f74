#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Wrappers/AVFrameWrapper.h"

#include <string>

struct AVFilterContext;
struct AVFrame;

namespace Tarsel::Proc {

/// Audio on its way into a graph and out of it. Any thread, as long as no other uses the same graph.

/// The block as the graph's source takes it, at its time in microseconds. EffectException for a block without
/// channels or with fewer samples than it is said to have: filters would read past its end. `filter` is the
/// description that goes with it. Of another format, rate or layout than the source's it is for FFmpeg to
/// refuse.
AVFrameWrapper MakeSourceFrame(IDataAudio const& data, std::string const& filter);

/// A block with the samples that came out of a sink, which are copied; no time and no duration is set.
/// EffectException for a sample format that this host does not know; MemoryException.
SP<IDataAudio> MakeSinkBlock(AVFrame const& frame);

/// Writes what comes out of the sink into the format; a sink without a link leaves it as it is.
void UpdateFormatBySink(AVFilterContext const* sink, Conf::IFormatCodecAudio& format);

} // namespace Tarsel::Proc
