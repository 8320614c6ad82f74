#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
}

/// What the settings' documentation and emptiness say of FFmpeg's filters, tried on a few frames.
namespace Tarsel::Proc {

namespace {

struct FreeGraph {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};
struct FreeFrame {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

void Check(int result, std::string const& step) {
    if (result < 0)
        throw std::runtime_error(step);
}

/// The bytes of all frames that `filter` makes of a moving test picture of the pixel format.
std::vector<std::uint8_t> Filter(std::string const& filter, std::string const& format) {
    std::unique_ptr<AVFilterGraph, FreeGraph> const graph(avfilter_graph_alloc());
    AVFilterContext* sink = nullptr;
    Check(avfilter_graph_create_filter(&sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
                                       graph.get()),
          "sink");
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    std::string const text =
        "testsrc2=size=64x48:rate=25:duration=0.2,noise=alls=30:all_seed=1,format=" + format + "," + filter +
        ",format=" + format;
    Check(avfilter_graph_parse2(graph.get(), text.c_str(), &inputs, &outputs), text);
    int const linked = avfilter_link(outputs->filter_ctx, 0, sink, 0);
    avfilter_inout_free(&inputs);
    avfilter_inout_free(&outputs);
    Check(linked, text);
    Check(avfilter_graph_config(graph.get(), nullptr), text);

    std::vector<std::uint8_t> bytes;
    std::unique_ptr<AVFrame, FreeFrame> const frame(av_frame_alloc());
    while (av_buffersink_get_frame(sink, frame.get()) >= 0) {
        auto const pixels = static_cast<AVPixelFormat>(frame->format);
        int const size = av_image_get_buffer_size(pixels, frame->width, frame->height, 1);
        std::vector<std::uint8_t> picture(static_cast<std::size_t>(size));
        av_image_copy_to_buffer(picture.data(), size, frame->data, frame->linesize, pixels, frame->width,
                                frame->height, 1);
        bytes.insert(bytes.end(), picture.begin(), picture.end());
        av_frame_unref(frame.get());
    }
    return bytes;
}

struct Fact {
    char const* says;
    char const* filter;
    char const* same;
    char const* format = "yuv420p";
};

TEST(FilterFacts, HoldInThisFFmpeg) {
    for (Fact const& fact : {
             Fact{"hqdn3d derives four zeros", "hqdn3d=0:0:0:0", "hqdn3d=4:3:6:4.5"},
             Fact{"hqdn3d derives zeros from luma", "hqdn3d=8:0:0:0", "hqdn3d=8:6:12:9"},
             Fact{"dctdnoiz has blocks of 8x8 and the most overlap", "dctdnoiz=5", "dctdnoiz=5:n=3:overlap=7",
                  "rgb24"},
             Fact{"owdenoise takes a strength of 1", "owdenoise=8", "owdenoise=8:ls=1:cs=1"},
             Fact{"edgedetect draws wires with these thresholds", "edgedetect",
                  "edgedetect=low=20/255:high=50/255:mode=wires"},
             Fact{"gblur does nothing without horizontal sigma", "gblur=sigma=0:sigmaV=3", "null"},
             Fact{"gblur does nothing without planes", "gblur=sigma=3:planes=0", "null"},
             Fact{"no noise", "noise=alls=0", "null"},
             Fact{"no grain removal", "removegrain=m0=0:m1=0:m2=0:m3=0", "null"},
             Fact{"no smart blur", "smartblur=ls=0:cs=0", "null"},
             Fact{"no border", "pad=iw+0:ih+0:0:0", "null"},
             Fact{"gamma weight alone does nothing", "eq=contrast=1:gamma_weight=0.3", "null"},
             Fact{"neutral colour balance", "colorbalance=", "null", "rgb24"},
             Fact{"identity of the mixer", "colorchannelmixer=1:0:0:0:0:1:0:0:0:0:1:0:0:0:0:1", "null",
                  "rgb24"},
         })
        EXPECT_TRUE(Filter(fact.filter, fact.format) == Filter(fact.same, fact.format)) << fact.says;
    EXPECT_FALSE(Filter("hqdn3d=4:3:6:4.5", "yuv420p") == Filter("null", "yuv420p"));
}

} // namespace

} // namespace Tarsel::Proc
