#include "Media/Analyse.h"

#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Media/MessageText.h"
#include "Media/Paths.h"
#include "Media/Pipeline.h"
#include "Media/Progress.h"
#include "Media/Source.h"
#include "Media/Stopped.h"

#include <fmt/format.h>

#include <utility>

extern "C" {
#include <libavutil/common.h>
}

namespace Tarsel::Media {
namespace {

constexpr char const* s_signature =
    "std::int64_t Tarsel::Media::Analyse(const AnalyseOptions &, std::stop_token)";

std::int64_t AnalyseAll(AnalyseOptions const& options, std::stop_source const& stop) {
    CheckInputPath(options.input);
    Source source(options.input, stop.get_token());
    auto const lane = options.makeVideoLane(source.GetInfo());
    if (lane == nullptr)
        Core::Throw<OptionsException>({"Media/Analyse", s_signature},
                                      "There is nothing to analyse the pictures with");

    Progress progress;
    progress.SetSpan(source.GetDemuxer().GetStart(), source.GetDemuxer().GetDuration());
    auto const report = [&] {
        if (options.onProgress)
            options.onProgress(progress.Get());
    };
    auto const dropAll = [&] {
        while (lane->Take()) {
        }
    };
    Pipeline pipeline(stop, report);
    auto const decoded = pipeline.AddStage<SP<Proc::IDataVideo>>(
        [&](SP<Proc::IDataVideo> const& picture) {
            std::int64_t const end = av_sat_add64(picture->GetTime(), picture->GetDuration());
            lane->Feed(picture);
            dropAll();
            progress.Add(end);
        },
        [&] {
            lane->End();
            dropAll();
        });
    pipeline.Run([&] {
        while (auto frame = source.Next())
            decoded.give(std::move(frame->data));
        decoded.close();
    });
    report();
    return progress.GetFrames();
}

} // namespace

std::int64_t Analyse(AnalyseOptions const& options, std::stop_token stop) {
    std::stop_source own;
    std::stop_callback const forward(stop, [&own] { own.request_stop(); });
    try {
        return AnalyseAll(options, own);
    } catch (Stopped const&) {
        Core::Throw<InterruptedException>(
            {"Media/Analyse", s_signature},
            fmt::format("{} was not looked at to its end: the run was stopped", Quote(options.input)));
    }
}

} // namespace Tarsel::Media
