// The quantizer beside others on the same picture, 255 colors, with and without dither; "peer_x" tells how
// many times as fast as the other it was. FFmpeg's filters and libimagequant (which pngquant runs) are called
// as libraries, and of libimagequant only the calling thread counts, which is in its favor; of ImageMagick's
// program the time without quantizing is taken off.

#include "BestTime.h"
#include "QuantizerRun.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/log.h>
}

#ifdef HAVE_IMAGEQUANT
#include <libimagequant.h>
#endif

namespace Tarsel::Proc {
namespace {

/// `peer` quantizes the run's picture and returns the seconds that it took, nothing when it cannot be had.
template <class Peer>
void Beside(benchmark::State& state, bool dither, Peer const& peer) {
    QuantizerRun run(PictureKind::Photo, 9);
    BestTime own;
    double other = std::numeric_limits<double>::max();
    for (auto _ : state) {
        own.Time([&] { run.Quantize(dither); });
        std::optional<double> const seconds = peer(run);
        if (!seconds) {
            state.SkipWithError("not here");
            break;
        }
        other = std::min(other, *seconds);
        state.SetIterationTime(other);
    }
    state.counters["own_ms"] = 1e3 * own.Get();
    state.counters["peer_x"] = other / own.Get();
}

struct FreeGraph {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};

void FFmpeg(benchmark::State& state, bool dither) {
    std::string const text = "buffer@in=video_size=" + std::to_string(s_width) + "x" +
                             std::to_string(s_height) +
                             ":pix_fmt=bgra:time_base=1/25,split[a][b];[a]palettegen=max_colors=256[p];"
                             "[b][p]paletteuse=dither=" +
                             (dither ? "floyd_steinberg" : "none") + ",buffersink@out";
    Beside(state, dither, [&](QuantizerRun const& run) -> std::optional<double> {
        std::unique_ptr<AVFilterGraph, FreeGraph> const graph(avfilter_graph_alloc());
        graph->nb_threads = 1;
        av_log_set_level(AV_LOG_ERROR);
        AVFilterInOut* inputs = nullptr;
        AVFilterInOut* outputs = nullptr;
        bool const isBuilt = avfilter_graph_parse2(graph.get(), text.c_str(), &inputs, &outputs) >= 0 &&
                             avfilter_graph_config(graph.get(), nullptr) >= 0;
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
        if (!isBuilt)
            return std::nullopt;
        SafeFrame frame({}, Conf::PixFmt::BGRA, s_width, s_height, 1, 1);
        for (std::size_t y = 0; y < s_height; ++y)
            for (std::size_t x = 0; x < s_width; ++x) {
                std::uint8_t const* const from = run.picture.data() + 4 * (s_width * y + x);
                std::uint8_t* const to =
                    frame->data[0] + frame->linesize[0] * static_cast<std::ptrdiff_t>(y) + 4 * x;
                std::reverse_copy(from, from + 3, to);
                to[3] = from[3];
            }
        SafeFrame result;
        AVFilterContext* const source = avfilter_graph_get_filter(graph.get(), "buffer@in");
        AVFilterContext* const sink = avfilter_graph_get_filter(graph.get(), "buffersink@out");
        bool isDone = false;
        BestTime time;
        time.Time([&] {
            isDone = av_buffersrc_add_frame(source, frame.Get()) >= 0 &&
                     av_buffersrc_add_frame(source, nullptr) >= 0 &&
                     av_buffersink_get_frame(sink, result.Get()) >= 0;
        });
        return isDone ? std::optional(time.Get()) : std::nullopt;
    });
}

#ifdef HAVE_IMAGEQUANT

struct FreeQuantizer {
    void operator()(liq_attr* attributes) const { liq_attr_destroy(attributes); }
    void operator()(liq_image* image) const { liq_image_destroy(image); }
    void operator()(liq_result* result) const { liq_result_destroy(result); }
};

void Imagequant(benchmark::State& state, bool dither) {
    std::vector<std::uint8_t> indices(std::size_t{s_width} * s_height);
    Beside(state, dither, [&](QuantizerRun const& run) -> std::optional<double> {
        bool isDone = false;
        BestTime time;
        time.Time([&] {
            std::unique_ptr<liq_attr, FreeQuantizer> const attributes(liq_attr_create());
            liq_set_speed(attributes.get(), 10);
            liq_set_max_colors(attributes.get(), s_colors);
            std::unique_ptr<liq_image, FreeQuantizer> const image(
                liq_image_create_rgba(attributes.get(), run.picture.data(), s_width, s_height, 0));
            liq_result* made = nullptr;
            if (liq_image_quantize(image.get(), attributes.get(), &made) != LIQ_OK)
                return;
            std::unique_ptr<liq_result, FreeQuantizer> const result(made);
            liq_set_dithering_level(made, dither ? 1.0F : 0.0F);
            isDone = liq_write_remapped_image(made, image.get(), indices.data(), indices.size()) == LIQ_OK &&
                     liq_get_palette(made) != nullptr;
        });
        return isDone ? std::optional(time.Get()) : std::nullopt;
    });
}

#endif

/// A file that goes with its object.
class TemporaryFile {
public:
    explicit TemporaryFile(std::vector<std::uint8_t> const& content) {
        int const file = mkstemp(m_name.data());
        if (file < 0)
            throw std::runtime_error("no temporary file");
        close(file);
        std::ofstream(m_name, std::ios::binary)
            .write(reinterpret_cast<char const*>(content.data()),
                   static_cast<std::streamsize>(content.size()));
    }
    ~TemporaryFile() { unlink(m_name.c_str()); }
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    std::string const& Name() const { return m_name; }

private:
    std::string m_name = std::string(P_tmpdir) + "/bench-XXXXXX";
};

/// Of the processor; nothing when the command fails.
std::optional<double> TimeCommand(std::string const& command) {
    auto const now = [] {
        rusage usage{};
        getrusage(RUSAGE_CHILDREN, &usage);
        return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
    };
    double const start = now();
    if (std::system(command.c_str()) != 0)
        return std::nullopt;
    return now() - start;
}

void ImageMagick(benchmark::State& state, bool dither) {
    TemporaryFile const file(QuantizerRun(PictureKind::Photo, 9).picture);
    std::string const read = "MAGICK_THREAD_LIMIT=1 convert -size " + std::to_string(s_width) + "x" +
                             std::to_string(s_height) + " -depth 8 rgba:" + file.Name();
    std::string const quantize = dither ? " -dither FloydSteinberg -colors 255" : " -dither None -colors 255";
    std::string const end = " null: 2>/dev/null";
    Beside(state, dither, [&](QuantizerRun const&) -> std::optional<double> {
        std::optional<double> const without = TimeCommand(read + end);
        std::optional<double> const with = TimeCommand(read + quantize + end);
        return without && with ? std::optional(*with - *without) : std::nullopt;
    });
}

BENCHMARK_CAPTURE(FFmpeg, plain, false)->Apply(SetTurns);
BENCHMARK_CAPTURE(FFmpeg, dithered, true)->Apply(SetTurns);
#ifdef HAVE_IMAGEQUANT
BENCHMARK_CAPTURE(Imagequant, plain, false)->Apply(SetTurns);
BENCHMARK_CAPTURE(Imagequant, dithered, true)->Apply(SetTurns);
#endif
BENCHMARK_CAPTURE(ImageMagick, plain, false)->Apply(SetTurns);
BENCHMARK_CAPTURE(ImageMagick, dithered, true)->Apply(SetTurns);

} // namespace
} // namespace Tarsel::Proc
