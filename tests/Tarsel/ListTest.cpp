#include "Host/EffectRegistry.h"
#include "Host/Plugin.h"
#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

#include <set>
#include <sstream>

namespace Tarsel::Tools {
namespace {

using ListTool = Tool;

nlohmann::json ListAsJson(ProcessResult const& result) {
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return nlohmann::json::parse(result.out);
}

/// Blanks and line feeds as single blanks: what stays when lines are broken elsewhere.
std::string JoinWords(std::string const& text) {
    std::istringstream stream(text);
    std::string joined;
    for (std::string word; stream >> word;)
        joined += word + ' ';
    return joined;
}

TEST_F(ListTool, JsonHasWhatThePluginRegisters) {
    Host::EffectRegistry registry;
    Host::Plugin(TARSEL_PLUGIN).Register(registry);
    auto const list = ListAsJson(Run({"list", "--json"}));
    EXPECT_EQ(list.at("plugin"), TARSEL_PLUGIN);
    auto const& effects = list.at("effects");
    ASSERT_EQ(effects.size(), registry.GetEntries().size());
    for (std::size_t i = 0; i < effects.size(); ++i) {
        Host::EffectEntry const& entry = registry.GetEntries()[i];
        EXPECT_EQ(effects[i].at("id"), entry.classId);
        EXPECT_EQ(effects[i].at("implementation"), entry.implName);
        EXPECT_EQ(effects[i].at("kind"), GetName(entry.GetKind()));
        EXPECT_NE(effects[i].at("summary"), "") << entry.classId;
        auto const& traits = effects[i].at("traits");
        std::set<std::string> const keeps{"always", "sometimes", "never"};
        for (char const* const property : {"alpha", "depth", "range", "size"})
            EXPECT_TRUE(keeps.contains(traits.at(property))) << entry.classId;
        for (char const* const answer : {"frameIndependent", "tail", "slices"})
            EXPECT_TRUE(traits.at(answer).is_boolean()) << entry.classId;
        for (char const* const count : {"delayFrames", "delayMicroseconds", "framesPerFrame"})
            EXPECT_TRUE(traits.at(count).is_number_integer()) << entry.classId;
    }
}

TEST_F(ListTool, JsonOfParameters) {
    auto const transpose = ListAsJson(Run({"list", "transpose", "--json"})).at("effects");
    ASSERT_EQ(transpose.size(), 1U);
    EXPECT_EQ(transpose[0].at("parameters"), nlohmann::json::parse(R"([
        {"key": "step", "kind": "integer", "default": 0, "minimum": 0, "maximum": 3,
         "unit": "quarter turns", "help": "clockwise rotation", "words": [], "columns": []}
    ])"));
    auto const flip = ListAsJson(Run({"list", "flip", "--json"})).at("effects");
    EXPECT_EQ(flip[0].at("parameters")[1], nlohmann::json::parse(R"(
        {"key": "vertical", "kind": "flag", "default": false, "minimum": null, "maximum": null,
         "unit": "", "help": "mirror top and bottom", "words": [], "columns": []}
    )"));
}

TEST_F(ListTool, TextHasAllOfTheJsonWithin80Columns) {
    auto const text = Run({"list"}).out;
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
    auto const listed = ListAsJson(Run({"list", "--json"}));
    for (auto const& effect : listed.at("effects")) {
        expectNext(effect.at("id").get<std::string>() + " (" + effect.at("kind").get<std::string>() + ")");
        expectNext(effect.at("summary"));
        std::string sentence;
        for (std::string const fact : effect.at("facts"))
            sentence += (sentence.empty() ? "It " : "; ") + fact;
        if (!sentence.empty())
            expectNext(sentence + '.');
        for (auto const& parameter : effect.at("parameters")) {
            expectNext(parameter.at("key").get<std::string>() + " " +
                       parameter.at("help").get<std::string>());
            expectNext(parameter.at("kind").get<std::string>() + ",");
            for (auto const& word : parameter.at("words"))
                expectNext(word.at("word").get<std::string>() + " " + word.at("help").get<std::string>());
        }
    }
}

TEST_F(ListTool, TextOfOneEffect) {
    EXPECT_EQ(Run({"list", "transpose"}).out, "transpose (video)\n"
                                              "  turns the picture by quarters\n"
                                              "  It may change full range, size.\n"
                                              "    step  clockwise rotation\n"
                                              "          integer, 0 to 3 (quarter turns), default 0\n");
    auto const getError = [](std::string const& word) {
        auto const unknown = Run({"list", word});
        EXPECT_EQ(unknown.exitCode, 1);
        return unknown.err;
    };
    EXPECT_EQ(getError("flipp"), "tarsel: error: There is no effect \"flipp\"; near names: flip\n");
    EXPECT_EQ(getError("zzz"), "tarsel: error: There is no effect \"zzz\"; \"tarsel list\" shows all\n");
}

TEST_F(ListTool, WordsFindEffectsByNameThenKeyThenHelp) {
    auto const find = [](std::string const& word) {
        std::string ids;
        auto const list = ListAsJson(Run({"list", word, "--json"}));
        for (auto const& effect : list.at("effects"))
            ids += effect.at("id").get<std::string>() + ' ';
        return ids;
    };
    EXPECT_EQ(find("flip"), "flip ");
    EXPECT_EQ(find("transpos"), "transpose ");
    EXPECT_EQ(find("brightness"), "color-balance ");
    EXPECT_EQ(find("exposure"), "color-balance ");
    EXPECT_EQ(find("mirrors"), "flip display-matrix ");
}

TEST_F(ListTool, OutputThatCannotBeWritten) {
    std::string const list = TARSEL_PROGRAM " list --plugin " TARSEL_PLUGIN;
    auto const shell = [](std::string const& script) { return RunProcess({"/bin/sh", "-c", script}); };
    auto const full = shell(list + " > /dev/full");
    EXPECT_EQ(full.exitCode, 4);
    EXPECT_EQ(full.err, "tarsel: error: cannot write to standard output: No space left on device\n");
    auto const closed = shell(list + " >&-");
    EXPECT_EQ(closed.exitCode, 4);
    EXPECT_EQ(closed.err, "tarsel: error: cannot write to standard output: Bad file descriptor\n");
    // A reader that is gone has seen enough.
    EXPECT_EQ(shell("{ " + list + "; echo $? >&2; } | :").err, "0\n");
}

} // namespace
} // namespace Tarsel::Tools
