#include "Tarsel/Tool.h"
#include "Tools/Tarsel/Console/ExitCodes.h"

#include <algorithm>
#include <sstream>
#include <utility>

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
        auto const result = Run(verb + " --help");
        EXPECT_EQ(result.exitCode, 0) << verb;
        EXPECT_EQ(result.err, "");
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 80U) << verb << ": " << line;
        bool const showsCatalog = verb == "list" || verb == "explain";
        EXPECT_THAT(result.out, HasSubstr(showsCatalog ? "" : DescribeExitCodes()));
        EXPECT_EQ(Run("help " + verb).out, result.out);
        EXPECT_THAT(result.out, HasSubstr(verb.empty() ? "" : "Examples:\n  tarsel " + verb));
    }
    EXPECT_THAT(Run("--version").out,
                MatchesRegex("tarsel [0-9.]+\nFFmpeg .*\n  libavutil [0-9.]+\n  libavcodec [0-9.]+\n"
                             "  libavformat [0-9.]+\n(  lib[a-z]+ [0-9.]+\n)*"));
}

TEST_F(CommandLine, BadArgumentsAreRefusedBeforeAnyFileIsOpened) {
    std::string const see = "\nSee \"tarsel --help\".";
    std::string const useRun = "\nUsage: tarsel run [OPTIONS] INPUT OUTPUT\nSee \"tarsel run --help\".";
    std::string verbs;
    for (std::string const& verb : GetVerbs())
        verbs += (verbs.empty() ? "" : ", ") + verb;
    // That a file exists comes last: it is no reason to ask for overwriting with other faults still unseen.
    WriteFile("there.gif", "keep me");
    WriteFile("there.jpg", "keep me");
    std::filesystem::create_directory("folder.mp4");
    std::string const run = "run missing.mp4 ";
    ExpectRefusals({
        {"", 1, "Name a verb: " + verbs + see},
        {"play", 1, "There is no verb \"play\"; the verbs are " + verbs + see},
        {"rnu a.mp4 b.mp4", 1, "There is no verb \"rnu\"; did you mean run?" + see},
        {"meter flip blur", 1, "Remove \"blur\": meter takes no such argument\n*"},
        {"run -dash.mp4 o.mp4", 1, "Write \"./-dash.mp4\": *"},
        {"run a.mp4 b.mp4 --overwrit", 1,
         "There is no option \"--overwrit\"; did you mean --overwrite?" + useRun},
        {"run a.mp4 b.mp4 -e flip horizontal=1", 1, "Write -e \"NAME horizontal=1\": *"},
        {run, 1, "Add OUTPUT" + useRun},
        {"run", 1, "Add INPUT and OUTPUT" + useRun},
        {"explain --frame 8x8:gray", 1, "Add -e EFFECT or --chain FILE\n*"},
        {run + "o.mp4 -e", 1, "Give --effect a value: --effect EFFECT" + useRun},
        {run + "o.mp4 --at 1 --at 2", 1, "Give --at once, not 2 times" + useRun},
        {run + "o.mp4 --at", 1, "Give --at a value: --at SECONDS" + useRun},
        {run + "o.mp4 --quiet=loud", 1, "Give --quiet no value: it is a switch" + useRun},
        {run + "o.mp4 -e flip blur", 1, "Write -e \"blur\": *"},
        {run + "o.mp4 -e flip horizontal", 1, "Write -e \"horizontal\": *"},
        {"run my film.mp4 o/out.mp4 -e flip", 1,
         "Remove \"o/out.mp4\", or quote names with spaces: run takes INPUT and OUTPUT" + useRun},
        {run + "o.mp4 --at nan", 1, "--at: give a time in seconds, 0 or more, not \"nan\"" + useRun},
        {run + "there.gif --at -1", 1, "--at: give a time in seconds, 0 or more, not \"-1\"" + useRun},
        {run + "o.mp4 --audio one", 1, "--audio: give a number from 0 or language=deu, not \"one\"" + useRun},
        {run + "o.mp4 --no-audio --audio 1", 1, "*"},
        {run + "o.mp3 --no-audio", 1, "Remove --no-audio: neither video nor audio would be left"},
        {run + "o.mp4 -e audio:1/flip", 1,
         "-e \"audio:1/flip\": Remove the audio stream: flip works on video"},
        {run + "o.mp4 -e audio:?/reverb", 1,
         "-e \"audio:?/reverb\": Name the audio stream by number, such as 1, or language, such as fra, "
         "not \"?\""},
        {run + "o.mp4 --from 1:60", 1,
         "--from: give seconds (2.5), a time (1:02.5 or 1:02:03.5) or frames (120f), not \"1:60\"" + useRun},
        {run + "o.mp4 --from 1:0:0 --to 59:59", 1,
         "End the range after its beginning: it is from 3600 s to 3599 s"},
        {run + "o.mp4 --to 1:2.5 --duration 12f", 1, "Remove --duration: the range ends at 62.5 s already"},
        {run + "o.png --from 1", 1, "Remove --from: \"o.png\" is an image"},
        {run + "o.mp4 --threads 0", 1, "--threads: give a whole number from 1 to 1024, not \"0\"" + useRun},
        {run + "o.mp4 --video-option =18", 1, "--video-option: give KEY=VALUE, such as crf=18, not \"=18\""},
        {run + "o.mp4 -e flip -e 'transpose step=4'", 1,
         "-e \"transpose step=4\": transpose: step=4 is out of range: 0 to 3 (quarter turns)"},
        {run + "there.gif -e 'compressor ratio=99'", 1,
         "-e \"compressor ratio=99\": compressor: ratio=99 is out of range: 1 to 20"},
        {run + "there.gif -e flip=horizontal=1:vertical=1", 1,
         "-e \"flip=horizontal=1:vertical=1\": Write \"flip horizontal=1 vertical=1\": spaces separate an "
         "effect and its settings"},
        {run + "o.mp4 -e blur=3", 1, "-e \"blur=3\": Write \"blur sigma=3\": *"},
        {run + "o.mp4 -e flip=horizontal", 1, "-e \"flip=horizontal\": Write \"flip horizontal\": *"},
        {run + "o.mp4 -e fluip", 1, "-e \"fluip\": There is no effect \"fluip\"; did you mean flip?"},
        {run + "o.mp4 -e sepiatone", 1, "-e \"sepiatone\": There is no effect \"sepiatone\""},
        {run + "o.mp4 -e 'stabilizer detect=0 path=no.trf'", 2,
         "step 1 (stabilizer): run with detect=1 first, or use \"tarsel stabilize\": there is no file "
         "\"no.trf\" *"},
        {run + "o.mp4 -e 'stabilizer detect=0 path=there.gif'", 2,
         "step 1 (stabilizer): choose another path: \"there.gif\" is not a camera motion file"},
        {run + "o.mp4 --at 1", 1, "Remove --at: \"o.mp4\" is a video, not an image"},
        {run + "folder.mp4", 4, "Cannot write \"folder.mp4\": Is a directory"},
        {run + "o.mp4 -e ''", 1, "-e \"\": Name an effect: the text is empty"},
        {run + "o.mp4 -e flip -e \"flip 'horizontal=1\"", 1,
         "-e \"flip 'horizontal=1\": Close the quote ('): flip 'horizontal=1"},
        {run + "there.gif --video-codec theora", 1, "Name an encoder of the codec \"theora\": libtheora"},
        {run + "o.mp4 --on-resize crop", 1, "--on-resize: give one of scale, fail, not \"crop\"" + useRun},
        {run + "o.mp4 --quality best", 1,
         "--quality: give one of low, medium, high, visually-lossless, lossless, not \"best\"" + useRun},
        {"stabilize missing.mp4 o.mp4 path=/x", 1, "Remove \"path=/x\": stabilize runs both passes itself"},
        {"stabilize missing.mp4 o.mp4 shakiness=11", 1, "stabilizer: shakiness=11 is out of range: 1 to 10"},
        {"palette missing.mp4 o.png --colors 256", 1,
         "--colors: give a whole number from 1 to 255, not \"256\"*"},
        {"palette missing.mp4 o.png --background red:dither=1", 1,
         "--background: give a color such as #ffffff or white, not \"red:dither=1\""},
        {"palette missing.mp4 there.jpg", 1,
         "Choose another OUTPUT, such as .png, .gif, .bmp or .tiff: \"there.jpg\" cannot hold palettes"},
    });
}

/// What bash would offer for the last word, by way of the script that it loads, each with a '|' behind it.
std::string CompleteInBash(std::vector<std::string> const& words) {
    std::string script = "source '" TARSEL_COMPLETIONS "/tarsel.bash'; COMP_WORDS=(tarsel";
    for (std::string const& word : words)
        script += " '" + word + "'";
    script += "); COMP_CWORD=" + std::to_string(words.size()) +
              "; _tarsel '" TARSEL_PROGRAM "'; printf '%s|' \"${COMPREPLY[@]}\"";
    auto const result = RunProcess({"bash", "--norc", "-c", script});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

using Completion = Tool;

TEST_F(Completion, OffersWhatMayFollow) {
    WriteFile("film.mp4", "");
    std::filesystem::create_directory("folder");
    struct {
        std::vector<std::string> words;
        std::string offers;
    } const cases[] = {
        {{"st"}, "stabilize|"},
        {{"run", "a.mp4", "b.mp4", "--video-c"}, "--video-codec|"},
        {{"run", "a.mp4", "b.mp4", "--video-codec", "ffv1"}, "ffv1|"},
        {{"run", "--audio-codec", "flac"}, "flac|"},
        {{"run", "-e", "fl"}, "flip|flanger|"},
        {{"explain", "-e", "flip", "-e", "\"flip@1-2 vertical=1 h"}, "flip@1-2 vertical=1 horizontal|"},
        {{"run", "-e", "\"edge-detect mode=w"}, "edge-detect mode=wires|"},
        {{"stabilize", "a.mp4", "b.mp4", "smoo"}, "smoothing=|"},
        {{"list", "transp"}, "transpose|"},
        {{"list", "sharpen", "transp"}, "transpose|"},
        {{"help", "transp"}, "transpose|"},
        {{"run", "--quality", "l"}, "low|lossless|"},
        {{"palette", "--progress", "p"}, "plain|"},
        {{"tone", "a.wav", "--layout", "oct"}, "octagonal|"},
        {{"check", "--check", "refused-reg"}, "refused-registration|"},
        {{"run", "-e", "midequalizer ref"}, "midequalizer reference=|"},
        {{"run", "-e", "midequalizer reference=film"}, "midequalizer reference=film.mp4|"},
        {{"run", "-e", "stabilizer path=fo"}, "stabilizer path=folder/|"},
        {{"run", "--overwrite", "--at", "2", "a.mp4", "b.mk"}, "b.mkv|"},
        // Files where files are wanted, which the shell lists, and unknown things nobody's.
        {{"run", "fi"}, "film.mp4|"},
        {{"run", "film.mp4", "fi"}, "film.mp4|"},
        {{"meter", "--png", "fo"}, "folder|"},
        {{"run", "--at", "fi"}, "|"},
        {{"run", "film.mp4", "film.mp4", "fi"}, "|"},
        {{"play", ""}, "|"},
        {{"run", "-e", "\"flap h"}, "|"},
        {{"complet"}, "|"},
    };
    for (auto const& [words, offers] : cases)
        EXPECT_EQ(CompleteInBash(words), offers) << words.back();
}

TEST_F(Completion, ScriptsOfOtherShellsAreWellFormed) {
    for (auto const& [shell, script] : {std::pair("zsh", "_tarsel"), std::pair("fish", "tarsel.fish")}) {
        if (RunProcess({"/bin/sh", "-c", std::string("command -v ") + shell}).exitCode != 0)
            continue; // not installed here
        auto const result = RunProcess({shell, "-n", std::string(TARSEL_COMPLETIONS "/") + script});
        EXPECT_EQ(result.exitCode, 0) << shell << ": " << result.err;
    }
}

TEST_F(CommandLine, ManualPagesAreThereForEveryVerb) {
    auto const made = Run("man pages --date 2026-01-31");
    EXPECT_EQ(made.exitCode, 0) << made.err;
    std::vector<std::string> names{"tarsel.1"};
    for (std::string const& verb : GetVerbs())
        names.push_back("tarsel-" + verb + ".1");
    std::ranges::sort(names);
    std::vector<std::string> found;
    for (auto const& entry : std::filesystem::directory_iterator("pages"))
        found.push_back(entry.path().filename());
    std::ranges::sort(found);
    EXPECT_EQ(found, names);
    for (std::string const& name : names) {
        auto const lint = RunProcess({"mandoc", "-T", "lint", "-W", "warning", "pages/" + name});
        EXPECT_EQ(lint.out + lint.err, "") << name;
    }
    auto const text = RunProcess({"mandoc", "-T", "ascii", "-O", "width=200", "pages/tarsel-run.1"}).out;
    EXPECT_THAT(text, HasSubstr("tarsel run [OPTIONS] INPUT OUTPUT"));
    EXPECT_THAT(text, HasSubstr("tarsel run in.mov out.mkv -e \"transpose step=2\" --video-codec ffv1"));
    EXPECT_EQ(Run("man /dev/null/pages --date x").exitCode, 4);
}

} // namespace
} // namespace Tarsel::Tools
