#include "Check/BadEffects.h"
#include "Check/Runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

/// That the checks of plug-ins find what they are for: a plug-in with an effect for each fault.
namespace Tarsel::Check {
namespace {

CheckReport RunOn(std::string const& plugin, CheckOptions options = {}) {
    options.plugin = plugin;
    return RunChecks(options, {});
}

/// What failed of each effect ("" for the plug-in), and what was said.
std::map<std::string, std::map<std::string, std::string>> GetFaults(CheckReport const& report) {
    std::map<std::string, std::map<std::string, std::string>> faults;
    for (CheckResult const& result : report.results)
        if (result.outcome != Outcome::Passed && result.outcome != Outcome::Skipped)
            faults[result.classId].emplace(result.check->name, result.text);
    return faults;
}

TEST(Checks, FindEachFaultOfAnEffect) {
    std::set<Group> groups{Group::Loading};
    for (auto const& [classId, check, rule] : Tarsel::Test::s_faults) {
        SCOPED_TRACE(classId);
        bool const isGood = *check == '\0';
        CheckOptions options;
        options.effects = {classId};
        if (!isGood)
            options.checks = {check};
        options.level = 4;
        options.limit = isGood ? 120 : 10; // one of the faults is to hang
        auto const faults = GetFaults(RunOn(TEST_BAD_EFFECTS, options));
        if (isGood) {
            EXPECT_TRUE(faults.empty()) << testing::PrintToString(faults);
            continue;
        }
        auto const of = faults.find(classId);
        EXPECT_TRUE(of != faults.end() && of->second.contains(check)) << testing::PrintToString(faults);
        groups.insert(FindCheck(check)->group);
    }
    for (CheckInfo const& check : GetChecks())
        EXPECT_TRUE(groups.contains(check.group)) << "no fault for a check of " << GetName(check.group);
}

TEST(Checks, FindEachFaultOfALibrary) {
    // In the order of the faults' numbers.
    constexpr char const* checks[] = {"",
                                      "exports-little",
                                      "loads",
                                      "loads-quietly",
                                      "closes",
                                      "registers",
                                      "registers-again",
                                      "registers-each-once",
                                      "refused-registration"};
    for (std::size_t i = 0; i < std::size(checks); ++i) {
        SCOPED_TRACE(i);
        auto const faults = GetFaults(RunOn(TEST_BAD_LIBRARY + std::to_string(i) + ".so"));
        auto const of = faults.find("");
        bool const isFound = of != faults.end() && (i == 0 || of->second.contains(checks[i]));
        EXPECT_EQ(isFound, i > 0) << testing::PrintToString(faults);
    }
}

TEST(Checks, FindNothingInTheLibrary) {
    // The first level, and of the next one what takes no time.
    std::set<std::string_view> const quick{"settings-bounds",   "settings-beyond-bounds",
                                           "settings-nonsense", "settings-of-others",
                                           "settings-neutral",  "taken-late",
                                           "process-data",      "trait-alpha"};
    CheckOptions options;
    options.level = 1;
    for (CheckInfo const& check : GetChecks())
        if (check.level == 1 || quick.contains(check.name))
            options.checks.emplace_back(check.name);
    CheckReport const report = RunOn(LUMENTA_PLUGIN, options);
    auto faults = GetFaults(report);
    // FFmpeg's filter reads memory that it never set: what was there before shows in a few colors.
    std::erase_if(faults["posterize"],
                  [](auto const& fault) { return fault.second.ends_with("with other content"); });
    if (faults["posterize"].empty())
        faults.erase("posterize");
    EXPECT_TRUE(faults.empty()) << testing::PrintToString(faults);
    // Without the file of its first pass the stabilizer does nothing, and the report says so.
    for (EffectName const& effect : report.effects)
        if (effect.classId == "stabilizer" || effect.classId == "flip") {
            EXPECT_EQ(effect.isIdle, effect.classId == "stabilizer");
        }
}

TEST(Checks, HaveNamesAndReasons) {
    std::set<std::string_view> names;
    for (CheckInfo const& check : GetChecks()) {
        EXPECT_TRUE(names.insert(check.name).second) << check.name << " is there twice";
        EXPECT_TRUE(check.rule.ends_with('.') && check.harm.ends_with('.')) << check.name;
    }
}

TEST(Checks, RefuseNamesThatThereAreNot) {
    CheckOptions options;
    options.checks = {"same-agian"};
    EXPECT_THAT([&] { RunOn(TEST_BAD_EFFECTS, options); },
                testing::ThrowsMessage<std::exception>(testing::HasSubstr("same-again")));
    options.effects = {"god"};
    options.checks.clear();
    EXPECT_THAT([&] { RunOn(TEST_BAD_EFFECTS, options); },
                testing::ThrowsMessage<std::exception>(testing::HasSubstr("good")));
}

} // namespace
} // namespace Tarsel::Check
