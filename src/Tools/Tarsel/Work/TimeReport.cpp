#include "Tools/Tarsel/Work/TimeReport.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

struct Row {
    std::string label;
    double seconds;
};

double ToSeconds(std::chrono::nanoseconds time) noexcept {
    return std::chrono::duration<double>(time).count();
}

std::vector<Row> ListRows(TimeReport const& report) {
    std::vector<Row> rows{{"reading", report.times.reading}};
    for (Host::StepTime const& step : report.steps) {
        rows.push_back({step.label, ToSeconds(step.work)});
        if (step.converted > 0)
            rows.push_back(
                {fmt::format("  {} conversions for it", step.converted), ToSeconds(step.conversion)});
    }
    double audio = report.times.audio;
    for (Host::StepTime const& step : report.audioSteps) {
        rows.push_back({step.label, ToSeconds(step.work)});
        audio -= ToSeconds(step.work);
    }
    if (report.times.audio > 0)
        rows.push_back({"decoding and encoding audio", std::max(audio, 0.0)});
    if (report.writes)
        rows.push_back({report.frames > 0 ? "encoding and writing" : "writing", report.times.writing});
    return rows;
}

/// By Amdahl's law, with all else as in this run.
double Foretell(TimeReport const& report, double serialShare, int threads) noexcept {
    return report.times.processor * (serialShare + (1 - serialShare) / threads);
}

} // namespace

std::optional<double> FindSerialShare(TimeReport const& report) noexcept {
    if (report.threads < 2 || report.times.processor <= 0)
        return std::nullopt;
    double const threads = report.threads;
    double const slowness = report.times.wall / report.times.processor; // 1 / threads at best
    return std::clamp((threads * slowness - 1) / (threads - 1), 0.0, 1.0);
}

std::string FormatTimes(TimeReport const& report) {
    constexpr double milli = 1000;
    constexpr double hundred = 100;
    constexpr double mebi = 1024.0 * 1024;
    std::vector<Row> const rows = ListRows(report);
    double sum = 0;
    std::size_t width = 0;
    for (Row const& row : rows) {
        sum += row.seconds;
        width = std::max(width, row.label.size());
    }
    bool const hasFrames = report.frames > 0;
    double const unit = hasFrames ? milli / static_cast<double>(report.frames) : 1;
    std::string text =
        fmt::format("{:{}}  {:>10}   share\n", "", width, hasFrames ? "ms a frame" : "seconds");
    for (Row const& row : rows)
        text += fmt::format("{:{}}  {:10.2f}  {:4.0f} %\n", row.label, width, unit * row.seconds,
                            sum > 0 ? hundred * row.seconds / sum : 0);
    Media::RunTimes const& times = report.times;
    text += fmt::format("{}{:.2f} s, {:.2f} s of processor time: {:.1f} of {} threads busy.\n",
                        hasFrames ? fmt::format("{} frames in ", report.frames) : "", times.wall,
                        times.processor, times.wall > 0 ? times.processor / times.wall : 0, report.threads);
    text += fmt::format("{}{:.0f} MiB of memory.\n",
                        hasFrames ? fmt::format("Up to {} frames in flight, ", times.mostInFlight) : "",
                        static_cast<double>(times.peakMemory) / mebi);
    if (auto const share = FindSerialShare(report))
        text += fmt::format(
            "As if {:.0f} % of the work ran on one thread alone: {} threads would take {:.2f} s.\n",
            hundred * *share, 2 * report.threads, Foretell(report, *share, 2 * report.threads));
    return text;
}

std::string TimesToJson(TimeReport const& report) {
    Json json{{"frames", report.frames},
              {"threads", report.threads},
              {"wall", report.times.wall},
              {"processor", report.times.processor},
              {"mostInFlight", report.times.mostInFlight},
              {"peakMemory", report.times.peakMemory},
              {"reading", report.times.reading},
              {"steps", Json::array()}};
    for (Host::StepTime const& step : report.steps)
        json["steps"].push_back({{"label", step.label},
                                 {"count", step.count},
                                 {"work", ToSeconds(step.work)},
                                 {"converted", step.converted},
                                 {"conversion", ToSeconds(step.conversion)}});
    if (report.writes)
        json["writing"] = report.times.writing;
    if (auto const share = FindSerialShare(report))
        json["serialShare"] = *share;
    return json.dump(2) + '\n';
}

} // namespace Tarsel::Tools
