// Chains in files.

#include "Tarsel/Tool.h"

#include <sys/stat.h>

namespace Tarsel::Tools {
namespace {

using ChainTool = Tool;

TEST_F(ChainTool, AFileDoesWhatItsStepsDo) {
    MakeSmallFilm();
    std::string const steps = "-e 'blur@0.5-1.5~0.25 sigma=0..20@0-1,5@1.5,smooth' -e 'flip horizontal' "
                              "-e 'posterize colors=5 seed=7' -e 'equalizer bands=1000/6|2000/-3' "
                              "-e audio:1/reverb -e audio:fra/gate";
    EXPECT_EQ(RunForNotes("save chain.json " + steps), "");
    ExpectValid("chain", ReadFile("chain.json"));
    EXPECT_EQ(RunForNotes("save again.json --chain chain.json"), "");
    EXPECT_EQ(ReadFile("again.json").size(), ReadFile("chain.json").size() - 3); // 1 for true
    std::string const pictures = "-e 'blur@0.5-1.5~0.25 sigma=0..20@0-1,5@1.5,smooth' -e 'flip horizontal'";
    EXPECT_EQ(RunForNotes("save two.json " + pictures), "");
    RunForNotes("run film.mp4 a.mkv --video-codec ffv1 -e negate " + pictures);
    WriteFile("lists.json", R"({
        "version": 1, "steps": [
        {"effect": "negate"},
        {"effect": "blur", "from": 0.5, "to": 1.5, "fade": 0.25,
         "settings": {"sigma": {"points": [[0, 0], [1, 20], [1.5, 5]], "smooth": true}}},
        {"effect": "flip", "settings": {"horizontal": true}}]})");
    ExpectValid("chain", ReadFile("lists.json"));
    RunForNotes("run film.mp4 b.mkv --video-codec ffv1 --chain lists.json");
    EXPECT_EQ(HashPictures("-i a.mkv"), HashPictures("-i b.mkv"));
    EXPECT_EQ(Run("explain --chain two.json --frame 64x48:yuv420p").out,
              Run("explain " + pictures + " --frame 64x48:yuv420p").out);

    WriteFile("bands.json", R"({
        "version": 1, "steps": [
        {"effect": "equalizer", "settings": {"bands": [[1000, 6], [2000, -3]]}}]})");
    EXPECT_EQ(Run("explain --chain bands.json --audio 48000:fltp:mono").out,
              Run("explain -e 'equalizer bands=1000/6|2000/-3' --audio 48000:fltp:mono").out);
}

TEST_F(ChainTool, WhatIsWrongIsSaidWithItsLine) {
    struct Case {
        std::string text;
        std::string error;
    };
    std::string const steps = "{\"version\": 1,\n\"steps\": [\n";
    std::vector<Refusal> refusals{
        {"save c.json", 1, "Add -e EFFECT: there is nothing to save"},
        {"save c.json -e 'blur sigma=3000'", 1,
         "-e \"blur sigma=3000\": blur: sigma=3000 is out of range: 0 to 1024"},
        {"explain --chain none.json --frame 8x8:gray", 2,
         "Cannot read \"none.json\": No such file or directory"},
        {"explain --chain . --frame 8x8:gray", 2, "Cannot read \".\": Is a directory"},
        {"explain --chain /dev/zero --frame 8x8:gray", 2,
         "Cannot read \"/dev/zero\": it has more than 16 MiB"},
    };
    for (auto const& [text, error] : std::vector<Case>{
             {"",
              "line 1: This is not valid JSON: syntax error while parsing value - unexpected end of input; "
              "expected '[', '{', or a literal"},
             {std::string(500'000, '['), "line 1: Nest no deeper than 16 levels"},
             {steps + "{\"effect\": \"posterize\", \"settings\": {\n\"seed\": 18446744073709551615}}]}",
              "line 4: 18446744073709551615 is too large for a whole number"},
             {"[]", "line 1: the chain is not an object"},
             {"{\"version\": 1}", "line 1: the chain lacks \"steps\""},
             {"{\"steps\": [],\n\"version\": 2}",
              "line 2: the chain: \"version\" is a whole number of at most 1, not 2"},
             {"{\"version\": 1,\n\"version\": 1, \"steps\": []}", "line 2: \"version\" is given twice"},
             {steps + "{\"efect\": 1}]}", "line 3: step 1 lacks \"effect\""},
             {steps + "{\"effect\": \"blur\",\n\"setings\": {}}]}",
              "line 4: step 1 (blur): \"setings\" is not a member; did you mean settings?"},
             {steps + "{\"effect\": \"blur\", \"from\": 2,\n\"to\": 1}]}",
              "line 3: step 1 (blur) has times that do not fit: The end of a step comes after its start"},
             {steps + "{\"effect\": \"flip\"},\n{\"effect\": \"blur\",\n\"fade\": -1}]}",
              "line 5: step 2 (blur): \"fade\" takes seconds, 0 or more"},
             {steps + "{\"effect\": \"reverb\",\n\"stream\": -1}]}",
              "line 4: step 1 (reverb): \"stream\" takes the number of an audio stream, from 0, or its "
              "language"},
             {steps + "{\"effect\": \"blur\", \"settings\": {\n\"sigma\":\nnull}}]}",
              "line 4: step 1 (blur): \"sigma\" takes a number, a text, true, false, a list or points"},
             {steps + "{\"effect\": \"blur\", \"settings\": {\n\"sigma\": {\"points\": [[1, 2], [0, 3]]}}}]}",
              "line 4: step 1 (blur): \"sigma\" takes points in the order of their times"},
         }) {
        std::string const file = "bad" + std::to_string(refusals.size()) + ".json";
        WriteFile(file, text);
        refusals.push_back({"explain --chain " + file + " --frame 8x8:gray", 1, file + ": " + error});
    }
    WriteFile("range.json", steps + "\n{\"effect\": \"blur\", \"settings\": {\"sigma\": 3000}}]}");
    refusals.push_back({"explain --chain range.json --frame 8x8:gray", 1,
                        "range.json:4: blur: sigma=3000 is out of range: 0 to 1024"});
    ExpectRefusals(refusals);
}

TEST_F(ChainTool, SavesIntoFilesAndNothingElse) {
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    WriteFile("target.json", "old");
    std::filesystem::permissions("target.json", std::filesystem::perms(0600));
    std::filesystem::create_symlink("target.json", "link.json");
    ExpectRefusals(
        {{"save fifo -e negate --overwrite", 4, "Cannot write \"fifo\": it is not a regular file"}});
    RunForNotes("save link.json -e negate --overwrite");
    EXPECT_TRUE(std::filesystem::is_symlink("link.json"));
    EXPECT_THAT(ReadFile("target.json"), testing::HasSubstr("negate"));
    EXPECT_EQ(std::filesystem::status("target.json").permissions(), std::filesystem::perms(0600));
}

} // namespace
} // namespace Tarsel::Tools
