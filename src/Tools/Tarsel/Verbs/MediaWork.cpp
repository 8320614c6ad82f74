#include "Tools/Tarsel/Verbs/MediaWork.h"

#include "Core/ThreadBudget.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ProgressLine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace Tarsel::Tools {
namespace {

/// "2.0 s of audio (flac, copied)": each encoder once.
std::string SummarizeAudio(Media::RunResult const& result) {
    std::vector<std::string> encoders;
    for (std::string const& name : result.audioEncoders)
        if (std::string const shown = name.empty() ? "copied" : name;
            std::ranges::count(encoders, shown) == 0)
            encoders.push_back(shown);
    return fmt::format("{:.1f} s of audio ({})", result.audioSeconds, fmt::join(encoders, ", "));
}

std::string Summarize(Media::RunResult const& result, std::string const& output) {
    auto const rate = [&](double count) { return result.seconds > 0 ? count / result.seconds : 0; };
    if (result.framesOut == 0 && result.audioSeconds > 0)
        return fmt::format("{}: {} in {:.1f} s, {:.1f}x real time", output, SummarizeAudio(result),
                           result.seconds, rate(result.audioSeconds));
    bool const worksOnAudio =
        std::ranges::any_of(result.audioEncoders, [](std::string const& name) { return !name.empty(); });
    std::string const encoder = result.videoEncoder.empty() ? "copied" : result.videoEncoder;
    return fmt::format("{}: {} frames ({}){} in {:.1f} s, {:.1f} fps", output, result.framesOut, encoder,
                       worksOnAudio ? ", " + SummarizeAudio(result) : "", result.seconds,
                       rate(static_cast<double>(result.framesOut)));
}

/// The progress of one pass as that of all. The passes that are still to come are taken to need as long.
Media::RunProgress OfAll(Media::RunProgress progress, int pass, int passes) {
    if (progress.done < 0 || passes == 1)
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

MediaWork::MediaWork(MediaArguments const& arguments, Context const& context)
    : m_arguments(arguments), m_context(context),
      m_showsProgress(context.console.IsTerminal() && !arguments.quiet) {
    if (arguments.threads)
        Core::ThreadBudget::Set(*arguments.threads);
}

std::function<void(Media::RunProgress const&)> MediaWork::ShowProgress(int pass, int passes) const {
    if (!m_showsProgress)
        return {};
    return [&console = m_context.console, pass, passes](Media::RunProgress const& progress) {
        ShowProgressLine(console, OfAll(progress, pass, passes));
    };
}

void MediaWork::Tell(Media::RunResult const& result, std::vector<std::string> const& notes) const {
    Console& console = m_context.console;
    console.SetStatus({});
    if (m_arguments.quiet)
        return;
    console.PrintNotes(result.notes);
    console.PrintNotes(notes);
    if (m_showsProgress)
        console.Print(Summarize(result, m_arguments.output));
}

} // namespace Tarsel::Tools
