#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/IFormatCodecVideo.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/Api.h"
#include "Proc/Effects/Lumenta/Graph/OutputConversion.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <memory>
#include <string>

extern "C" {
#include <libavutil/pixfmt.h> // AVPixelFormat, an enumeration that cannot be declared ahead
}

struct AVFilterContext;
struct AVFilterGraph;

namespace Tarsel::Proc {

/// Pairs of frames through one filter that takes two inputs and gives one output. First and second frames are
/// all of the pixel format and of the sizes the graph was built for; others are refused with an
/// EffectException that says which, and nothing is lost. Frames that went in are not changed. What comes out
/// in a pixel format the host cannot take is converted to the nearest that it can. It runs on the caller's
/// thread alone. Not synchronized: the owner serializes calls.
///
/// Filters match frames by their times: for one result of each pair, both of a pair have the same time. Of
/// others the filter may hold any number back.
class LUMENTA_API EffectFFMPEGTwoInputVideo : public Core::RefCounted<Core::IRefCountable> {
public:
    /// Builds the graph for two inputs of one pixel format and these geometries. The description is that of
    /// exactly one filter. Throws EffectException, with FFmpeg's number and words and the graph's text as
    /// tags: "Cannot process graph", and "Not enough memory for filter" (transcoding error code 35).
    static SP<EffectFFMPEGTwoInputVideo> Create(std::string const& description, AVPixelFormat pixelFormat,
                                                Conf::FrameInfo const& first, Conf::FrameInfo const& second);
    /// The same for two inputs of the format described.
    static SP<EffectFFMPEGTwoInputVideo> Create(std::string const& description,
                                                SP<Conf::IFormatCodecVideo const> const& format);
    /// The same by the arguments of both sources.
    EffectFFMPEGTwoInputVideo(std::string const& description, std::string const& firstArgs,
                              std::string const& secondArgs);

    /// Feeds the pair and replaces the first frame by what came out, with its time, duration and pixel
    /// aspect; by null when nothing did. With a null on either side nothing is fed and `data` stays. Throws
    /// EffectException as the constructor, and MemoryException; `data` is as before then.
    void Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second);
    /// Writes the graph's output geometry and pixel format into the format; its rate stays.
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format);

    /// The description the graph was built from.
    std::string const& GetDescription() const noexcept { return m_description; }
    /// Whether the graph failed over a pair. From then on it fails, or pairs what does not belong together:
    /// build another.
    bool HasFailed() const noexcept { return m_failed; }

private:
    std::string m_description;
    std::shared_ptr<AVFilterGraph> m_graph;
    /// Owned by the graph.
    AVFilterContext* m_sink = nullptr;
    AVFilterContext* m_firstSource = nullptr;
    AVFilterContext* m_secondSource = nullptr;
    OutputConversion m_conversion;
    bool m_failed = false;
};

} // namespace Tarsel::Proc
