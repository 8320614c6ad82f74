#pragma once

#include "Conf/SampleInfo.h"
#include "Core/Api.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstdint>
#include <list>
#include <memory>
#include <optional>

struct AVFrame;
struct SwrContext;

namespace Tarsel::Proc {

/// What audio is and what it becomes; all fields of both sides known.
///
/// Formats are converted as libswresample does it, to the nearest value and without dither (from s32 to
/// shorter integers: cut off). Rates and mixes are worked out in double where either side has more than 24
/// bits. Between layouts of the same number of channels of which one has no mask, channels keep their places;
/// otherwise they are mixed by libswresample's own matrix, scaled to stay within full scale; a layout without
/// mask counts as the default one of its number of channels.
struct SwrCtxParams {
    Conf::SampleInfo from;
    Conf::SampleInfo to;

    friend bool operator==(SwrCtxParams const&, SwrCtxParams const&) = default;
};

/// Owns a libswresample context: converts a stream of audio. Between two rates the last samples wait for
/// those that follow (the length of a filter, some ms at most); the filter's delay shows nowhere else: n
/// samples become n·to/from of them, rounded to the nearest, and the first of them is the audio of the first.
/// How a stream is cut into blocks changes no sample. Moves, does not copy. Not synchronized.
class TARSEL_API SafeSwrContext {
public:
    /// Empty: may not convert.
    SafeSwrContext() noexcept = default;
    /// EffectException naming both sides when libswresample refuses them, or when one rate is more than 256
    /// times the other (the filter would exhaust memory); MemoryException.
    explicit SafeSwrContext(SwrCtxParams const& params);

    explicit operator bool() const noexcept { return m_context != nullptr; }
    SwrCtxParams const& GetParams() const noexcept { return m_params; }

    /// Takes in a block and gives the samples that are ready, in a frame of their own; nothing when none are.
    /// The result's time and duration, in microseconds as the block's, are those of the audio it carries: a
    /// jump between the times of two blocks comes out where it went in. Of a block without a time it is the
    /// one that follows from those before, or none.
    /// EffectException on an empty object, for a block that is not in the form of the parameters or has no
    /// samples behind its pointers, and for one too long; MemoryException. After a failure the stream is
    /// forgotten.
    std::optional<SafeFrame> Convert(AVFrame const& block);
    /// The rest of the stream, which is over: the next block begins another. Throws as Convert.
    std::optional<SafeFrame> Flush();

private:
    struct TARSEL_API FreeContext {
        void operator()(SwrContext* context) const noexcept;
    };
    using Context = std::unique_ptr<SwrContext, FreeContext>;
    /// The time of an input sample.
    struct Anchor {
        std::int64_t sample;
        std::int64_t time;
    };

    static Context MakeContext(SwrCtxParams const& params);

    std::optional<SafeFrame> ConvertBlock(AVFrame const& block);
    std::optional<SafeFrame> TakeRest();
    std::int64_t GetTime(std::int64_t sample);
    void Stamp(AVFrame& result);
    void StartAfresh() noexcept;

    SwrCtxParams m_params;
    Context m_context;
    /// Whether the context has been used for a stream that is over.
    bool m_isSpent = false;
    /// Samples so far, of the present stream.
    std::int64_t m_taken = 0;
    std::int64_t m_given = 0;
    /// From the one that counts for the next sample given on. A list takes no memory while it is empty.
    std::list<Anchor> m_anchors;
};

} // namespace Tarsel::Proc
