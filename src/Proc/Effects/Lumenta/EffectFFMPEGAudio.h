#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Conf/SampleInfo.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/EffectFFMPEG.h"
#include "Proc/Interfaces/IDataAudio.h"

#include <cstdint>
#include <string>

namespace Tarsel::Core {
struct Site;
} // namespace Tarsel::Core

namespace Tarsel::Proc {

/// Blocks of audio through one graph with one input and one output. Its blocks are all of the format, rate
/// and layout it was built for; FFmpeg refuses others. Blocks that went in are not changed. It runs on the
/// caller's thread alone: handing out slices of a thousand samples costs more than working on them. Not
/// synchronized: the owner serializes calls.
///
/// Driven in one of two ways, not mixed: Process, one call for one block; or as a stream by Feed, Take, End.
class LUMENTA_API EffectFFMPEGAudio : public EffectFFMPEG, public Core::RefCounted<Core::IRefCountable> {
public:
    /// Builds the graph for such blocks. Throws as EffectFFMPEG.
    static SP<EffectFFMPEGAudio> Create(std::string const& description, Conf::SampleInfo const& info);
    /// The same by a format description.
    static SP<EffectFFMPEGAudio> Create(std::string const& description,
                                        SP<Conf::IFormatCodecAudio const> const& format);

    /// Runs so many samples of silence through the graph, before its first block, and forgets what comes out.
    /// `info` is what the graph was built for. Throws as Process.
    void WarmUp(Conf::SampleInfo const& info, std::int64_t samples);

    /// Feeds the block and replaces it by one that came out, with the time and duration of the one just fed;
    /// by null when there is none. What else came out waits for later calls. A null stays a null and asks for
    /// nothing. The stream is never ended.
    ///
    /// Throws EffectException: "Error while feeding the filtergraph", "Not enough memory for filter"
    /// (transcoding error code 35) where none came out for want of it, for a block whose samples are not all
    /// there, and for one that came out in a sample format that this host does not know; MemoryException.
    /// `data` is as before then.
    virtual void Process(SP<IDataAudio>& data);
    /// Writes the graph's output format, rate and layout into the format.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format);

    /// Takes in one block of the stream, never null. Throws as Process.
    void Feed(SP<IDataAudio> const& data);
    /// The next block that is ready, or null: none yet, or none any more. It has the sink's own time in
    /// microseconds, rounded to the nearest (an unknown one stays AV_NOPTS_VALUE); some filters round it to
    /// whole samples, let the roundings add up, or forget gaps. Its duration is that of its samples. Throws
    /// as Process.
    SP<IDataAudio> Take();
    /// No more blocks: Take gives all that was held back. Nothing may be fed any more.
    void End();

    /// Whether the graph failed while audio came out of it. From then on it only fails: build another.
    bool HasFailed() const noexcept { return m_failed; }

private:
    EffectFFMPEGAudio(std::string const& description, std::string const& sourceArgs);

    void Push(IDataAudio const& data, Core::Site const& site);

    bool m_failed = false;
};

} // namespace Tarsel::Proc
