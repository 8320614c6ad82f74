#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <map>
#include <sstream>

namespace Tarsel::Tools {
namespace {

using nlohmann::json;
using testing::HasSubstr;

using ReportTool = Tool;

/// Each line on its own.
std::vector<json> ParseLines(std::string const& text) {
    std::vector<json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(json::parse(line));
    return lines;
}

TEST_F(ReportTool, JsonLinesFollowTheirSchemaToTheEnd) {
    MakeSmallFilm();
    TellLeaksApart();
    MakeFilm("large.mp4",
             "-f lavfi -i testsrc2=size=192x144:rate=25:duration=2 -c:v libx264 -preset ultrafast "
             "-pix_fmt yuv420p");
    WriteFile("there.mp4", "keep me");
    struct {
        std::string line;
        std::string last;
        int exitCode;
    } const cases[] = {
        {"run film.mp4 out.mp4 -e 'flip vertical' --time", "result", 0},
        {"run film.mp4 copy.mkv --quiet", "result", 0},
        {"stabilize large.mp4 steady.mp4", "result", 0},
        {"palette film.mp4 few.gif --colors 4", "result", 0},
        {"run none.mp4 o.mp4", "error", 2},
        {"run film.mp4 there.mp4", "error", 1},
        {"run film.mp4", "error", 1},
        {"run film.mp4 o.mp4 -e 'blur sigma=x'", "error", 1},
        {"run film.mp4 no/o.mp4", "error", 4},
    };
    for (auto const& [line, last, exitCode] : cases) {
        SCOPED_TRACE(line);
        auto const result = Run(line + " --progress json");
        EXPECT_EQ(result.exitCode, exitCode);
        ExpectValid("progress", result.out);
        auto const lines = ParseLines(result.out);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back()["type"], last);
        if (last == "error") {
            EXPECT_EQ(lines.back()["exit_code"], exitCode);
            EXPECT_EQ(result.err, "tarsel: error: " + lines.back()["message"].get<std::string>() + "\n");
            continue;
        }
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(lines.front()["type"], "start");
        EXPECT_EQ(lines.back()["frames"], 50);
        EXPECT_EQ(lines.back()["bytes"], std::filesystem::file_size(lines.back()["output"]));
        EXPECT_EQ(lines.back().contains("times"), line.ends_with("--time"));
        double done = 0;
        for (auto const& each : lines) {
            if (each["type"] != "progress")
                continue;
            EXPECT_GE(each["done"], done);
            done = each["done"];
        }
        EXPECT_GT(done, 0.9);
    }
    MakeFilm("long.mp4", "-stream_loop 40 -i film.mp4 -c copy");
    auto const cut = Interrupt(
        "run long.mp4 o.mp4 -e 'flip vertical' --video-option preset=placebo --progress json", 9, SIGTERM);
    ExpectValid("progress", cut.out);
    EXPECT_EQ(ParseLines(cut.out).back(), json::parse(R"({"type": "error", "exit_code": 143,
        "message": "Interrupted: \"o.mp4\" was not written"})"));
    auto const idle = Run("run film.mp4 idle.mp4 -e flip --progress json");
    EXPECT_THAT(ParseLines(idle.out).back()["notes"].dump(), HasSubstr("Step 1 (flip) does nothing"));
    EXPECT_EQ(Run("run film.mp4 out.mp4 --overwrite --progress json > /dev/full").exitCode, 4);
}

TEST_F(ReportTool, PlainEndsWithWhatWasWritten) {
    MakeSmallFilm();
    EXPECT_THAT(
        Run("run film.mp4 out.mp4 -e 'flip vertical' --progress plain").err,
        testing::MatchesRegex("(tarsel: [0-9]+%.*\n)*(tarsel: note: .*\n)*out.mp4: 50 frames .libx264., "
                              "[0-9.]+ [kM]B in [0-9.]+ s, [0-9.]+ fps\n"));
    EXPECT_EQ(Run("run film.mp4 none.mp4 --progress plain --quiet").err, "");
}

TEST_F(ReportTool, LogsAreAppendedAndNothingElseIsTouched) {
    MakeSmallFilm();
    MakeFilm("image.png", "-f lavfi -i testsrc2=s=64x48 -frames:v 1");
    EXPECT_EQ(Run("run film.mp4 out.mp4 -e emboss --log a.log").exitCode, 0);
    EXPECT_EQ(Run("run none.mp4 out2.mp4 --log a.log").exitCode, 2);
    std::istringstream log(ReadFile("a.log"));
    std::string all;
    for (std::string line; std::getline(log, line); all += line.substr(25) + '\n')
        EXPECT_THAT(line, testing::MatchesRegex("20[0-9-]+T[0-9:]+\\.[0-9]+Z [a-z]+ .+"));
    EXPECT_THAT(all, testing::StartsWith("tarsel Started: \"film.mp4\" to \"out.mp4\"\n"));
    EXPECT_THAT(all, HasSubstr("info [libx264]"));
    EXPECT_THAT(all, HasSubstr("tarsel Done\ntarsel Started: "));
    EXPECT_THAT(all,
                testing::EndsWith("tarsel Failed: Cannot open \"none.mp4\": No such file or directory\n"));
    std::string const belongs = "choose another file: \"film.mp4\" belongs to the run";
    ExpectRefusals({
        {"run film.mp4 o.mp4 --log ./film.mp4", 1, "--log: choose another file: \"./film.mp4\" belongs*"},
        {"run film.mp4 o.mp4 --log image.png", 4,
         "--log: cannot write \"image.png\": it exists and is not a log; choose another name"},
        {"run film.mp4 o.mp4 --log no/a.log", 4, "--log: cannot write \"no/a.log\": No such file*"},
        {"run film.mp4 o.mp4 --overwrite --frame-facts film.mp4", 1, "--frame-facts: " + belongs},
        {"run film.mp4 o.mp4 --overwrite --frame-facts x --log x", 1, "--frame-facts: choose another file*"},
        {"run film.mp4 o.mp4 --frame-facts image.png", 1, "Add --overwrite: \"image.png\" exists already"},
        {"run film.mp4 o.mp4 --frame-facts f -e 'blur sigma=x'", 1, "-e *"},
        {"run film.mp4 o.mp4 --overwrite --frame-facts image.png -e 'midequalizer reference=image.png'", 1,
         "Choose another output: \"image.png\" is the reference of a step"},
        {"run film.mp4 o.mp4 --progress loud", 1, "--progress: give one of bar, plain, json, none, *"},
    });
}

/// What ffmpeg says of a stream, a line each: time, duration, hash.
std::vector<std::string> HashStream(std::string const& file, std::string const& stream) {
    std::vector<std::string> lines;
    std::istringstream text(
        Tarsel::Test::RunForOutput({"ffmpeg", "-nostdin", "-v", "error", "-i", file, "-map", stream,
                                    "-fps_mode", "passthrough", "-f", "framehash", "-hash", "murmur3", "-"}));
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with('#'))
            continue;
        std::erase(line, ' ');
        std::ranges::replace(line, ',', ' ');
        auto const words = Tarsel::Test::SplitWords(line);
        lines.push_back(words[2] + ' ' + words[3] + ' ' + words[5]);
    }
    return lines;
}

TEST_F(ReportTool, FrameFactsAreThoseOfWhatIsWritten) {
    MakeFilm("film.mkv", "-f lavfi -i testsrc2=s=66x46:r=25:d=1 -f lavfi -i sine=d=1:r=48000 "
                         "-c:v ffv1 -pix_fmt yuv420p10le -c:a flac");
    std::string const line = "run film.mkv out.mkv --overwrite --frame-facts facts.json ";
    EXPECT_EQ(Run(line + "-e 'flip vertical' -e reverb --audio-codec pcm_s16le").exitCode, 0);
    std::string const text = ReadFile("facts.json");
    ExpectValid("frame-facts", text);
    std::map<std::string, std::vector<std::string>> told;
    for (json const& each : ParseLines(text)) {
        if (each["type"] == "start")
            continue;
        int const unit = each["type"] == "video" ? 1000 : 48000;
        auto const toUnits = [&](char const* key) {
            return std::to_string(std::llround(each[key].get<double>() * unit));
        };
        std::string const base = each["time_base"];
        EXPECT_DOUBLE_EQ(each["time"], each["ticks"].get<double>() / std::stoi(base.substr(2))) << base;
        told[each["type"]].push_back(toUnits("time") + ' ' + toUnits("duration") + ' ' +
                                     each["murmur3"].get<std::string>());
    }
    // FFmpeg counts frames of raw video in frames.
    auto const video = HashStream("out.mkv", "0:v");
    ASSERT_EQ(told["video"].size(), video.size());
    for (std::size_t i = 0; i < video.size(); ++i)
        EXPECT_EQ(told["video"][i], std::to_string(40 * i) + " 40" + video[i].substr(video[i].rfind(' ')));
    // Blocks of PCM come back as they were written; the file's times are of a millisecond.
    auto const audio = HashStream("out.mkv", "0:a");
    ASSERT_EQ(told["audio"].size(), audio.size());
    for (std::size_t i = 0; i < audio.size(); ++i)
        EXPECT_EQ(told["audio"][i].substr(told["audio"][i].find(' ')), audio[i].substr(audio[i].find(' ')));

    EXPECT_EQ(Run(line + "-e emboss").exitCode, 0);
    EXPECT_THAT(ReadFile("facts.json"), HasSubstr("{\"type\":\"copied\",\"stream\":1,\"codec\":\"flac\"}\n"));
    EXPECT_EQ(Run("run film.mkv o.mp4 -e nothing --frame-facts f").exitCode, 1);
    EXPECT_THAT(ListFolder(), testing::ElementsAre("facts.json", "film.mkv", "out.mkv"));
}

} // namespace
} // namespace Tarsel::Tools
