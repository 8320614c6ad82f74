#include "Tarsel/Tool.h"

#include "Tools/Tarsel/ExitCodes.h"

#include <gmock/gmock.h>

#include <sstream>

namespace Tarsel::Tools {
namespace {

using CommandLine = Tool;

using testing::HasSubstr;
using testing::MatchesRegex;

/// As the help of the whole program lists them.
std::vector<std::string> GetVerbs() {
    std::istringstream lines(RunProcess({TARSEL_PROGRAM, "--help"}).out);
    std::vector<std::string> verbs;
    std::string line;
    while (std::getline(lines, line) && line != "Verbs:")
        continue;
    while (std::getline(lines, line) && !line.empty())
        verbs.push_back(line.substr(2, line.find(' ', 2) - 2));
    return verbs;
}

TEST_F(CommandLine, HelpFitsTheTerminalAndTellsTheExitCodes) {
    std::vector<std::string> verbs = GetVerbs();
    EXPECT_GE(verbs.size(), 8U);
    verbs.emplace_back(); // the program itself
    for (std::string const& verb : verbs) {
        std::vector<std::string> arguments{TARSEL_PROGRAM, verb, "--help"};
        if (verb.empty())
            arguments.erase(arguments.begin() + 1);
        auto const result = RunProcess(arguments);
        EXPECT_EQ(result.exitCode, 0) << verb;
        EXPECT_EQ(result.err, "");
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 80U) << verb << ": " << line;
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
    std::string const see = "\nSee \"tarsel --help\".";
    std::string const seeRun = "\nSee \"tarsel run --help\".";
    // That it exists comes last: it is no reason to ask for overwriting with other faults still unseen.
    std::string verbs;
    for (std::string const& verb : GetVerbs())
        verbs += (verbs.empty() ? "" : ", ") + verb;
    std::string const there = MakeFile("there.gif", "keep me");
    struct Case {
        std::vector<std::string> arguments;
        std::string error;
    };
    for (Case const& c : {
             Case{{}, "a verb is missing: " + verbs + see},
             Case{{"play"}, "There is no verb \"play\"; the verbs are " + verbs + see},
             Case{{"rnu", "a.mp4", "b.mp4"}, "There is no verb \"rnu\"; near names: run" + see},
             Case{{"run", "-dash.mp4", "o.mp4"},
                  "Write \"./-dash.mp4\": a name that begins with '-' is taken for an option" + seeRun},
             Case{{"run", "a.mp4", "b.mp4", "--overwrit"},
                  "There is no option \"--overwrit\"; near names: --overwrite" + seeRun},
             Case{{"run", "a.mp4", "b.mp4", "-e", "flip", "horizontal=1"},
                  "Unexpected argument \"horizontal=1\"; put an effect and its settings into quotes: -e "
                  "\"NAME horizontal=1\"" +
                      seeRun},
             Case{{"list", "flip", "blur"}, "Unexpected argument \"blur\"\nSee \"tarsel list --help\"."},
             Case{{"run", "missing.mp4"}, "OUTPUT is required" + seeRun},
             Case{{"run", "missing.mp4", "o.mp4", "-e", "flip", "more"},
                  "Unexpected argument \"more\"; each effect wants a -e before it" + seeRun},
             Case{{"run", "missing.mp4", "o.mp4", "--at", "nan"},
                  "--at: \"nan\" is no time in seconds, 0 or more" + seeRun},
             Case{{"run", "missing.mp4", "o.mp4", "--threads", "0"},
                  "--threads: \"0\" is no whole number, 1 to 1024" + seeRun},
             Case{{"run", "missing.mp4", "o.mp4", "--video-option", "=18"},
                  "--video-option \"=18\" is not KEY=VALUE, for example crf=18"},
             Case{{"run", "missing.mp4", "o.mp4", "-e", "flip", "-e", "transpose step=4"},
                  "-e \"transpose step=4\": transpose: step=4 is out of range: 0 to 3 (quarter turns)"},
             Case{{"run", "missing.mp4", "o.mp4", "-e", "transpose turns=1"},
                  "-e \"transpose turns=1\": transpose: unknown key \"turns\"; the keys are step"},
             Case{{"run", "missing.mp4", there, "-e", "compressor ratio=99"},
                  "-e \"compressor ratio=99\": compressor: ratio=99 is out of range: 1 to 20"},
             Case{{"run", "missing.mp4", there, "-e", "flip=horizontal=1:vertical=1"},
                  "-e \"flip=horizontal=1:vertical=1\": Write \"flip horizontal=1 vertical=1\": blanks "
                  "separate an effect and its settings"},
             Case{{"run", "missing.mp4", there, "--video-codec", "png"},
                  "The encoder \"png\" makes png, which \"there.gif\" cannot hold"},
             Case{{"run", "missing.mp4", there, "--video-codec", "mp2video"},
                  "There is no encoder \"mp2video\"; near names: mpeg2video"},
             Case{{"run", "missing.mp4", there, "--video-codec", "theora"},
                  "\"theora\" is a codec; name an encoder of it: libtheora"},
             Case{{"run", "missing.mp4", there, "--at", "-1"},
                  "--at: \"-1\" is no time in seconds, 0 or more" + seeRun},
             Case{{"palette", "missing.mp4", MakeFile("there.jpg", "keep me")},
                  "\"there.jpg\" cannot hold palettes; .png, .gif, .bmp and .tiff can"},
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
