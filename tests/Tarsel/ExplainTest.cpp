#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

namespace Tarsel::Tools {
namespace {

using ExplainTool = Tool;

TEST_F(ExplainTool, TellsWhoseWorkEachStepIsAndWhatItMakes) {
    auto const pictures = Run({"explain", "-e", "flip horizontal vertical=yes", "-e", "transpose", "-e",
                               "stabilizer", "-e", "transpose step=3", "-e", "display-matrix matrix=7", "-e",
                               "pixel-format formats=gray", "--frame", "641x480:rgb24"});
    EXPECT_EQ(pictures.exitCode, 0) << pictures.err;
    EXPECT_EQ(pictures.out, "input: 641x480 rgb24\n"
                            "step 1 (flip)\n"
                            "  filter: vflip[s];[s]hflip\n"
                            "step 2 (transpose)\n"
                            "  does nothing; set step\n"
                            "step 3 (stabilizer)\n"
                            "  converted to 642x480 yuv444p, and back after\n"
                            "  filter: vidstabdetect=show=0:shakiness=5:accuracy=15:stepsize=6:mincontrast="
                            "0.250000:result=transforms.trf\n"
                            "step 4 (transpose)\n"
                            "  filter: transpose=dir=2\n"
                            "  output: 480x641 rgb24\n"
                            "step 5 (display-matrix)\n"
                            "  filter: transpose=clock_flip\n"
                            "  output: 641x480 rgb24\n"
                            "step 6 (pixel-format)\n"
                            "  own work: rgb24 -> gray; lost: color, color space\n"
                            "  output: 641x480 gray\n"
                            "output: 641x480 gray\n");

    auto const audio = Run(
        {"explain", "-e", "resample rate=44100", "-e", "echo echos=500/0.5", "--audio", "48000:fltp:stereo"});
    EXPECT_EQ(audio.out, "input: 48000 Hz fltp stereo\n"
                         "step 1 (resample)\n"
                         "  own work: 48000 Hz fltp stereo -> 44100 Hz fltp stereo\n"
                         "  output: 44100 Hz fltp stereo\n"
                         "step 2 (echo)\n"
                         "  filter: aecho=in_gain=1:out_gain=1:delays=500.000000:decays=0.500000\n"
                         "output: 44100 Hz fltp stereo\n");
}

TEST_F(ExplainTool, JsonTellsTheSame) {
    auto const result = Run({"explain", "-e", "transpose step=1", "-e", "flip", "-e",
                             "stabilizer detect=1 path=a", "--frame", "720x577:yuva420p:16/15", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    auto const explained = nlohmann::json::parse(result.out);
    EXPECT_EQ(explained.at("input"), nlohmann::json::parse(R"(
        {"width": 720, "height": 577, "pixelFormat": "yuva420p", "pixelAspect": [16, 15]})"));
    EXPECT_EQ(explained.at("steps").at(0), nlohmann::json::parse(R"(
        {"effect": "transpose", "work": "filter", "description": "transpose=dir=1", "idle": null,
         "converted": null,
         "output": {"width": 577, "height": 720, "pixelFormat": "yuva420p", "pixelAspect": [15, 16]}})"));
    EXPECT_EQ(explained.at("steps").at(1), nlohmann::json::parse(R"(
        {"effect": "flip", "work": "none", "description": "",
         "idle": "does nothing; set horizontal=1 or vertical=1", "converted": null,
         "output": {"width": 577, "height": 720, "pixelFormat": "yuva420p", "pixelAspect": [15, 16]}})"));
}

/// Every text that is said to be one of FFmpeg's filters is one: the ffmpeg program takes it.
TEST_F(ExplainTool, FilterTextsRunInFFmpeg) {
    auto const listed = nlohmann::json::parse(Run({"list", "--json"}).out);
    int ran = 0;
    for (auto const& effect : listed.at("effects")) {
        std::string const id = effect.at("id");
        std::string const kind = effect.at("kind");
        if (kind.starts_with("two-input"))
            continue;
        bool const isAudio = kind == "audio";
        auto const explain = [&](std::string const& step) {
            auto const result = Run({"explain", "-e", step, isAudio ? "--audio" : "--frame",
                                     isAudio ? "48000:fltp:stereo" : "64x48:yuv420p", "--json"});
            EXPECT_EQ(result.exitCode, 0) << result.err;
            return nlohmann::json::parse(result.out).at("steps").at(0);
        };
        auto const step = explain(id);
        if (step.at("work") != "filter")
            continue;
        ++ran;
        std::string const source = isAudio ? "sine=duration=0.1,aformat=fltp:48000:stereo,"
                                           : "testsrc2=size=64x48:duration=0.1,format=yuv420p,";
        auto const ffmpeg =
            RunProcess({"env", "-C", At(""), "ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                        source + step.at("description").get<std::string>(), "-f", "null", "-"});
        EXPECT_EQ(ffmpeg.exitCode, 0) << id << ": " << step << '\n' << ffmpeg.err;
    }
    EXPECT_GT(ran, 10);
}

TEST_F(ExplainTool, TellsWhatIsWrong) {
    std::string const frame = "8x8:yuv420p";
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::string error;
    };
    for (Case const& c : {
             Case{{"-e", "flip", "-e", "display-matrix matrix=60000/30000/0/-30000/60000/0/0/0/1073741824",
                   "--frame", frame},
                  3,
                  "step 2 (display-matrix): Unsupported image rotation"},
             Case{{"-e", "flip horizontal=2", "--frame", frame},
                  1,
                  "-e \"flip horizontal=2\": flip: horizontal=2 is no flag: 0 or 1"},
             Case{{"-e", "flap", "--frame", frame},
                  1,
                  "-e \"flap\": There is no effect \"flap\"; the nearest name is \"flip\""},
             Case{{"-e", "flip"}, 1, "explain wants the format that goes in: either --frame or --audio"},
             Case{{"-e", "flip", "--frame", frame, "--audio", "48000:fltp:stereo"},
                  1,
                  "explain wants the format that goes in: either --frame or --audio"},
             Case{{"-e", "flip", "--audio", "48000:fltp:stereo"},
                  1,
                  "-e \"flip\": flip works on video input, not on audio"},
             Case{{"-e", "flip", "--audio", "48000:fltp"},
                  1,
                  "--audio \"48000:fltp\": is not RATE:FORMAT:LAYOUT, for example 48000:fltp:stereo"},
             Case{{"--frame", frame}, 1, "--effect is required\nSee \"tarsel explain --help\"."},
         }) {
        std::vector<std::string> arguments{"explain"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        auto const result = Run(arguments);
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_EQ(result.err, "tarsel: error: " + c.error + "\n");
        EXPECT_EQ(result.out, "");
    }
}

} // namespace
} // namespace Tarsel::Tools
