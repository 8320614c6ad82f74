#include "Tools/Tarsel/Chain/MotionFiles.h"

#include "Core/Files.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Proc/Settings/Stabilize.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <string_view>
#include <system_error>

namespace Tarsel::Tools {
namespace {

namespace fs = std::filesystem;

/// Whether the file is of vid.stab's two forms, or empty; a device or a pipe is not, and might never end.
bool HoldsMotion(fs::path const& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error))
        return false;
    constexpr std::string_view heads[] = {"VID.STAB", "TRF"};
    std::array<char, 8> head{};
    std::ifstream file(path, std::ios::binary);
    file.read(head.data(), head.size());
    std::string_view const read(head.data(), static_cast<std::size_t>(file.gcount()));
    return read.empty() ||
           std::ranges::any_of(heads, [&](std::string_view known) { return read.starts_with(known); });
}

/// The file that the step writes, or reads in the second pass; "" for one that does not.
fs::path GetMotionFile(VideoStep const& step, bool isWritten) {
    auto const* const settings =
        dynamic_cast<Proc::SettingsEffectStabilizer const*>(&step.effect->GetSettingsBase());
    bool const isUsed = settings != nullptr && settings->enabled && settings->detectionPass == isWritten;
    return isUsed ? settings->statisticsPath : std::string();
}

/// What the second pass reads has to be there.
void CheckReadFile(VideoStep const& step) {
    fs::path const path = GetMotionFile(step, false);
    if (path.empty())
        return;
    std::error_code error;
    if (!fs::exists(path, error))
        Core::Throw<Media::InputException>(
            fmt::format("{}: run with detect=1 first, or use \"tarsel stabilize\": there is no file \"{}\" "
                        "with camera motion",
                        step.label, path.string()));
    if (!HoldsMotion(path))
        Core::Throw<Media::InputException>(fmt::format(
            "{}: choose another path: \"{}\" is not a camera motion file", step.label, path.string()));
}

/// Whether two paths lead to the same file, be it there or not.
bool AreSame(fs::path const& a, fs::path const& b) {
    std::error_code error;
    return fs::equivalent(a, b, error) || fs::weakly_canonical(fs::absolute(a, error), error) ==
                                              fs::weakly_canonical(fs::absolute(b, error), error);
}

/// Whether the settings leave the path as it is.
bool HasUsualPath(fs::path const& path) {
    return path == Proc::SettingsEffectStabilizer().statisticsPath;
}

} // namespace

bool WritesMotionFile(VideoStep const& step) {
    return !GetMotionFile(step, true).empty();
}

void CheckMotionFiles(std::vector<VideoStep> const& steps, std::vector<fs::path> const& files) {
    for (VideoStep const& step : steps) {
        CheckReadFile(step);
        fs::path const path = GetMotionFile(step, true);
        if (path.empty())
            continue;
        if (HasUsualPath(path))
            Core::Throw<UsageException>(
                fmt::format("{}: add path=FILE for the camera motion, or use \"tarsel "
                            "stabilize\" for both passes",
                            step.label));
        if (std::ranges::any_of(files, [&](fs::path const& file) { return AreSame(path, file); }))
            Core::Throw<UsageException>(fmt::format(
                "{}: choose another path: \"{}\" is read or written otherwise", step.label, path.string()));
        if (Core::FileExists(path) && !HoldsMotion(path))
            Core::Throw<UsageException>(
                fmt::format("{}: choose another path: \"{}\" exists and is not a camera motion file",
                            step.label, path.string()));
    }
}

void KeepMotionPrivate(std::vector<VideoStep> const& steps, PrivateFolder const& folder) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (!HasUsualPath(GetMotionFile(steps[i], true)))
            continue;
        auto settings =
            dynamic_cast<Proc::SettingsEffectStabilizer const&>(steps[i].effect->GetSettingsBase());
        settings.statisticsPath = (folder.GetPath() / fmt::format("motions-{}.trf", i)).string();
        steps[i].effect->SetSettings(static_cast<Proc::Settings const&>(settings));
    }
}

std::vector<std::string> DescribeMotionFiles(std::vector<VideoStep> const& steps) {
    std::vector<std::string> notes;
    for (VideoStep const& step : steps)
        if (fs::path const path = GetMotionFile(step, true); !path.empty())
            notes.push_back(fmt::format("{} only detected the camera motion, in \"{}\": run again with "
                                        "detect=0 to remove it, or use \"tarsel stabilize\" for both passes.",
                                        step.label, path.string()));
    return notes;
}

} // namespace Tarsel::Tools
