#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Console/HeardErrors.h"
#include "Tools/Tarsel/Console/LogFile.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarsel::Tools {

class Console;
struct FilesProgress;

/// How a run tells how far it is.
enum class ProgressForm : std::uint8_t { Bar, Plain, Json, None };

struct ProgressWord {
    std::string_view word;
    ProgressForm form;
};

/// As `--progress` takes them.
constexpr std::array<ProgressWord, 4> s_progressWords{{{"bar", ProgressForm::Bar},
                                                       {"plain", ProgressForm::Plain},
                                                       {"json", ProgressForm::Json},
                                                       {"none", ProgressForm::None}}};

/// What a run tells while it goes on and when it is over: for people on the console, or for programs on
/// standard output, a JSON object a line, each of them written at once (Schemas/progress.schema.json). Called
/// on one thread, but for what GetLog and GetErrors give.
class RunReport {
public:
    /// Takes lines for programs, each with its line feed; may throw Media::OutputException.
    using WriteLine = std::function<void(std::string const&)>;

    /// `isJson`: for programs, from the start on, whatever else the command line says. `write` takes lines
    /// for them; empty: standard output does.
    RunReport(Console& console, bool isJson, WriteLine write = {});

    /// A run begins. `quiet`: no notes for people, and no summary.
    void Begin(ProgressForm form, bool quiet, std::string const& input, std::string const& output);
    /// A run of several files, into a folder.
    void BeginFiles(ProgressForm form, bool quiet, std::size_t files, std::string const& folder);
    LogFile& GetLog() noexcept { return m_log; }
    /// Of those that are read.
    HeardErrors& GetErrors() noexcept { return m_errors; }

    /// How far pass `pass`, from 0, of `passes` is. May be called often. Media::OutputException.
    void Show(Media::RunProgress const& progress, int pass, int passes);
    /// The same of several files.
    void Show(FilesProgress const& progress);
    /// For programs, at once. Media::OutputException.
    void Tell(nlohmann::ordered_json const& line) const;
    /// Ends the progress.
    void AddNotes(std::vector<std::string> const& notes);
    /// The run has succeeded, and its output is there. `times` is JSON, or "".
    void SetResult(std::string const& output, Media::RunResult const& result, std::string const& times);
    /// The same of what is told in other words: a line for programs, to which the notes are added, and one
    /// for people.
    void SetResult(nlohmann::ordered_json result, std::string summary);

    /// Last of all where nothing failed. Media::OutputException.
    void End();
    /// Last of all where something did, with what people are told.
    void Fail(int exitCode, std::string const& message);

private:
    void Begin(ProgressForm form, bool quiet, std::string const& logged, nlohmann::ordered_json const& start);
    Media::RunProgress MakeSteady(Media::RunProgress progress, int pass, int passes);
    /// For people; `renderLine` takes the columns that there are.
    void ShowText(std::function<std::string(int)> const& renderLine,
                  std::function<std::string()> const& render);

    using Clock = std::chrono::steady_clock;

    Console& m_console;
    WriteLine m_write;
    LogFile m_log;
    HeardErrors m_errors;
    bool m_isJson;
    ProgressForm m_form = ProgressForm::None;
    bool m_quiet = false;
    double m_done = -1;
    Clock::time_point m_shown = Clock::now();
    std::vector<std::string> m_notes;
    /// For programs, without the notes; null: there is none.
    nlohmann::ordered_json m_result;
    std::string m_summary;
};

/// What became of a run, for programs: "frames", "audio_seconds" and so on, without its notes.
nlohmann::ordered_json ToJson(Media::RunResult const& result);

/// "912 bytes", "1.2 MB".
std::string FormatSize(std::int64_t bytes);

/// "out.mp4: 50 frames (libx264), 1.2 MB in 0.8 s, 62.5 fps".
std::string Summarize(Media::RunResult const& result, std::string const& output);

} // namespace Tarsel::Tools
