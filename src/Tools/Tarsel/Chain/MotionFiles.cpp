#include "Tools/Tarsel/Chain/MotionFiles.h"

#include "Core/Throw.h"
#include "Proc/Settings/Stabilize.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <system_error>

namespace Tarsel::Tools {
namespace {

namespace fs = std::filesystem;

/// The file that the step writes; "" for one that writes none.
fs::path GetMotionFile(VideoStep const& step) {
    auto const* const settings =
        dynamic_cast<Proc::SettingsEffectStabilizer const*>(&step.effect->GetSettingsBase());
    bool const measures = settings != nullptr && settings->enabled && settings->detectionPass;
    return measures ? settings->statisticsPath : std::string();
}

/// Whether the file is of vid.stab's two forms, or empty.
bool HoldsMotion(fs::path const& path) {
    constexpr std::string_view heads[] = {"VID.STAB", "TRF"};
    std::array<char, 8> head{};
    std::ifstream file(path, std::ios::binary);
    file.read(head.data(), head.size());
    std::string_view const read(head.data(), static_cast<std::size_t>(file.gcount()));
    return read.empty() ||
           std::ranges::any_of(heads, [&](std::string_view known) { return read.starts_with(known); });
}

} // namespace

void CheckMotionFiles(std::vector<VideoStep> const& steps, std::vector<fs::path> const& files) {
    for (VideoStep const& step : steps) {
        fs::path const path = GetMotionFile(step);
        std::error_code error;
        if (path.empty() || !fs::is_regular_file(path, error))
            continue;
        bool const isUsed = std::ranges::any_of(
            files, [&](fs::path const& file) { return fs::equivalent(path, file, error); });
        if (isUsed || !HoldsMotion(path))
            Core::Throw<UsageException>(
                fmt::format("{}: choose another path: \"{}\" exists and is not a camera motion file",
                            step.label, path.string()));
    }
}

std::vector<std::string> DescribeMotionFiles(std::vector<VideoStep> const& steps) {
    std::vector<std::string> notes;
    for (VideoStep const& step : steps)
        if (fs::path const path = GetMotionFile(step); !path.empty())
            notes.push_back(fmt::format("{} only detected the camera motion, in \"{}\": run again with "
                                        "detect=0 to remove it, or use \"tarsel stabilize\" for both passes.",
                                        step.label, path.string()));
    return notes;
}

} // namespace Tarsel::Tools
