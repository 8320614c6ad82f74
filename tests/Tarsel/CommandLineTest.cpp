#include "Tarsel/Tool.h"

#include "Tools/Tarsel/ExitCodes.h"

#include <gmock/gmock.h>

#include <sstream>

namespace Tarsel::Tools {
namespace {

using CommandLine = Tool;

using testing::HasSubstr;
using testing::MatchesRegex;

TEST_F(CommandLine, HelpFitsTheTerminalAndTellsTheExitCodes) {
    for (std::string const verb : {"", "run", "mix", "tone", "meter", "list", "explain"}) {
        std::vector<std::string> arguments{TARSEL_PROGRAM, verb, "--help"};
        if (verb.empty())
            arguments.erase(arguments.begin() + 1);
        auto const result = RunProcess(arguments);
        EXPECT_EQ(result.exitCode, 0) << verb;
        EXPECT_EQ(result.err, "");
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 80U) << line;
        bool const showsCatalogue = verb == "list" || verb == "explain";
        EXPECT_THAT(result.out, HasSubstr(showsCatalogue ? "" : DescribeExitCodes()));
        EXPECT_THAT(result.out, HasSubstr(verb.empty() ? "" : "Examples:\n  tarsel " + verb));
    }
}

TEST_F(CommandLine, VersionNamesTheProjectAndFFmpeg) {
    auto const result = RunProcess({TARSEL_PROGRAM, "--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, MatchesRegex("tarsel [0-9.]+\nFFmpeg .*\n"
                                         "  libavutil [0-9.]+\n  libavcodec [0-9.]+\n  libavformat [0-9.]+\n"
                                         "(  lib[a-z]+ [0-9.]+\n)*"));
}

TEST_F(CommandLine, BadArgumentsAreRefusedBeforeAnyFileIsOpened) {
    std::string const seeRun = "\nSee \"tarsel run --help\".";
    struct Case {
        std::vector<std::string> arguments;
        std::string error;
    };
    for (Case const& c : {
             Case{{},
                  "a verb is missing: run, stabilize, palette, mix, tone, meter, list or "
                  "explain\nSee \"tarsel --help\"."},
             Case{{"play"}, "The following argument was not expected: play\nSee \"tarsel --help\"."},
             Case{{"run", "missing.mp4"}, "OUTPUT is required" + seeRun},
             Case{{"run", "missing.mp4", "o.mp4", "-e", "flip", "more"},
                  "The following argument was not expected: more" + seeRun},
             Case{{"run", "missing.mp4", "o.mp4", "--at", "nan"},
                  "--at: \"nan\" is no time in seconds, 0 or more" + seeRun},
             Case{{"run", "missing.mp4", "o.mp4", "--threads", "0"},
                  "--threads: Value 0 not in range 1 to 1024" + seeRun},
             Case{{"run", "missing.mp4", "o.mp4", "--video-option", "=18"},
                  "--video-option \"=18\" is not KEY=VALUE, for example crf=18"},
             Case{{"run", "missing.mp4", "o.mp4", "-e", "flip", "-e", "transpose step=4"},
                  "-e \"transpose step=4\": transpose: step=4 is out of range: 0 to 3 (quarter turns)"},
             Case{{"run", "missing.mp4", "o.mp4", "-e", "transpose turns=1"},
                  "-e \"transpose turns=1\": transpose: unknown key \"turns\"; the keys are step"},
             Case{{"run", "missing.mp4", "o.mp4", "-e", ""},
                  "-e \"\": An effect is missing: the text is empty"},
         }) {
        std::vector<std::string> arguments{TARSEL_PROGRAM};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        auto const result = RunProcess(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "tarsel: error: " + c.error + "\n");
    }
}

TEST_F(CommandLine, PluginThatIsNone) {
    auto const missing = RunProcess({TARSEL_PROGRAM, "list", "--plugin", At("no.so")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("tarsel: error: Cannot open plug-in \"" + At("no.so") + "\": "));
    EXPECT_THAT(missing.err, testing::Not(HasSubstr("thrown at")));
    // Any library without the entry point.
    auto const other =
        RunProcess({TARSEL_PROGRAM, "list", "--verbose", "--plugin", MakeFile("text.so", "no library")});
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_THAT(other.err, HasSubstr("\n  thrown at: Host/Plugin:"));
}

} // namespace
} // namespace Tarsel::Tools
