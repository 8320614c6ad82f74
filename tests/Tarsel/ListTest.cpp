#include "Host/EffectRegistry.h"
#include "Host/Plugin.h"
#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace Tarsel::Tools {
namespace {

using ListTool = Tool;
using testing::HasSubstr;

nlohmann::json ListAsJson(std::string const& words = {}) {
    auto const result = RunProcess({"/bin/sh", "-c", "exec '" TARSEL_PROGRAM "' list --json " + words});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return nlohmann::json::parse(result.out);
}

/// Blanks and line feeds as single blanks: what stays when lines are broken elsewhere.
std::string JoinWords(std::string const& text) {
    std::string joined;
    for (std::string const& word : Tarsel::Test::SplitWords(text))
        joined += word + ' ';
    return joined;
}

TEST_F(ListTool, JsonHasWhatThePluginRegisters) {
    Host::EffectRegistry registry;
    Host::Plugin(TARSEL_PLUGIN).Register(registry);
    auto const list = ListAsJson("--plugin " TARSEL_PLUGIN);
    EXPECT_EQ(list.at("plugin"), TARSEL_PLUGIN);
    auto const& effects = list.at("effects");
    ASSERT_EQ(effects.size(), registry.GetEntries().size());
    for (std::size_t i = 0; i < effects.size(); ++i) {
        Host::EffectEntry const& entry = registry.GetEntries()[i];
        SCOPED_TRACE(entry.classId);
        EXPECT_EQ(effects[i].at("id"), entry.classId);
        EXPECT_EQ(effects[i].at("implementation"), entry.implName);
        EXPECT_EQ(effects[i].at("kind"), GetName(entry.GetKind()));
        EXPECT_NE(effects[i].at("summary"), "");
    }
}

TEST_F(ListTool, OneEffect) {
    EXPECT_EQ(ListAsJson("transpose").at("effects").at(0).at("parameters"), nlohmann::json::parse(R"([
        {"key": "step", "kind": "integer", "default": 0, "minimum": 0, "maximum": 3,
         "unit": "quarter turns", "help": "clockwise rotation", "words": [], "columns": []}
    ])"));
    EXPECT_EQ(Run("list transpose").out, "transpose (video)\n"
                                         "  rotates frames by quarter turns\n"
                                         "  It may change the color range (full or limited), size.\n"
                                         "    step  clockwise rotation\n"
                                         "          integer, 0 to 3 (quarter turns), default 0\n");
    ExpectRefusals({{"list flipp", 1, "There is no effect \"flipp\"; did you mean flip?"},
                    {"list zzz", 1, "There is no effect \"zzz\"; see \"tarsel list\""}});
}

TEST_F(ListTool, TextHasAllOfTheJsonWithin80Columns) {
    auto const text = Run("list --all").out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80U) << line;

    std::string const words = JoinWords(text);
    std::size_t at = 0;
    auto const expectNext = [&](std::string const& part) {
        std::size_t const found = words.find(JoinWords(part), at);
        ASSERT_NE(found, std::string::npos) << part << "\nis not in:\n" << words.substr(at);
        at = found;
    };
    auto const listed = ListAsJson();
    for (auto const& effect : listed.at("effects")) {
        expectNext(effect.at("id").get<std::string>() + " (" + effect.at("kind").get<std::string>() + ")");
        expectNext(effect.at("summary"));
        for (auto const& parameter : effect.at("parameters"))
            expectNext(parameter.at("key").get<std::string>() + " " +
                       parameter.at("help").get<std::string>());
    }
}

TEST_F(ListTool, WithoutAWordItShowsAnOverview) {
    auto const text = Run("list").out;
    auto const listed = ListAsJson();
    for (auto const& effect : listed.at("effects"))
        EXPECT_THAT("\n" + text, HasSubstr("\n" + effect.at("id").get<std::string>() + ' '));
    EXPECT_THAT(text, HasSubstr("tarsel list --all"));
    EXPECT_LT(std::ranges::count(text, '\n'), 2 * static_cast<std::ptrdiff_t>(listed.at("effects").size()));
}

TEST_F(ListTool, WordsFindEffectsByNameThenKeyThenHelp) {
    for (auto const& [word, found] : {std::pair("flip", "flip "),
                                      {"transpos", "transpose "},
                                      {"brightness", "color-balance "},
                                      {"exposure", "color-balance "},
                                      {"mirrors", "flip display-matrix "}}) {
        std::string ids;
        auto const list = ListAsJson(word);
        for (auto const& effect : list.at("effects"))
            ids += effect.at("id").get<std::string>() + ' ';
        EXPECT_EQ(ids, found);
    }
}

TEST_F(ListTool, OutputThatCannotBeWritten) {
    std::string const cannot = "Cannot write to standard output: ";
    ExpectRefusals({{"list > /dev/full", 4, cannot + "No space left on device"},
                    {"list >&-", 4, cannot + "Bad file descriptor"}});
    // A reader that is gone has seen enough.
    EXPECT_EQ(RunProcess(Shell("{ '" TARSEL_PROGRAM "' list; echo $? >&2; } | :")).err, "0\n");
}

} // namespace
} // namespace Tarsel::Tools
