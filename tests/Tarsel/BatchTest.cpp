#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Batch : public Tool {
protected:
    static constexpr char const* s_steps = " -e 'resize width=40' -e 'border left=3 right=3 color=white'";

    Batch() { std::filesystem::create_directory("in"); }

    /// "in/NAME" of some size.
    static void MakePhoto(std::string const& name, int number) {
        MakeFilm("in/" + name, "-f lavfi -i testsrc2=s=" + std::to_string(48 + 6 * number) + "x" +
                                   std::to_string(40 + 2 * (number % 5)) + " -frames:v 1 -update 1");
    }
    static void MakePhotos(int count) {
        for (int i = 0; i < count; ++i)
            MakePhoto("p" + std::to_string(100 + i) + (i % 2 == 0 ? ".png" : ".jpg"), i);
    }
    static std::vector<std::string> ListNames(std::string const& folder) {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }
    static std::vector<nlohmann::json> ParseLines(std::string const& text) {
        std::vector<nlohmann::json> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);)
            lines.push_back(nlohmann::json::parse(line));
        return lines;
    }
};

TEST_F(Batch, PhotosComeOutAsFromRunsOfTheirOwnWhateverBecomesOfOthers) {
    MakePhotos(20);
    std::string const damaged = ReadFile("in/p102.png").substr(0, 30);
    WriteFile("in/p102.png", damaged);
    WriteFile("in/p103.jpg", "a letter, not a photo");
    for (std::string const threads : {"1", "4", "64"}) {
        SCOPED_TRACE(threads);
        auto const result = Run("run in --out-dir small --progress plain --threads " + threads + s_steps);
        EXPECT_EQ(result.exitCode, 5);
        EXPECT_THAT(result.err,
                    testing::ContainsRegex("tarsel: error: 2 of 20 files failed; 18 written in "
                                           "[0-9.]+ s:\n  \"in/p102.png\": .*\n(.*\n)*"
                                           "  \"in/p103.jpg\": No frame of \"in/p103.jpg\" can be"));
        EXPECT_EQ(result.out, "");
        auto const names = ListNames("small");
        EXPECT_EQ(names.size(), 18U);
        for (std::string const& name : names) {
            EXPECT_EQ(Run("run in/" + name + " one-" + name + " --overwrite" + s_steps).exitCode, 0);
            EXPECT_EQ(ReadFile("small/" + name), ReadFile("one-" + name)) << name;
        }
        std::filesystem::remove_all("small");
    }
}

TEST_F(Batch, GoesOnWhereItWasLeft) {
    MakePhotos(6);
    std::string const line = std::string("run 'in/p10?.[jp]*g' --out-dir out --out-format .webp") + s_steps;
    EXPECT_EQ(Run(line).exitCode, 0);
    EXPECT_THAT(ListNames("out"),
                ElementsAre("p100.webp", "p101.webp", "p102.webp", "p103.webp", "p104.webp", "p105.webp"));
    std::filesystem::remove("out/p104.webp");
    WriteFile("out/p101.webp", "stays");
    ExpectRefusals(
        {{line, 1, "Add --overwrite or --skip-existing: \"out/p100.webp\" and 4 more exist already"}});
    auto const again = Run(line + " --skip-existing --progress json");
    EXPECT_EQ(again.exitCode, 0) << again.err;
    ExpectValid("progress", again.out);
    std::map<std::string, int> states;
    for (auto const& each : ParseLines(again.out))
        if (each["type"] == "file")
            ++states[each["state"]];
    EXPECT_EQ(states, (std::map<std::string, int>{{"skipped", 5}, {"written", 1}}));
    EXPECT_EQ(ReadFile("out/p101.webp"), "stays");
    EXPECT_THAT(Run(line + " --overwrite --progress plain").err,
                testing::ContainsRegex("\nout: 6 files, 6 written; [0-9.]+ kB in [0-9.]+ s\n"));
    EXPECT_NE(ReadFile("out/p101.webp"), "stays");
}

TEST_F(Batch, RefusesWhatWouldLoseAFileBeforeAnythingIsWritten) {
    MakePhotos(4);
    std::filesystem::create_directory("in2");
    std::filesystem::copy("in/p100.png", "in2/p100.png");
    std::filesystem::copy("in/p100.png", "in2/p101.png");
    std::filesystem::create_symlink("../in/p102.png", "in2/p102.png");
    std::filesystem::create_directory("empty");
    WriteFile("empty/notes.txt", "none of these");
    std::string const clash = "to folders of their own: both would become ";
    std::string const steps = " -e 'flip vertical'";
    ExpectRefusals({
        {"run in in2 --out-dir out" + steps, 1,
         "Write \"in/p100.png\" and \"in2/p100.png\" " + clash + "\"out/p100.png\""},
        {"run in2/p101.png in/p101.jpg --out-dir out --out-format png" + steps, 1,
         "Write \"in2/p101.png\" and \"in/p101.jpg\" " + clash + "\"out/p101.png\""},
        {"run in/p100.png in/p100.png --out-dir out", 1, "Name \"in/p100.png\" once"},
        {"run in --out-dir in --overwrite", 1,
         "Choose another folder: \"in/p100.png\" is an input, and \"in/p100.png\" would be written over it"},
        {"run in/p102.png --out-dir in2 --overwrite" + steps, 1,
         "Choose another folder: \"in/p102.png\" is*"},
        {"run in/p100.png blur --out-dir out", 2, "Cannot open \"blur\": No such file or directory"},
        {"run 'in/*.gif' --out-dir out", 2, "Cannot open \"in/*.gif\": no file fits this pattern"},
        {"run empty --out-dir out", 2, "Cannot open \"empty\": there are no media files in this folder"},
        {"run in --out-dir out --out-format xyz", 1, "Cannot write \"out/p100.xyz\": no container has *"},
        {"run in --out-dir out --video-codec nonesuch", 1, "*"},
        {"run in --out-dir out -e 'blur sigma=x'", 1, "-e *"},
        {"run in --out-dir out --wrong", 1, "There is no option \"--wrong\"*"},
        {"run in --out-dir out -e 'stabilizer detect=1 path=m.trf'", 1, "Run files one at a time: *"},
        {"run in --out-dir no/such", 4, "--out-dir: cannot make the folder \"no/such\": No such file*"},
        {"run in --out-dir empty/notes.txt", 4, "--out-dir: cannot make the folder *"},
        {"run in --out-dir out --log out/p100.png", 1, "--log: choose another file: *"},
        {"run in/p100.png o.png --skip-existing", 1, "Add --out-dir FOLDER: --skip-existing needs it*"},
    });
}

TEST_F(Batch, TellsProgramsOfEveryFile) {
    MakePhotos(3);
    WriteFile("in/p101.jpg", "no photo");
    auto const result = Run("run in/*.* --out-dir out --progress json" + std::string(s_steps));
    EXPECT_EQ(result.exitCode, 5);
    ExpectValid("progress", result.out);
    auto const lines = ParseLines(result.out);
    std::map<std::string, nlohmann::json> files;
    double done = 0;
    for (auto const& each : lines) {
        if (each["type"] == "file")
            files[each["input"]] = each;
        if (each["type"] == "progress") {
            EXPECT_GE(each["done"], done);
            done = each["done"];
        }
    }
    ASSERT_EQ(files.size(), 3U);
    EXPECT_GT(done, 0.9);
    EXPECT_EQ(files["in/p101.jpg"]["exit_code"], 2);
    EXPECT_EQ(files["in/p102.png"]["bytes"], std::filesystem::file_size("out/p102.png"));
    auto const& summary = lines[lines.size() - 2];
    EXPECT_EQ(summary["type"], "summary");
    EXPECT_EQ(summary["written"], 2);
    EXPECT_EQ(summary["failed"], 1);
    EXPECT_EQ(lines.back()["exit_code"], 5);
    EXPECT_EQ(Run("run in/p101.jpg --out-dir none").exitCode, 2); // nothing stands beside it
    EXPECT_FALSE(std::filesystem::exists("none"));
    EXPECT_THAT(Run("run in --out-dir three --stop-on-error --threads 1").err,
                HasSubstr("1 of 3 files failed; 1 written, 1 not begun in "));
}

TEST_F(Batch, FilmsSongsAndPhotosAreEachWhatARunMakesOfThem) {
    MakePhotos(2);
    std::string const sound = "-f lavfi -i sine=d=1:r=48000";
    MakeFilm("in/a.mkv", "-f lavfi -i testsrc2=s=64x48:d=1 " + sound + " -c:v ffv1 -c:a flac");
    MakeFilm("in/b.mkv", "-f lavfi -i testsrc=s=66x46:d=1 -c:v ffv1");
    MakeFilm("in/c.wav", sound);
    struct {
        std::string names;
        std::string options;
    } const cases[] = {{"a.mkv b.mkv p100.png p101.jpg", " -e 'flip vertical'"},
                       {"a.mkv c.wav", " -e 'reverb amount=0.5'"},
                       {"a.mkv c.wav", " --normalize -20LUFS --overwrite"}};
    for (auto const& [names, options] : cases) {
        EXPECT_EQ(Run("run $(cd in && for n in " + names + "; do echo in/$n; done) --out-dir out" + options)
                      .exitCode,
                  0);
        for (std::string const& name : ListNames("out")) {
            EXPECT_EQ(Run("run in/" + name + " " + name + options).exitCode, 0);
            std::string const hash = "-c copy -f streamhash";
            EXPECT_EQ(Decode("out/" + name, hash), Decode(name, hash)) << name;
            std::filesystem::remove(name);
        }
        std::filesystem::remove_all("out");
    }
    EXPECT_EQ(Run("run in/*.mkv --out-dir stills --out-format png --at 0.5").exitCode, 0);
    EXPECT_THAT(ListNames("stills"), ElementsAre("a.png", "b.png"));
    EXPECT_THAT(Run("run in/*.mkv --out-dir songs --out-format mp3").err,
                HasSubstr("\"in/b.mkv\": \"in/b.mkv\" has no audio"));
}

TEST_F(Batch, AnInterruptLeavesWholeFiles) {
    MakePhotos(2);
    MakeFilm("in/long.mkv", "-f lavfi -i testsrc2=s=320x240:d=60 -c:v libx264 -preset ultrafast");
    std::filesystem::create_directory("out");
    Process process(Command("run in/p100.png in/p101.jpg in/long.mkv --out-dir out -e 'flip vertical' "
                            "--progress json --quiet"));
    auto const deadline = std::chrono::steady_clock::now() + Tarsel::Test::GetPatience();
    while (ListNames("out").size() < 3 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    process.Signal(SIGINT);
    auto const result = process.Wait();
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_THAT(ListNames("out"), ElementsAre("p100.png", "p101.jpg"));
    EXPECT_THAT(result.err,
                HasSubstr("Interrupted: 2 of 3 files are in \"out\"; --skip-existing goes on from there"));
    ExpectValid("progress", result.out);
}

} // namespace
} // namespace Tarsel::Tools
