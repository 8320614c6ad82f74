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
    CheckOptions options;
    options.level = 4;
    options.limit = 10;
    auto const faults = GetFaults(RunOn(TEST_BAD_EFFECTS, options));
    EXPECT_FALSE(faults.contains("good")) << testing::PrintToString(faults.at("good"));
    std::set<Group> alone;
    for (auto const& [classId, check] : Tarsel::Test::s_faults) {
        if (*check == '\0') // the good one
            continue;
        SCOPED_TRACE(classId);
        ASSERT_TRUE(faults.contains(classId)) << "nothing is found";
        EXPECT_TRUE(faults.at(classId).contains(check)) << testing::PrintToString(faults.at(classId));
        std::set<Group> groups;
        for (auto const& [name, text] : faults.at(classId))
            groups.insert(FindCheck(name)->group);
        if (groups.size() == 1)
            alone.insert(*groups.begin());
    }
    // No group is of no use: each finds something that no other does.
    for (CheckInfo const& check : GetChecks())
        EXPECT_TRUE(check.group == Group::Loading || alone.contains(check.group)) << GetName(check.group);
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
    CheckOptions options;
    options.level = 1;
    CheckReport const report = RunOn(LUMENTA_PLUGIN, options);
    auto faults = GetFaults(report);
    // FFmpeg's filter reads memory that it never set: what was there before shows in a few colors.
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
