#pragma once

#include "Core/Api.h"
#include "Core/RefCount.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IDataVideo.h"

namespace Tarsel::Proc {

/// An optional interface of effects, found with dynamic_cast: the effect as a stream, in the send and receive
/// shape of FFmpeg's codecs. Nothing is lost: frames held back come out later or after End(), and times are
/// the engine's own. A stream is: Feed one datum, Take until null, and so on; End, Take until null. After
/// that null the effect starts afresh, with its settings, and may be fed again.
///
/// A change of format between two data is allowed at any time: what the old format still holds back comes out
/// first. Errors are those of Process; after one the data fed is lost, earlier results stay to be taken.
/// A datum that was fed may be read and kept by the effect until its results are taken; one that was taken is
/// the caller's alone, and the effect does not touch it any more. Not to be mixed with Process on one stream:
/// Reset() between them. Threads as for the effect's Process.
template <class Data>
class TARSEL_API IEffectStream {
public:
    virtual ~IEffectStream() = default;
    /// Takes in one datum, never null. Results queue up until they are taken; their number stays as small as
    /// the effect's own look-ahead when Take is called to null after each Feed.
    virtual void Feed(SP<Data> const& data) = 0;
    /// The next result with its own time and duration in microseconds, or null when there is none (yet).
    virtual SP<Data> Take() = 0;
    /// No more data: releases what is held back to Take. Without data since the start it does nothing.
    virtual void End() = 0;
};

using IEffectStreamVideo = IEffectStream<IDataVideo>;
using IEffectStreamAudio = IEffectStream<IDataAudio>;

extern template class IEffectStream<IDataVideo>;
extern template class IEffectStream<IDataAudio>;

} // namespace Tarsel::Proc
