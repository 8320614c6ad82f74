#include "Tools/Tarsel/Console/ProgressLine.h"

#include "Tools/Tarsel/Console/Console.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string_view>

namespace Tarsel::Tools {
namespace {

constexpr std::size_t s_minBar = 10;
constexpr std::size_t s_maxBar = 40;

std::string RenderBar(double done, std::size_t width) {
    auto const filled = static_cast<std::size_t>(done * static_cast<double>(width));
    return '[' + std::string(filled, '#') + std::string(width - filled, '.') + ']';
}

std::string Join(std::initializer_list<std::string_view> parts) {
    std::string line;
    for (std::string_view const part : parts) {
        if (!line.empty() && !part.empty())
            line += "  ";
        line += part;
    }
    return line;
}

std::string FindFitting(std::initializer_list<std::string> lines, std::size_t room) {
    for (std::string const& line : lines)
        if (line.size() <= room)
            return line;
    return {};
}

} // namespace

std::string FormatDuration(double seconds) {
    // Beyond this a number of seconds has no meaning any more, and no integer to hold it.
    constexpr double longest = 1e9;
    if (!(seconds >= 0 && seconds <= longest))
        return {};
    auto const total = std::llround(seconds);
    auto const hours = total / 3600;
    auto const minutes = total / 60 % 60;
    if (hours > 0)
        return fmt::format("{}:{:02}:{:02}", hours, minutes, total % 60);
    return fmt::format("{}:{:02}", minutes, total % 60);
}

namespace {

struct ProgressTexts {
    std::string percent;
    std::string frames;
    std::string speed;
    std::string left;
};

ProgressTexts DescribeProgress(Media::RunProgress const& progress) {
    bool const hasFrames = progress.frames > 0;
    bool const hasAudio = !hasFrames && progress.audioSeconds > 0;
    std::string const frames = hasFrames  ? fmt::format("{} frames", progress.frames)
                               : hasAudio ? FormatDuration(progress.audioSeconds) + " of audio"
                                          : "";
    std::string const speed = hasFrames ? fmt::format("{:.1f} fps", progress.framesPerSecond) : "";
    if (!(progress.done >= 0))
        return {"", frames, speed, ""};
    std::string const percent = fmt::format("{:3}%", static_cast<int>(std::min(progress.done, 1.0) * 100));
    std::string const duration = FormatDuration(progress.secondsLeft);
    return {percent, frames, speed, duration.empty() ? "" : duration + " left"};
}

ProgressTexts DescribeProgress(FilesProgress const& progress) {
    ProgressTexts texts = DescribeProgress(progress.all);
    texts.frames = fmt::format("{} of {} files", progress.filesDone, progress.files);
    texts.speed.clear();
    return texts;
}

std::string RenderText(ProgressTexts const& texts) {
    return Join({texts.percent, texts.frames, texts.speed, texts.left});
}

std::string RenderLine(ProgressTexts const& texts, double share, int columns) {
    auto const room = static_cast<std::size_t>(std::max(columns, 0));
    auto const& [percent, frames, speed, left] = texts;
    if (percent.empty())
        return FindFitting({Join({frames, speed}), frames}, room);

    double const done = std::min(share, 1.0);
    std::string const all = RenderText(texts);
    // "[...]" and two blanks take four columns beside the bar itself.
    if (all.size() + 4 + s_minBar <= room)
        return Join({RenderBar(done, std::min(s_maxBar, room - all.size() - 4)), all});
    return FindFitting({all, Join({percent, speed, left}), Join({percent, left}), percent}, room);
}

} // namespace

std::string RenderProgressText(Media::RunProgress const& progress) {
    return RenderText(DescribeProgress(progress));
}

std::string RenderProgress(Media::RunProgress const& progress, int columns) {
    return RenderLine(DescribeProgress(progress), progress.done, columns);
}

std::string RenderFilesText(FilesProgress const& progress) {
    return RenderText(DescribeProgress(progress));
}

std::string RenderFiles(FilesProgress const& progress, int columns) {
    return RenderLine(DescribeProgress(progress), progress.all.done, columns);
}

void ShowProgressLine(Console& console, Media::RunProgress const& progress) {
    // The last column stays free: a terminal would go to the next line.
    console.SetStatus(RenderProgress(progress, console.GetColumns() - 1));
}

} // namespace Tarsel::Tools
