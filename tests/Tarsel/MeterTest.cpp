#include "Tarsel/Tool.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using MeterTool = Tool;

nlohmann::json ReadJson(ProcessResult const& result) {
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return nlohmann::json::parse(result.out);
}

TEST_F(MeterTool, ShowsPeakAndRmsOfEachChannel) {
    // A sine of 1/8, a wave that is never above 0, silence.
    auto const wave =
        MakeFilm("wave.wav",
                 {"-f", "lavfi", "-i", "aevalsrc='sin(2*PI*100*t)/8|-0.5*lt(t\\,0.5)|0':s=8000:d=1.25:c=2.1",
                  "-c:a", "pcm_f32le"});
    auto const result = Run({"meter", wave, "--interval", "0.5"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, wave + ": 8000 Hz flt 2.1, levels in dB of full scale\n\n"
                                 "                         FL              FR             LFE\n"
                                 "       from    peak     rms    peak     rms    peak     rms\n"
                                 "     0:00.0   -18.1   -21.1    -6.0    -6.0    -inf    -inf\n"
                                 "     0:00.5   -18.1   -21.1    -inf    -inf    -inf    -inf\n"
                                 "     0:01.0   -18.1   -21.1    -inf    -inf    -inf    -inf\n"
                                 "        all   -18.1   -21.1    -6.0   -10.0    -inf    -inf\n");

    auto const json = ReadJson(Run({"meter", wave, "--json", "--interval", "0.5"}));
    EXPECT_EQ(json["channels"], (std::vector<std::string>{"FL", "FR", "LFE"}));
    EXPECT_EQ(json["samples"], 10000);
    EXPECT_EQ(json["seconds"], 1.25);
    ASSERT_EQ(json["rows"].size(), 3U);
    EXPECT_EQ(json["rows"][2]["start"], 1.0);
    EXPECT_EQ(json["rows"][2]["samples"], 2000);
    auto const levels = json["whole"]["levels"];
    EXPECT_NEAR(levels[0]["peak"].get<double>(), 0.125, 1e-6);
    EXPECT_NEAR(levels[0]["rms"].get<double>(), 0.125 / std::sqrt(2), 1e-6);
    EXPECT_NEAR(levels[0]["peakDb"].get<double>(), 20 * std::log10(0.125), 1e-5);
    EXPECT_EQ(levels[1]["peak"], 0.5);
    EXPECT_NEAR(levels[1]["rms"].get<double>(), std::sqrt(0.25 * 0.4), 1e-9);
    EXPECT_EQ(levels[2]["rms"], 0.0);
    EXPECT_TRUE(levels[2]["peakDb"].is_null());
}

TEST_F(MeterTool, MeasuresFilmsLayoutsWithoutANameAndNothing) {
    auto const film = MakeFilm("film.mp4", {"-f", "lavfi", "-i", "testsrc2=size=64x48:duration=1", "-f",
                                            "lavfi", "-i", "sine=duration=1", "-c:a", "aac"});
    EXPECT_NEAR(ReadJson(Run({"meter", film, "--json"}))["whole"]["levels"][0]["rmsDb"].get<double>(), -21.1,
                0.3);

    auto const many =
        MakeFilm("many.wav", {"-f", "lavfi", "-i", "aevalsrc=0|0|0|0|0|0|0|0|0.5:s=8000:d=0.1"});
    auto const json = ReadJson(Run({"meter", many, "--json"}));
    EXPECT_EQ(json["channels"][8], "9");
    EXPECT_NEAR(json["whole"]["levels"][8]["peak"].get<double>(), 0.5, 1e-4);

    auto const none = MakeFilm("none.wav", {"-f", "lavfi", "-i", "anullsrc", "-t", "0"});
    auto const nothing = ReadJson(Run({"meter", none, "--json"}));
    EXPECT_EQ(nothing["rows"].size(), 0U);
    EXPECT_TRUE(nothing["whole"]["levels"][0]["rmsDb"].is_null());
}

TEST_F(MeterTool, DrawsAWaveform) {
    auto const wave = MakeFilm("wave.wav", {"-f", "lavfi", "-i", "sine=duration=2"});
    for (auto const& [size, shown] :
         {std::pair("", "1280,160"), std::pair("300x40", "300,40"), std::pair("16x16", "16,16")}) {
        std::vector<std::string> arguments{"meter", wave, "--png", At("wave.png"), "--overwrite"};
        if (*size != '\0')
            arguments.insert(arguments.end(), {"--size", size});
        auto const result = Run(arguments);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_THAT(result.out, HasSubstr("all   -18.1   -21.1\n"));
        EXPECT_EQ(RunForOutput({"ffprobe", "-v", "error", "-show_entries", "stream=width,height", "-of",
                                "csv=p=0", At("wave.png")}),
                  std::string(shown) + "\n");
    }
    EXPECT_THAT(ListFolder(), ElementsAre("wave.png", "wave.wav"));
}

TEST_F(MeterTool, RefusesWhatCannotBe) {
    auto const wave = MakeFilm("wave.wav", {"-f", "lavfi", "-i", "sine=duration=0.1"});
    auto const mute = MakeSmallFilm();
    auto const text = MakeFile("text.wav", "no sound");
    auto const old = MakeFile("old.png", "precious");
    auto const before = ListFolder();
    std::string const seeHelp = "\nSee \"tarsel meter --help\".";
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::string error;
    };
    for (Case const& c : {
             Case{{At("no.wav")}, 2, "Cannot open \"" + At("no.wav") + "\": No such file or directory"},
             Case{{mute}, 2, "\"" + mute + "\" has no sound"},
             Case{{text},
                  2,
                  "Cannot open \"" + text +
                      "\": Invalid data found when processing input\n"
                      "  FFmpeg: Invalid data found when processing input (-1094995529)"},
             Case{{wave, "--interval", "nan"},
                  1,
                  "--interval: \"nan\" is no time in seconds, 0.001 to 86400" + seeHelp},
             Case{{wave, "--size", "20x20"}, 1, "--size requires --png" + seeHelp},
             Case{{wave, "--png", At("w.png"), "--size", "20"},
                  1,
                  "--size \"20\" is not WxH, for example 1280x320, each from 16 to 8192"},
             Case{{wave, "--png", old},
                  1,
                  "Cannot write \"" + old + "\": it exists already and may not be overwritten"},
             Case{{wave, "--png", wave, "--overwrite"}, 1, "Cannot write \"" + wave + "\": it is the input"},
             Case{{wave, "--png", At("w.mp4")},
                  1,
                  "Cannot write \"" + At("w.mp4") + "\": its name is none of a picture, as wave.png is"},
             Case{{wave, "--png", At("no/w.png")},
                  4,
                  "Cannot write \"" + At("no/w.png") + "\": there is no folder \"" + At("no") + "\""},
         }) {
        std::vector<std::string> arguments{"meter"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        auto const result = Run(arguments);
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "tarsel: error: " + c.error + "\n");
    }
    EXPECT_EQ(ReadFile(old), "precious");
    EXPECT_EQ(ListFolder(), before);
}

} // namespace
} // namespace Tarsel::Tools
