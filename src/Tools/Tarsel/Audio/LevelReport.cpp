#include "Tools/Tarsel/Audio/LevelReport.h"

#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

/// Room for a start: "1:02:03.125".
constexpr std::size_t s_timeWidth = 11;
constexpr std::size_t s_levelWidth = 8;

/// "FL", "FR", "LFE"; numbers from 1 on where the order of the channels is not known.
std::vector<std::string> GetChannelNames(Conf::ChannelLayout const& layout) {
    std::vector<std::string> names;
    for (int bit = 0; bit < 64; ++bit) {
        if ((layout.mask >> bit & 1U) == 0)
            continue;
        std::array<char, 32> name{};
        (void)av_channel_name(name.data(), name.size(), static_cast<AVChannel>(bit));
        names.emplace_back(name.data());
    }
    names.resize(layout.channels);
    for (std::size_t c = 0; c < names.size(); ++c)
        if (names[c].empty())
            names[c] = std::to_string(c + 1);
    return names;
}

/// Digits behind the point that the starts of the rows need, 3 at most.
int CountDecimals(double interval) {
    int decimals = 0;
    for (double scaled = interval; decimals < 3 && std::abs(scaled - std::round(scaled)) > 1e-6; scaled *= 10)
        ++decimals;
    return decimals;
}

/// "0:05", "1:02:03.5".
std::string FormatTime(double seconds, int decimals) {
    // Whole units first, so that no 59.9996 becomes a minute of 60 seconds.
    double const scale = std::pow(10, decimals);
    auto const units = std::llround(seconds * scale);
    auto const whole = units / static_cast<long long>(scale);
    double const rest = static_cast<double>(units % (60 * static_cast<long long>(scale))) / scale;
    int const width = decimals > 0 ? decimals + 3 : 2;
    if (whole >= 3600)
        return fmt::format("{}:{:02}:{:0{}.{}f}", whole / 3600, whole / 60 % 60, rest, width, decimals);
    return fmt::format("{}:{:0{}.{}f}", whole / 60, rest, width, decimals);
}

std::string FormatRow(std::string const& time, LevelTrack::Row const& row) {
    std::string line = fmt::format("{:>{}}", time, s_timeWidth);
    for (Level const& level : row)
        line += fmt::format("{:>{}.1f}{:>{}.1f}", ToDecibels(level.GetPeak()), s_levelWidth,
                            ToDecibels(level.GetRms()), s_levelWidth);
    return line + '\n';
}

/// JSON has no other numbers.
Json LevelToJson(double value) {
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

Json LevelsToJson(LevelTrack::Row const& row) {
    Json levels = Json::array();
    for (Level const& level : row) {
        double const peak = level.GetPeak();
        double const rms = level.GetRms();
        levels.push_back({{"peak", LevelToJson(peak)},
                          {"peakDb", LevelToJson(ToDecibels(peak))},
                          {"rms", LevelToJson(rms)},
                          {"rmsDb", LevelToJson(ToDecibels(rms))}});
    }
    return levels;
}

struct LoudnessRow {
    char const* name;
    char const* key;
    double Loudness::*value;
    char const* unit;
};

constexpr LoudnessRow s_loudnessRows[]{{"integrated", "integrated", &Loudness::integrated, "LUFS"},
                                       {"short-term max", "shortTermMax", &Loudness::shortTermMax, "LUFS"},
                                       {"momentary max", "momentaryMax", &Loudness::momentaryMax, "LUFS"},
                                       {"range", "range", &Loudness::range, "LU"},
                                       {"true peak", "truePeak", &Loudness::truePeak, "dBTP"}};

std::string FormatLoudness(std::optional<Loudness> const& loudness) {
    if (!loudness)
        return {};
    std::string text = fmt::format("\nLoudness ({})\n", s_loudnessStandard);
    for (LoudnessRow const& row : s_loudnessRows)
        text +=
            fmt::format("  {:<14}{:>{}.1f} {}\n", row.name, (*loudness).*row.value, s_levelWidth, row.unit);
    return text;
}

Json LoudnessToJson(std::optional<Loudness> const& loudness) {
    if (!loudness)
        return nullptr;
    Json json{{"standard", s_loudnessStandard}};
    for (LoudnessRow const& row : s_loudnessRows)
        json[row.key] = LevelToJson((*loudness).*row.value);
    return json;
}

} // namespace

double ChooseInterval(std::int64_t duration) {
    constexpr std::array intervals{0.1, 0.2, 0.5,  1.0,   2.0,   5.0,   10.0,
                                   15., 30., 60.0, 120.0, 300.0, 600.0, 1800.0};
    constexpr double mostRows = 40;
    if (duration <= 0)
        return 1;
    auto const* const fitting = std::ranges::find_if(intervals, [&](double interval) {
        return static_cast<double>(duration) <= interval * 1e6 * mostRows;
    });
    return fitting != intervals.end() ? *fitting : 3600;
}

std::string FormatLevels(LevelReport const& report) {
    std::string text = fmt::format("{}: {}, levels in dBFS\n\n{:>{}}", report.file,
                                   Proc::AudioText(report.format), "", s_timeWidth);
    std::vector<std::string> const names = GetChannelNames(report.format.layout);
    for (std::string const& name : names)
        text += fmt::format("{:>{}}", name, 2 * s_levelWidth);
    text += fmt::format("\n{:>{}}", "from", s_timeWidth);
    for (std::size_t c = 0; c < names.size(); ++c)
        text += fmt::format("{:>{}}{:>{}}", "peak", s_levelWidth, "rms", s_levelWidth);
    text += '\n';
    int const decimals = CountDecimals(report.interval);
    auto const& rows = report.levels.GetRows();
    for (std::size_t row = 0; row < rows.size(); ++row)
        text += FormatRow(FormatTime(static_cast<double>(row) * report.interval, decimals), rows[row]);
    return text + FormatRow("all", report.levels.GetWhole()) + FormatLoudness(report.loudness);
}

std::string LevelsToJson(LevelReport const& report) {
    LevelTrack const& track = report.levels;
    double const rate = report.format.rate;
    Json rows = Json::array();
    for (std::size_t row = 0; row < track.GetRows().size(); ++row) {
        std::int64_t const start = track.GetStart(row);
        rows.push_back({{"start", static_cast<double>(start) / rate},
                        {"samples", track.GetStart(row + 1) - start},
                        {"levels", LevelsToJson(track.GetRows()[row])}});
    }
    std::int64_t const samples = track.GetStart(track.GetRows().size());
    Json const document{
        {"version", 1},
        {"file", report.file},
        {"rate", report.format.rate},
        {"sampleFormat", Conf::SampleFmtRecord::Find(report.format.format).name},
        {"layout", report.format.layout.GetName()},
        {"channels", GetChannelNames(report.format.layout)},
        {"samples", samples},
        {"seconds", static_cast<double>(samples) / rate},
        {"interval", report.interval},
        {"rows", std::move(rows)},
        {"whole", {{"start", 0.0}, {"samples", samples}, {"levels", LevelsToJson(track.GetWhole())}}},
        {"loudness", LoudnessToJson(report.loudness)}};
    // A path need not be UTF-8.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace Tarsel::Tools
