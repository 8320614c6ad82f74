#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Console/LogFile.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Tools {

class Console;

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
/// on one thread, but for LogLine.
class RunReport {
public:
    /// Takes lines for programs, each with its line feed; may throw Media::OutputException.
    using WriteLine = std::function<void(std::string const&)>;

    /// `isJson`: for programs, from the start on, whatever else the command line says. `write` takes lines
    /// for them; empty: standard output does.
    RunReport(Console& console, bool isJson, WriteLine write = {});

    /// A run begins. `quiet`: no notes for people, and no summary.
    void Begin(ProgressForm form, bool quiet, std::string const& input, std::string const& output);
    LogFile& GetLog() noexcept { return m_log; }

    /// How far pass `pass`, from 0, of `passes` is. May be called often. Media::OutputException.
    void Show(Media::RunProgress const& progress, int pass, int passes);
    /// Ends the progress.
    void AddNotes(std::vector<std::string> const& notes);
    /// The run has succeeded, and its output is there. `times` is JSON, or "".
    void SetResult(std::string const& output, Media::RunResult const& result, std::string const& times);

    /// Last of all where nothing failed. Media::OutputException.
    void End();
    /// Last of all where something did, with what people are told.
    void Fail(int exitCode, std::string const& message);

private:
    struct Outcome {
        std::string output;
        Media::RunResult result;
        std::string times;
    };

    void EndForPrograms(Outcome const& outcome) const;
    Media::RunProgress MakeSteady(Media::RunProgress progress, int pass, int passes);

    using Clock = std::chrono::steady_clock;

    Console& m_console;
    WriteLine m_write;
    LogFile m_log;
    bool m_isJson;
    ProgressForm m_form = ProgressForm::None;
    bool m_quiet = false;
    double m_done = -1;
    Clock::time_point m_shown = Clock::now();
    std::vector<std::string> m_notes;
    std::optional<Outcome> m_outcome;
};

/// "out.mp4: 50 frames (libx264), 1.2 MB in 0.8 s, 62.5 fps".
std::string Summarize(Media::RunResult const& result, std::string const& output);

} // namespace Tarsel::Tools
