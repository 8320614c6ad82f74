#include "Tarsel/Tool.h"

#include <gmock/gmock.h>

#include <sstream>
#include <utility>

namespace Tarsel::Tools {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

/// What bash would offer for the last word, by way of the script that it loads.
std::vector<std::string> CompleteInBash(std::vector<std::string> const& words) {
    std::string const tool = "'" TARSEL_PROGRAM "'";
    std::string script = "source '" TARSEL_COMPLETIONS "/tarsel.bash'; COMP_WORDS=(tarsel";
    for (std::string const& word : words)
        script += " '" + word + "'";
    script += "); COMP_CWORD=" + std::to_string(words.size()) + "; _tarsel " + tool +
              "; printf '%s\\n' \"${COMPREPLY[@]}\"";
    auto const result = RunProcess({"bash", "--norc", "-c", script});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    std::vector<std::string> offers;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty())
            offers.push_back(line);
    return offers;
}

TEST(Completion, OffersWhatMayFollow) {
    EXPECT_THAT(CompleteInBash({""}), IsSupersetOf({"run", "mix", "list", "explain"}));
    EXPECT_THAT(CompleteInBash({""}), testing::Not(Contains("complete")));
    EXPECT_THAT(CompleteInBash({"st"}), ElementsAre("stabilize"));
    EXPECT_THAT(CompleteInBash({"run", "a.mp4", "b.mp4", "--video-c"}), ElementsAre("--video-codec"));
    EXPECT_THAT(CompleteInBash({"run", "a.mp4", "b.mp4", "--video-codec", "ffv"}), Contains("ffv1"));
    EXPECT_THAT(CompleteInBash({"run", "--audio-codec", "fla"}), Contains("flac"));
    EXPECT_THAT(CompleteInBash({"run", "-e", "fl"}), ElementsAre("flip", "flanger"));
    EXPECT_THAT(CompleteInBash({"explain", "-e", "flip", "-e", "\"flip vertical=1 h"}),
                ElementsAre("flip vertical=1 horizontal"));
    EXPECT_THAT(CompleteInBash({"run", "-e", "\"edge-detect mode=w"}), ElementsAre("edge-detect mode=wires"));
    EXPECT_THAT(CompleteInBash({"stabilize", "a.mp4", "b.mp4", "smoo"}), ElementsAre("smoothing="));
    EXPECT_THAT(CompleteInBash({"list", "transp"}), ElementsAre("transpose"));
    // Files are the shell's, and unknown things nobody's.
    for (std::vector<std::string> const& words :
         {std::vector<std::string>{"run", ""}, {"run", "film"}, {"play", ""}, {"run", "-e", "\"flap h"}})
        EXPECT_THAT(CompleteInBash(words), IsEmpty()) << words.back();
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
