#include "Tools/Tarsel/Work/AudioWork.h"

#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ProgressLine.h"

#include <fmt/format.h>

#include <algorithm>

namespace Tarsel::Tools {

AudioWork::AudioWork(Context const& context, bool quiet) : m_context(context), m_quiet(quiet) {}

void AudioWork::CheckStop(std::string const& output) const {
    if (m_context.stop.stop_requested())
        Core::Throw<Media::InterruptedException>(fmt::format("Interrupted: \"{}\" was not written", output));
}

void AudioWork::ShowProgress(std::int64_t done, std::int64_t all) {
    constexpr std::chrono::milliseconds pause(100);
    Clock::time_point const now = Clock::now();
    if (m_quiet || !m_context.console.IsTerminal() || now - m_shown < pause)
        return;
    m_shown = now;
    Media::RunProgress progress;
    progress.audioSeconds = static_cast<double>(done) / 1e6;
    if (all > 0) {
        double const share = std::clamp(static_cast<double>(done) / static_cast<double>(all), 0.0, 1.0);
        progress.done = share;
        if (share > 0)
            progress.secondsLeft = std::chrono::duration<double>(now - m_begin).count() * (1 - share) / share;
    }
    ShowProgressLine(m_context.console, progress);
}

void AudioWork::Tell(std::vector<std::string> const& notes) {
    m_context.console.SetStatus({});
    if (m_quiet)
        return;
    m_context.console.PrintNotes(notes);
}

} // namespace Tarsel::Tools
