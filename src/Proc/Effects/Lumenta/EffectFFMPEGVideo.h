#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/IFormatCodecVideo.h"
#include "Conf/PixFmt.h"
#include "Core/Ratio.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/EffectFFMPEG.h"
#include "Proc/Effects/Lumenta/Graph/OutputConversion.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstdint>
#include <deque>
#include <string>

extern "C" {
#include <libavutil/pixfmt.h> // AVPixelFormat, an enumeration that cannot be declared ahead
}

namespace Tarsel::Core {
struct Site;
} // namespace Tarsel::Core

namespace Tarsel::Proc {

/// Frames through one graph with one input and one output. Its frames are all of the pixel format and size it
/// was built for; others are refused with an EffectException that says which, and nothing is lost. Frames
/// that went in are not changed. What comes out in a pixel format the host cannot take is converted to the
/// nearest that it can. Not synchronized: the owner serializes calls.
///
/// Driven in one of two ways, not mixed: Process, one call for one frame; or as a stream by Feed, Take, End.
class LUMENTA_API EffectFFMPEGVideo : public EffectFFMPEG, public Core::RefCounted<Core::IRefCountable> {
public:
    /// Builds the graph for frames of that format and geometry; a rate with a zero in it is unknown. Throws
    /// as EffectFFMPEG. Slices as there.
    static SP<EffectFFMPEGVideo> Create(std::string const& description, AVPixelFormat pixelFormat,
                                        Conf::FrameInfo const& info, Ratio const& frameRate,
                                        std::shared_ptr<Core::WorkPool> pool = nullptr);
    /// The same by a format description; PropertyException when it has no frame rate.
    static SP<EffectFFMPEGVideo> Create(std::string const& description,
                                        SP<Conf::IFormatCodecVideo const> const& format,
                                        std::shared_ptr<Core::WorkPool> pool = nullptr);

    /// Feeds the frame and replaces it by the oldest one that came out, null when there is none. What comes
    /// out has the time and duration of the frame just fed, except where the description speaks of
    /// "framerate" or "minterpolate": then it keeps the sink's own, and each further call with null gives the
    /// next frame that came out already. The stream is never ended.
    ///
    /// Throws EffectException "Error while feeding the filtergraph" or "Not enough memory for filter"
    /// (transcoding error code 35), and MemoryException; `data` is as before then.
    virtual void Process(SP<IDataVideo>& data);
    /// Writes the graph's output geometry and pixel format into the format; its rate stays.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format);

    /// Takes in one frame of the stream, never null. Throws as Process.
    void Feed(SP<IDataVideo> const& data);
    /// The next frame that is ready, with the sink's own time in microseconds (rounded to the nearest; an
    /// unknown time stays AV_NOPTS_VALUE), or null: none yet, or none any more. Its duration is its own;
    /// where the graph's time base is another (fields made of frames), its part of the frame that went in;
    /// where the graph changes the rate, the step of time to its neighbor. Throws as Process.
    SP<IDataVideo> Take();
    /// No more frames: Take gives all that was held back. Nothing may be fed any more.
    void End();

    /// Whether frames could not be taken out of the graph. It is of no more use: build another.
    bool HasFailed() const noexcept { return m_failed; }

private:
    /// What a frame that comes out takes from the one that went in last.
    struct InputProps {
        std::int64_t duration = 0;
        int matrix = 2;
        int aspectNum = 0;
        int aspectDen = 1;
        void* opaque = nullptr;
    };

    /// In microseconds.
    struct Span {
        std::int64_t time;
        std::int64_t duration;
    };

    EffectFFMPEGVideo(std::string const& description, std::string const& sourceArgs,
                      std::shared_ptr<Core::WorkPool> pool);

    void Push(IDataVideo& data, Core::Site const& site);
    SP<IDataVideo> GetOutFrame();
    SP<IDataVideo> Pull();
    bool IsInMicroseconds() const;
    void SetDurationByStep(IDataVideo& data, IDataVideo const* following);
    void SetDurationBySpan(IDataVideo& data, IDataVideo* following);
    [[noreturn]] void FailToDrain(int error, Core::Site const& site);
    SP<IDataVideo> Finish(SafeFrame frame);

    Conf::PixFmt m_inputFormat = Conf::PixFmt::None;
    OutputConversion m_conversion;
    std::deque<SP<IDataVideo>> m_queue;
    bool m_changesRate;
    bool m_failed = false;
    InputProps m_input;
    /// The stream's next frame where its duration depends on the one after it, and the last step of time.
    SP<IDataVideo> m_next;
    std::int64_t m_step = 0;
    /// The frame that the next one is made of, and those that went in after it; of filters with a time base
    /// of their own.
    std::deque<Span> m_spans;
};

} // namespace Tarsel::Proc
