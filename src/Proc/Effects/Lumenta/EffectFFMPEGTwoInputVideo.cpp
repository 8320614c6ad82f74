#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo.h"

#include "Conf/AVFormats.h"
#include "Core/Throw.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Effects/Lumenta/Graph/FilterError.h"
#include "Proc/Effects/Lumenta/Graph/GraphInput.h"
#include "Proc/Effects/Lumenta/Graph/GraphOwners.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/AVFrameWrapper.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <cstdint>
#include <utility>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

constexpr char const* s_pairFile = "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo";
constexpr char const* s_processingFailed = "Cannot process graph";
constexpr Ratio s_noRate{0, 1};

/// `filter` is what FFmpeg was given.
void CheckPairResult(int result, std::string const& filter) {
    if (result < 0)
        ThrowFilterErrorOrMemory({s_pairFile, "void Tarsel::Proc::(anonymous namespace)::CheckResult(int)"},
                                 s_processingFailed, result, {filter, {}});
}

std::string MakePairText(std::string const& description, std::string const& firstArgs,
                         std::string const& secondArgs) {
    return "buffer=" + firstArgs + " [in_1];buffer=" + secondArgs + " [in_2]; [in_1] [in_2] " + description +
           " [result]; [result] buffersink";
}

/// The filter of that name, which libavfilter gave it by its place in the text.
AVFilterContext* FindInstance(AVFilterGraph& graph, char const* name, std::string const& text) {
    AVFilterContext* const filter = avfilter_graph_get_filter(&graph, name);
    if (!filter)
        Core::Throw<EffectException>(
            s_processingFailed, TagFilterText(text),
            TagDetail(fmt::format("there is no {}: the description is not that of one filter", name)));
    return filter;
}

void Feed(AVFilterContext* source, IDataVideo const& data, AVFrame const& frame, std::string const& filter) {
    Conf::FrameInfo const info = data.GetFrameInfo();
    AVFrameWrapper fed = MakeSourceFrame(frame);
    fed.SetSize(info.width, info.height);
    fed.SetTime(data.GetTime());
    CheckPairResult(av_buffersrc_write_frame(source, fed.Get()), filter);
}

} // namespace

EffectFFMPEGTwoInputVideo::EffectFFMPEGTwoInputVideo(std::string const& description,
                                                     std::string const& firstArgs,
                                                     std::string const& secondArgs)
    : m_description(description) {
    std::string const text = MakePairText(description, firstArgs, secondArgs);
    m_graph = MakeFilterGraph(nullptr);
    CheckPairResult(m_graph ? 0 : AVERROR(ENOMEM), text);

    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    int result = avfilter_graph_parse2(m_graph.get(), text.c_str(), &inputs, &outputs);
    UniqueInOut const openInputs(inputs);
    UniqueInOut const openOutputs(outputs);
    CheckPairResult(result, text);
    CheckPairResult(avfilter_graph_config(m_graph.get(), nullptr), text);

    m_firstSource = FindInstance(*m_graph, "Parsed_buffer_0", text);
    m_secondSource = FindInstance(*m_graph, "Parsed_buffer_1", text);
    m_sink = FindInstance(*m_graph, "Parsed_buffersink_3", text);
}

SP<EffectFFMPEGTwoInputVideo> EffectFFMPEGTwoInputVideo::Create(std::string const& description,
                                                                AVPixelFormat pixelFormat,
                                                                Conf::FrameInfo const& first,
                                                                Conf::FrameInfo const& second) {
    auto const makeArgs = [&](Conf::FrameInfo const& info) {
        return MakeVideoSourceArgs(static_cast<Conf::PixFmt>(pixelFormat), info, s_noRate);
    };
    return MakeSP<EffectFFMPEGTwoInputVideo>(description, makeArgs(first), makeArgs(second));
}

SP<EffectFFMPEGTwoInputVideo>
EffectFFMPEGTwoInputVideo::Create(std::string const& description,
                                  SP<Conf::IFormatCodecVideo const> const& format) {
    Conf::FrameInfo const info = format->GetFrameInfo();
    return Create(description, Conf::ToAVPixelFormat(format->GetPixelFormat()), info, info);
}

void EffectFFMPEGTwoInputVideo::Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) {
    if (!data || !second)
        return;
    AVFrame const& first = Details::GetAVFrameRef(std::as_const(*data).GetAVFrame());
    AVFrame const& other = Details::GetAVFrameRef(second->GetAVFrame());
    RequireFrameFor(*m_firstSource, *data, first, "First frame", m_description);
    RequireFrameFor(*m_secondSource, *second, other, "Second frame", m_description);

    m_failed = true; // should it fail
    Feed(m_firstSource, *data, first, m_description);
    Feed(m_secondSource, *second, other, m_description);
    SafeFrame frame;
    int const result = av_buffersink_get_frame(m_sink, frame.Get());
    bool const isHeldBack = result == AVERROR(EAGAIN);
    CheckPairResult(isHeldBack ? 0 : result, m_description);
    m_failed = false;
    if (isHeldBack) {
        data = nullptr;
        return;
    }

    Conf::FrameInfo const stated = GetStatedInfo(*data, first);
    frame->opaque = first.opaque;
    SetFramePixelAspect(*frame, stated.aspectNum, stated.aspectDen);
    if (static_cast<Conf::PixFmt>(frame->format) != data->GetPixelFormat())
        frame = m_conversion.Apply(std::move(frame), first.opaque);
    Conf::FrameInfo const info = GetFrameInfo(*frame);
    SP<IDataVideo> out = MakeSP<DataVideoFF>(std::move(frame), info);
    out->SetTime(data->GetTime());
    out->SetDuration(data->GetDuration());
    data = std::move(out);
}

void EffectFFMPEGTwoInputVideo::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    m_conversion.UpdateFormatCodec(*m_sink, *format);
}

} // namespace Tarsel::Proc
