#pragma once

#include "Check/Check.h"
#include "Host/EffectRegistry.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Check {

struct CheckOptions {
    std::filesystem::path plugin;
    /// Class ids of the effects to look at; empty: all.
    std::vector<std::string> effects;
    /// Names of the checks to run; empty: all of the level.
    std::vector<std::string> checks;
    /// 1 to 10: how much is tried.
    int level = 5;
    /// Determines all random values.
    std::uint32_t seed = 1;
    /// For one check of one effect, in seconds.
    double limit = 30;
    /// Once requested, running checks are ended and no others begin.
    std::stop_token stop;
};

enum class Outcome : std::uint8_t { Passed, Skipped, Failed, Crashed, Hung };

/// "passed", "skipped", "failed", "crashed", "hung".
std::string_view GetName(Outcome outcome) noexcept;

/// The result of one check.
struct CheckResult {
    CheckInfo const* check;
    /// Of the effect; both "" for a plug-in as a whole.
    std::string classId;
    std::string implName;
    /// Those of the effect, as text; "" for its defaults, or if the check draws others.
    std::string settings;
    Outcome outcome;
    /// What was found, or why the check does not apply.
    std::string text;
    double seconds;
};

/// One effect as its plug-in registers it.
struct EffectName {
    std::string classId;
    std::string implName;
    Host::EffectKind kind;
    /// No settings were found with which it changes its input: checks of its results then say little.
    bool isIdle = false;
};

struct CheckReport {
    std::vector<EffectName> effects;
    std::vector<CheckResult> results;

    std::size_t Count(Outcome outcome) const;
    /// Whether nothing failed, crashed or hung.
    bool IsGood() const;
};

/// Runs the checks, each in a process of its own (see Child), as many at a time as Core::ThreadBudget allows.
/// The plug-in is never loaded into this process. `show` is told each result as it comes, and may be empty.
/// SettingsException for an unknown effect or check (near names are listed), or a level out of range. A
/// plug-in that cannot be loaded is a result, not an exception. One thread.
CheckReport RunChecks(CheckOptions const& options, std::function<void(CheckResult const&)> const& show);

} // namespace Tarsel::Check
