#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Algorithms/AudioAlg/AudioRef.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstdint>
#include <functional>

namespace Tarsel::Tools {

/// Audio that comes in blocks, brought into one format and shown where it lies, so that it can be taken in
/// pieces of any length without a copy; how it was cut changes no sample, and none is lost. Holds no more
/// than a block. Not synchronized.
class AudioSource {
public:
    /// Gives the next block, null at the end. All blocks are of one format.
    using Next = std::function<SP<Proc::IDataAudio>()>;

    AudioSource(Next next, Conf::SampleInfo const& format);

    /// How many samples can be taken at once now; 0 at the end. EffectException when the audio cannot be
    /// converted; MemoryException; what `next` throws.
    std::int64_t GetReady();
    /// The first `count` of them, of one plane (see Proc::GetPlaneRef); valid until they are dropped, and
    /// only to be read.
    Proc::AudioRef Show(int plane, std::int64_t count) const;
    /// Goes on by `count` of them.
    void Drop(std::int64_t count) noexcept { m_gone += count; }
    /// The next samples as a block, `most` or fewer; null at the end. It is the caller's, and its time means
    /// nothing. Throws as GetReady.
    SP<Proc::IDataAudio> Take(std::int64_t most);

private:
    SP<Proc::IDataAudio> Convert(SP<Proc::IDataAudio> const& block);

    Next m_next;
    Conf::SampleInfo m_format;
    /// Empty until the first block, and where nothing has to be converted.
    Proc::SafeSwrContext m_converter;
    /// What is shown, and how much of it is gone; null at first and at the end.
    SP<Proc::IDataAudio> m_block;
    std::int64_t m_gone = 0;
    bool m_ended = false;
};

} // namespace Tarsel::Tools
