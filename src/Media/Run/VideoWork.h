#pragma once

#include "Media/Codec/VideoEncoder.h"
#include "Media/Read/VideoSource.h"
#include "Media/Run/TimeMap.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace Tarsel::Media {

/// Pictures on their way through a chain of effects, with their times. One thread at a time.
class VideoWork {
public:
    /// `inputTimeBase` is that of the times of pictures that go in.
    VideoWork(std::unique_ptr<Proc::IEffectStreamVideo> chain, Ratio inputTimeBase);

    /// Feeds pictures of the source until one comes out, which alone tells what the effects make, and Take
    /// still gives; null when none does at all. `onWait` is called between pictures. What the chain and the
    /// source throw.
    WorkedFrame const* Prime(VideoSource& source, std::function<void()> const& onWait);

    /// Before the next all results are taken. What the chain throws.
    void Feed(SourceFrame const& frame);
    /// No more pictures. As Feed.
    void End();
    /// The next result; nothing when there is none (yet). As Feed.
    std::optional<WorkedFrame> Take();

    /// Seconds a tick of the results' times.
    Ratio GetTimeBase() const noexcept { return m_times.GetTimeBase(); }
    /// How many results had to be moved to start later than the one before.
    std::int64_t GetMovedCount() const noexcept { return m_times.GetMovedCount(); }

private:
    std::unique_ptr<Proc::IEffectStreamVideo> m_chain;
    TimeMap m_times;
    std::optional<WorkedFrame> m_first;
    bool m_ended = false;
};

} // namespace Tarsel::Media
