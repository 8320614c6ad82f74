#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstdint>
#include <deque>
#include <functional>

namespace Tarsel::Tools {

/// Sound that comes in blocks, brought into one format and handed out in pieces of any length; how it was cut
/// changes no sample, and none is lost. Holds no more than a piece and a block. Not synchronised.
class SoundSource {
public:
    /// Gives the next block, null at the end. All blocks are of one format.
    using Next = std::function<SP<Proc::IDataAudio>()>;

    SoundSource(Next next, Conf::SampleInfo const& format);

    /// The next `count` samples (above 0), fewer only at the end, and null after that. The piece is the
    /// caller's and has no time. EffectException when the sound cannot be converted; MemoryException; what
    /// `next` throws.
    SP<Proc::IDataAudio> Take(int count);
    /// For each channel, of those handed out.
    std::int64_t GetTaken() const noexcept { return m_taken; }

private:
    void FillUpTo(int count);
    void Add(SP<Proc::IDataAudio> const& block);

    Next m_next;
    Conf::SampleInfo m_format;
    /// Empty until the first block, and where nothing has to be converted.
    Proc::SafeSwrContext m_converter;
    std::deque<Proc::SafeFrame> m_frames;
    /// Samples in them that are still to be taken; those of the first that are gone.
    std::int64_t m_waiting = 0;
    int m_gone = 0;
    bool m_ended = false;
    std::int64_t m_taken = 0;
};

} // namespace Tarsel::Tools
