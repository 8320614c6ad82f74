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
    ExpectValid("list", Run("list --json").out);
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
                                         "          integer, 0 to 3 (quarter turns), default 0\n"
                                         "  Examples:\n"
                                         "    tarsel run in.mp4 out.mp4 -e 'transpose step=1'\n"
                                         "    tarsel run in.mp4 out.mp4 -e 'transpose step=3'\n");
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
    EXPECT_THAT(text, HasSubstr("\n\ntwo-input video:\nmidequalizer "));
    EXPECT_LT(std::ranges::count(text, '\n'), 2 * static_cast<std::ptrdiff_t>(listed.at("effects").size()));
}

TEST_F(ListTool, WordsAndKindsFindEffects) {
    for (auto const& [words, found] : {std::pair("flip", "flip "),
                                       {"transpos", "transpose "},
                                       {"brightness", "color-balance "},
                                       {"exposure", "color-balance "},
                                       {"mirrors", "flip display-matrix "},
                                       {"sharpen", "smart-blur "},
                                       {"shaky", "deshake stabilizer "},
                                       {"louder", "compressor "},
                                       {"black and white", "color-balance "},
                                       {"the hiss and silence", "gate noise-gate "},
                                       {"--two-input", "midequalizer "},
                                       {"--audio noise", "noise-gate "}}) {
        std::string ids;
        auto const list = ListAsJson(words);
        for (auto const& effect : list.at("effects"))
            ids += effect.at("id").get<std::string>() + ' ';
        EXPECT_EQ(ids, found) << words;
    }
    // Every keyword finds its effect.
    auto const all = ListAsJson();
    for (auto const& effect : all.at("effects"))
        EXPECT_FALSE(effect.at("keywords").empty()) << effect.at("id");
    EXPECT_THAT(Run("list shaky").out, testing::StartsWith("video:\ndeshake "));
    EXPECT_EQ(Run("help transpose").out, Run("list transpose").out);
    ExpectRefusals({{"list purple unicorn", 1, "There is no effect \"purple unicorn\"; see \"tarsel list\""},
                    {"list flip --audio", 1, "There is no effect \"flip\"*"},
                    {"help rnu", 1, "There is no verb \"rnu\"; did you mean run?*"},
                    {"help unicorn", 1, "There is no effect \"unicorn\"*"}});
}

constexpr std::size_t s_parts = 8;

/// Each takes a part of the effects.
class ExampleTool : public Tool, public testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Parts, ExampleTool, testing::Range(std::size_t{0}, s_parts));

TEST_P(ExampleTool, EveryExampleWorks) {
    TellLeaksApart();
    MakeFilm("in.mp4", "-f lavfi -i testsrc2=size=96x64:rate=25:duration=0.2 -c:v libx264 -preset ultrafast "
                       "-pix_fmt yuv420p");
    MakeFilm("second.mp4",
             "-f lavfi -i testsrc=size=96x64:rate=25:duration=0.2 -c:v libx264 -preset ultrafast "
             "-pix_fmt yuv420p");
    MakeFilm("in.wav", "-f lavfi -i sine=duration=0.2");
    auto const list = ListAsJson();
    auto const& effects = list.at("effects");
    for (std::size_t i = GetParam(); i < effects.size(); i += s_parts) {
        auto const& effect = effects[i];
        EXPECT_EQ(effect.at("examples").size(), 2U) << effect.at("id");
        for (std::string const example : effect.at("examples")) {
            ASSERT_TRUE(example.starts_with("tarsel ")) << example;
            std::string const line = example.substr(example.find(' ')) + " --overwrite";
            auto const result = RunProcess(Command(line));
            EXPECT_EQ(result.exitCode, 0) << example << '\n' << result.err;
            EXPECT_THAT(result.err, testing::Not(HasSubstr("does nothing"))) << example;
        }
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
