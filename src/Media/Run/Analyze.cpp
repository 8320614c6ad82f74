#include "Media/Analyze.h"

#include "Core/Stopwatch.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Base/Stopped.h"
#include "Media/Container/StreamSelector.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/SpanFinder.h"
#include "Media/Read/VideoSource.h"
#include "Media/Run/Pipeline.h"
#include "Media/Run/ProgressMeter.h"
#include "Media/Run/StageTimes.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

extern "C" {
#include <libavutil/common.h>
}

namespace Tarsel::Media {
namespace {

AnalyzeResult AnalyzeAll(AnalyzeOptions const& options, std::stop_source const& stop) {
    CheckInputPath(options.input.GetName());
    StageTimes times;
    CheckRange(options.range);
    auto demuxer = std::make_unique<Demuxer>(options.input, stop.get_token(), options.imageRate);
    Choose(options.streams, *demuxer);
    Span const span = FindSpan(options.range, *demuxer, stop.get_token());
    VideoSource source(std::move(demuxer), stop.get_token(), span);
    source.GetDemuxer().ForgetRead();
    source.FitFrames(options.onResize == OnResize::Scale);
    auto const chain = options.makeVideoEffects(source.GetInfo());
    if (chain == nullptr)
        Core::Throw<OptionsException>("Give a chain to analyze the video with");

    ProgressMeter progress;
    progress.SetSpan(source.GetDemuxer().GetStart(), source.GetDemuxer().GetDuration(), span);
    auto const report = [&] {
        if (options.onProgress)
            options.onProgress(progress.Get());
    };
    auto const dropAll = [&] {
        while (chain->Take()) {
        }
    };
    Pipeline pipeline(stop, report);
    auto const decoded = pipeline.AddStage<SP<Proc::IDataVideo>>(
        [&](SP<Proc::IDataVideo> const& picture) {
            std::int64_t const end = av_sat_add64(picture->GetTime(), picture->GetDuration());
            Core::Stopwatch const watch(times.effects);
            chain->Feed(picture);
            dropAll();
            progress.Add(end);
            times.Leave();
        },
        [&] {
            Core::Stopwatch const watch(times.effects);
            chain->End();
            dropAll();
        });
    pipeline.Run([&] {
        auto const next = [&] {
            Core::Stopwatch const watch(times.reading);
            return source.Next();
        };
        while (auto frame = next()) {
            times.Enter();
            decoded.give(std::move(frame->data));
        }
        decoded.close();
    });
    report();
    return {progress.GetFrames(), times.Get()};
}

} // namespace

AnalyzeResult Analyze(AnalyzeOptions const& options, std::stop_token stop) {
    std::stop_source own;
    std::stop_callback const forward(stop, [&own] { own.request_stop(); });
    try {
        return AnalyzeAll(options, own);
    } catch (Stopped const&) {
        Core::Throw<InterruptedException>(
            fmt::format("Interrupted: {} was not analyzed to its end", Quote(options.input.GetName())));
    }
}

} // namespace Tarsel::Media
