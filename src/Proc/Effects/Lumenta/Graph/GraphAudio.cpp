#include "Proc/Effects/Lumenta/Graph/GraphAudio.h"

#include "Conf/AVFormats.h"
#include "Conf/FFmpegFormats.h"
#include "Core/Throw.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Proc {
namespace {

int CountPlanes(AVFrame const& frame) {
    bool const planar = av_sample_fmt_is_planar(Conf::ToAVSampleFormat(frame.format)) != 0;
    return planar ? frame.ch_layout.nb_channels : 1;
}

void CheckFrame(AVFrame const& frame, std::string const& filter) {
    auto const refuse = [&](std::string const& text, Core::Site const& site = Core::Site::Here()) {
        Core::Throw<EffectException>(site, text, TagFilterText(filter));
    };
    int const channels = frame.ch_layout.nb_channels;
    if (channels <= 0)
        refuse("Block has no channels");
    if (frame.nb_samples < 0)
        refuse(fmt::format("Block has {} samples", frame.nb_samples));
    int const planes = CountPlanes(frame);
    std::int64_t const sampleSize = av_get_bytes_per_sample(Conf::ToAVSampleFormat(frame.format));
    std::int64_t const needed = frame.nb_samples * sampleSize * (channels / planes);
    if (frame.linesize[0] < needed)
        refuse(fmt::format("Block has only {} bytes of the {} that its {} samples take", frame.linesize[0],
                           needed, frame.nb_samples));
    if (!std::all_of(frame.extended_data, frame.extended_data + planes,
                     [](std::uint8_t const* plane) { return plane != nullptr; }))
        refuse(fmt::format("Block has samples of only some of its {} channels", channels));
}

} // namespace

AVFrameWrapper MakeSourceFrame(IDataAudio const& data, std::string const& filter) {
    AVFrame const& source = Details::GetAVFrameRef(data.GetAVFrame());
    CheckFrame(source, filter);
    AVFrameWrapper frame(&source);
    frame.SetTime(data.GetTime());
    return frame;
}

SP<IDataAudio> MakeSinkBlock(AVFrame const& frame) {
    SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(GetFrameSampleInfo(frame), frame.nb_samples);
    AVFrame const& copy = *block->GetAVFrame();
    auto const bytes = static_cast<std::size_t>(std::min(copy.linesize[0], frame.linesize[0]));
    for (int plane = 0; plane < CountPlanes(frame); ++plane)
        std::memcpy(copy.extended_data[plane], frame.extended_data[plane], bytes);
    return block;
}

void UpdateFormatBySink(AVFilterContext const* sink, Conf::IFormatCodecAudio& format) {
    if (sink->nb_inputs == 0 || !sink->inputs[0])
        return;
    format.SetSampleInfo(Conf::SampleInfo::Init(
        Conf::SampleFormatTarselFromFFMPEG(av_buffersink_get_format(sink)),
        av_buffersink_get_sample_rate(sink), Conf::TarselFromAVChannelLayout(sink->inputs[0]->ch_layout)));
}

} // namespace Tarsel::Proc
