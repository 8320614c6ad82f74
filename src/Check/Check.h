#pragma once

#include "Check/Subject.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

/// The contract between hosts and plug-ins as a list of rules that can be tried.
namespace Tarsel::Check {

/// What a rule is about; the order is that of reports.
enum class Group : std::uint8_t {
    Loading,
    Registration,
    Settings,
    Formats,
    Frames,
    Streams,
    Times,
    Traits,
    Memory,
    State,
    Threads,
    Resources,
};

/// "loading", "registration" and so on.
std::string_view GetName(Group group) noexcept;

/// One rule. A check returns when the rule holds, throws Finding when it is broken, and Skipped when it does
/// not apply; whatever else it throws counts as a finding. It runs in a process and a folder of its own.
struct CheckInfo {
    /// Unique; lower case with hyphens.
    std::string_view name;
    Group group;
    /// One sentence: what the plug-in does.
    std::string_view rule;
    /// One sentence: what happens to a host if it does not.
    std::string_view harm;
    /// Runs from this level on: 1 what every host meets, 10 what few do.
    int level = 1;
    /// For the plug-in as a whole, by its path; or null.
    void (*plugin)(std::filesystem::path const&) = nullptr;
    /// For each effect of a medium; or null.
    void (*video)(Subject<Video>&) = nullptr;
    void (*audio)(Subject<Audio>&) = nullptr;
};

/// All rules, by group. Any thread.
std::span<CheckInfo const> GetChecks();

/// The rule of that name, or null.
CheckInfo const* FindCheck(std::string_view name);

/// A rule that holds for both media; `check` takes a subject of either.
constexpr CheckInfo ForEffects(std::string_view name, Group group, std::string_view rule,
                               std::string_view harm, int level, auto check) {
    return {name, group, rule, harm, level, nullptr, check, check};
}

/// One list for each group.
std::span<CheckInfo const> GetLoadingChecks();
std::span<CheckInfo const> GetRegistrationChecks();
std::span<CheckInfo const> GetSettingsChecks();
std::span<CheckInfo const> GetFormatChecks();
std::span<CheckInfo const> GetFrameChecks();
std::span<CheckInfo const> GetStreamChecks();
std::span<CheckInfo const> GetTimeChecks();
std::span<CheckInfo const> GetTraitChecks();
std::span<CheckInfo const> GetMemoryChecks();
std::span<CheckInfo const> GetStateChecks();
std::span<CheckInfo const> GetThreadChecks();
std::span<CheckInfo const> GetResourceChecks();

} // namespace Tarsel::Check
