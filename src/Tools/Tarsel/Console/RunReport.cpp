#include "Tools/Tarsel/Console/RunReport.h"

#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/Json.h"
#include "Tools/Tarsel/Console/PlanText.h"
#include "Tools/Tarsel/Console/ProgressLine.h"
#include "Tools/Tarsel/Console/StandardStreams.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

/// Of the lines for programs: raised when a member changes its meaning or goes, not when one is added.
constexpr int s_progressVersion = 1;

std::string ToLine(Json const& line) {
    // A path need not be UTF-8.
    return line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// Null for what is not known.
Json KnownToJson(double value) {
    return std::isfinite(value) && value >= 0 ? Json(value) : Json(nullptr);
}

Json ToJson(Media::RunProgress const& progress, int pass, int passes) {
    return {{"type", "progress"},
            {"done", KnownToJson(progress.done)},
            {"frames", progress.frames},
            {"fps", KnownToJson(progress.framesPerSecond)},
            {"audio_seconds", KnownToJson(progress.audioSeconds)},
            {"seconds_left", KnownToJson(progress.secondsLeft)},
            {"pass", pass + 1},
            {"passes", passes}};
}

/// "2.0 s of audio (flac, copied)": each encoder once.
std::string SummarizeAudio(Media::RunResult const& result) {
    std::vector<std::string> encoders;
    for (std::string const& name : result.audioEncoders)
        if (std::string const shown = name.empty() ? "copied" : name;
            std::ranges::count(encoders, shown) == 0)
            encoders.push_back(shown);
    return fmt::format("{:.1f} s of audio ({})", result.audioSeconds, fmt::join(encoders, ", "));
}

/// The progress of one pass as that of all. The passes that are still to come are taken to need as long.
Media::RunProgress OfAll(Media::RunProgress progress, int pass, int passes) {
    if (!(progress.done >= 0) || passes == 1)
        return progress;
    double const share = 1.0 / passes;
    double const passLasts =
        progress.done < 1 && progress.secondsLeft >= 0 ? progress.secondsLeft / (1 - progress.done)
        : progress.framesPerSecond > 0 ? static_cast<double>(progress.frames) / progress.framesPerSecond
                                       : 0;
    if (progress.secondsLeft >= 0)
        progress.secondsLeft += passLasts * (passes - 1 - pass);
    progress.done = std::min(progress.done, 1.0) * share + pass * share;
    return progress;
}

} // namespace

std::string FormatSize(std::int64_t bytes) {
    constexpr double thousand = 1000;
    auto const size = static_cast<double>(bytes);
    if (size < thousand)
        return fmt::format("{} bytes", bytes);
    if (size < thousand * thousand)
        return fmt::format("{:.1f} kB", size / thousand);
    return size < thousand * thousand * thousand
               ? fmt::format("{:.1f} MB", size / (thousand * thousand))
               : fmt::format("{:.2f} GB", size / (thousand * thousand * thousand));
}

std::string Summarize(Media::RunResult const& result, std::string const& output) {
    auto const rate = [&](double count) { return result.seconds > 0 ? count / result.seconds : 0; };
    std::string const size = FormatSize(result.bytes);
    if (result.framesOut == 0 && result.audioSeconds > 0)
        return fmt::format("{}: {}, {} in {:.1f} s, {:.1f}x real time", output, SummarizeAudio(result), size,
                           result.seconds, rate(result.audioSeconds));
    bool const worksOnAudio =
        std::ranges::any_of(result.audioEncoders, [](std::string const& name) { return !name.empty(); });
    std::string const encoder = result.videoEncoder.empty() ? "copied" : result.videoEncoder;
    return fmt::format("{}: {} frames ({}){}, {} in {:.1f} s, {:.1f} fps", output, result.framesOut, encoder,
                       worksOnAudio ? ", " + SummarizeAudio(result) : "", size, result.seconds,
                       rate(static_cast<double>(result.framesOut)));
}

RunReport::RunReport(Console& console, bool isJson, WriteLine write)
    : m_console(console), m_write(write ? std::move(write) : WriteOutput), m_isJson(isJson) {}

void RunReport::Begin(ProgressForm form, bool quiet, std::string const& input, std::string const& output) {
    Begin(form, quiet, fmt::format("\"{}\" to \"{}\"", input, output),
          {{"type", "start"}, {"version", s_progressVersion}, {"input", input}, {"output", output}});
}

void RunReport::BeginFiles(ProgressForm form, bool quiet, std::size_t files, std::string const& folder) {
    Begin(form, quiet, fmt::format("{} files to \"{}\"", files, folder),
          {{"type", "start"}, {"version", s_progressVersion}, {"files", files}, {"output", folder}});
}

void RunReport::Begin(ProgressForm form, bool quiet, std::string const& logged, Json const& start) {
    m_form = quiet && form != ProgressForm::Json ? ProgressForm::None : form;
    m_quiet = quiet;
    m_log.Write("tarsel", "Started: " + logged);
    Tell(start);
}

void RunReport::Tell(Json const& line) const {
    if (m_form == ProgressForm::Json)
        m_write(ToLine(line));
}

/// Of all passes, and never less than before; not all while the output is not complete.
Media::RunProgress RunReport::MakeSteady(Media::RunProgress progress, int pass, int passes) {
    constexpr double most = 0.99;
    progress = OfAll(progress, pass, passes);
    if (progress.done >= 0)
        m_done = progress.done = std::clamp(progress.done, std::clamp(m_done, 0.0, most), most);
    return progress;
}

void RunReport::Show(Media::RunProgress const& progress, int pass, int passes) {
    Media::RunProgress const steady = MakeSteady(progress, pass, passes);
    if (m_form == ProgressForm::Json)
        Tell(ToJson(steady, pass, passes));
    ShowText([&](int columns) { return RenderProgress(steady, columns); },
             [&] { return RenderProgressText(steady); });
}

void RunReport::Show(FilesProgress const& progress) {
    if (m_form == ProgressForm::Json) {
        Json line = ToJson(progress.all, 0, 1);
        line["files"] = progress.files;
        line["files_done"] = progress.filesDone;
        Tell(line);
    }
    ShowText([&](int columns) { return RenderFiles(progress, columns); },
             [&] { return RenderFilesText(progress); });
}

void RunReport::ShowText(std::function<std::string(int)> const& renderLine,
                         std::function<std::string()> const& render) {
    if (m_form == ProgressForm::Bar) {
        // The last column stays free: a terminal would go to the next line.
        m_console.SetStatus(renderLine(m_console.GetColumns() - 1));
        return;
    }
    constexpr std::chrono::seconds pause(1);
    Clock::time_point const now = Clock::now();
    if (m_form != ProgressForm::Plain || now - m_shown < pause)
        return;
    std::string const text = render();
    if (text.empty())
        return;
    m_shown = now;
    m_console.Print("tarsel: " + text.substr(text.find_first_not_of(' ')));
}

void RunReport::AddNotes(std::vector<std::string> const& notes) {
    m_console.SetStatus({});
    for (std::string const& note : notes)
        if (!note.empty())
            m_notes.push_back(MakeSentence(note));
}

void RunReport::SetResult(std::string const& output, Media::RunResult const& result,
                          std::string const& times) {
    AddNotes(result.notes);
    Json line{{"type", "result"}, {"output", output}};
    line.update(ToJson(result));
    if (!times.empty())
        line["times"] = Json::parse(times);
    SetResult(std::move(line), Summarize(result, output));
}

void RunReport::SetResult(Json result, std::string summary) {
    m_result = std::move(result);
    m_summary = std::move(summary);
}

void RunReport::End() {
    m_console.SetStatus({});
    if (std::string const note = m_log.GetNote(); !note.empty())
        m_notes.push_back(note);
    for (std::string const& note : m_notes)
        m_log.Write("tarsel", note);
    m_log.Write("tarsel", "Done");
    if (!m_result.is_null() && m_form == ProgressForm::Json) {
        m_result["notes"] = m_notes;
        Tell(m_result);
        return;
    }
    if (!m_quiet)
        m_console.PrintNotes(m_notes);
    bool const shows =
        m_form == ProgressForm::Plain || (m_form == ProgressForm::Bar && m_console.IsTerminal());
    if (shows && !m_summary.empty())
        m_console.Print(m_summary);
}

nlohmann::ordered_json ToJson(Media::RunResult const& result) {
    Json audio = Json::array();
    for (std::string const& encoder : result.audioEncoders)
        audio.push_back(OrNull(encoder));
    Json streams = Json::array();
    for (Media::StreamPlan const& stream : result.plan.streams)
        streams.push_back(ToJson(stream));
    return {{"frames", result.framesOut},
            {"audio_seconds", KnownToJson(result.audioSeconds)},
            {"seconds", KnownToJson(result.seconds)},
            {"bytes", result.bytes},
            {"video_encoder", OrNull(result.videoEncoder)},
            {"audio_encoders", std::move(audio)},
            {"streams", std::move(streams)}};
}

void RunReport::Fail(int exitCode, std::string const& message) {
    m_log.Write("tarsel", "Failed: " + message);
    if (m_isJson)
        m_write(ToLine({{"type", "error"}, {"exit_code", exitCode}, {"message", message}}));
}

} // namespace Tarsel::Tools
