#include "Tarsel/Tool.h"

#include <utility>

namespace Tarsel::Tools {
namespace {

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

TEST(Completion, OffersWhatMayFollow) {
    struct {
        std::vector<std::string> words;
        std::string offers;
    } const cases[] = {
        {{"st"}, "stabilize|"},
        {{"run", "a.mp4", "b.mp4", "--video-c"}, "--video-codec|"},
        {{"run", "a.mp4", "b.mp4", "--video-codec", "ffv1"}, "ffv1|"},
        {{"run", "--audio-codec", "flac"}, "flac|"},
        {{"run", "-e", "fl"}, "flip|flanger|"},
        {{"explain", "-e", "flip", "-e", "\"flip vertical=1 h"}, "flip vertical=1 horizontal|"},
        {{"run", "-e", "\"edge-detect mode=w"}, "edge-detect mode=wires|"},
        {{"stabilize", "a.mp4", "b.mp4", "smoo"}, "smoothing=|"},
        {{"list", "transp"}, "transpose|"},
        // Files are the shell's, and unknown things nobody's.
        {{"run", ""}, "|"},
        {{"run", "film"}, "|"},
        {{"play", ""}, "|"},
        {{"run", "-e", "\"flap h"}, "|"},
        {{"complet"}, "|"},
    };
    for (auto const& [words, offers] : cases)
        EXPECT_EQ(CompleteInBash(words), offers) << words.back();
}

TEST(Completion, ScriptsOfOtherShellsAreWellFormed) {
    for (auto const& [shell, script] : {std::pair("zsh", "_tarsel"), std::pair("fish", "tarsel.fish")}) {
        if (RunProcess({"/bin/sh", "-c", std::string("command -v ") + shell}).exitCode != 0)
            continue; // not installed here
        auto const result = RunProcess({shell, "-n", std::string(TARSEL_COMPLETIONS "/") + script});
        EXPECT_EQ(result.exitCode, 0) << shell << ": " << result.err;
    }
}

} // namespace
} // namespace Tarsel::Tools
