#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

namespace Tarsel::Tools {
namespace {

using nlohmann::json;
using ExplainTool = Tool;

TEST_F(ExplainTool, TellsWhoseWorkEachStepIsAndWhatItMakes) {
    auto const pictures = Run("explain -e 'flip horizontal vertical=yes' -e transpose -e stabilizer "
                              "-e 'transpose step=3' -e 'display-matrix matrix=7' "
                              "-e 'pixel-format formats=gray' --frame 641x480:rgb24");
    EXPECT_EQ(pictures.exitCode, 0) << pictures.err;
    EXPECT_EQ(pictures.out, "input: 641x480 rgb24\n"
                            "step 1 (flip)\n"
                            "  filter: vflip[s];[s]hflip\n"
                            "step 2 (transpose)\n"
                            "  does nothing; set step\n"
                            "step 3 (stabilizer)\n"
                            "  converted to 642x480 yuv444p and back\n"
                            "  filter: vidstabdetect=show=0:shakiness=5:accuracy=15:stepsize=6:mincontrast="
                            "0.250000:result=transforms.trf\n"
                            "step 4 (transpose)\n"
                            "  filter: transpose=dir=2\n"
                            "  output: 480x641 rgb24\n"
                            "step 5 (display-matrix)\n"
                            "  filter: transpose=clock_flip\n"
                            "  output: 641x480 rgb24\n"
                            "step 6 (pixel-format)\n"
                            "  built-in: rgb24 -> gray; lost: color, color space\n"
                            "  output: 641x480 gray\n"
                            "output: 641x480 gray\n");

    EXPECT_EQ(Run("explain -e 'blur@1-~0.5 sigma=0..20@1-3' --frame 64x48:yuv420p").out,
              "input: 64x48 yuv420p\n"
              "step 1 (blur)\n"
              "  filter: gblur=steps=1:planes=15:sigma=20:sigmaV=20\n"
              "  works from 1 s, fading over 0.5 s; sigma from 0 at 1 s to 20 at 3 s\n"
              "output: 64x48 yuv420p\n");

    EXPECT_EQ(Run("explain -e 'resample rate=44100' -e 'echo echos=500/0.5' --audio 48000:fltp:5.1").out,
              "input: 48000 Hz fltp 5.1\n"
              "step 1 (resample)\n"
              "  built-in: 48000 Hz fltp 5.1 -> 44100 Hz fltp 5.1\n"
              "  output: 44100 Hz fltp 5.1\n"
              "step 2 (echo)\n"
              "  filter: aecho=in_gain=1:out_gain=1:delays=500.000000:decays=0.500000\n"
              "output: 44100 Hz fltp 5.1\n");

    EXPECT_EQ(
        Run("explain -e 'flip vertical' -e audio:fra/reverb --frame 8x8:gray --audio 8000:s16:mono").out,
        "video\n"
        "  input: 8x8 gray\n"
        "  step 1 (flip)\n"
        "    filter: vflip\n"
        "  output: 8x8 gray\n"
        "audio\n"
        "  input: 8000 Hz s16 mono\n"
        "  step 2 (reverb)\n"
        "    for audio stream fra\n"
        "    filter: aecho=in_gain=1.0:out_gain=0.7:delays=30:decays=0.5\n"
        "    output: 8000 Hz s16p mono\n"
        "  output: 8000 Hz s16p mono\n");
}

TEST_F(ExplainTool, JsonTellsTheSame) {
    auto const result = Run("explain -e 'transpose step=1' -e flip -e 'stabilizer detect=1 path=a' "
                            "--frame 720x577:yuva420p:16/15 --json");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    auto const explained = json::parse(result.out);
    EXPECT_EQ(explained.at("input"), json::parse(R"(
        {"width": 720, "height": 577, "pixelFormat": "yuva420p", "pixelAspect": [16, 15]})"));
    EXPECT_EQ(explained.at("steps").at(0), json::parse(R"(
        {"effect": "transpose", "work": "filter", "description": "transpose=dir=1", "idle": null,
         "times": null, "stream": null, "converted": null,
         "output": {"width": 577, "height": 720, "pixelFormat": "yuva420p", "pixelAspect": [15, 16]}})"));
    ExpectValid("explain", result.out);
    EXPECT_EQ(explained.at("steps").at(1), json::parse(R"(
        {"effect": "flip", "work": "none", "description": "",
         "idle": "does nothing; set horizontal=1 or vertical=1", "times": null, "stream": null,
         "converted": null,
         "output": {"width": 577, "height": 720, "pixelFormat": "yuva420p", "pixelAspect": [15, 16]}})"));
}

/// What does nothing is never left without a cure.
TEST_F(ExplainTool, IdleEffectsHaveACure) {
    auto const listed = json::parse(Run("list --json").out);
    int idle = 0;
    for (auto const& effect : listed.at("effects")) {
        std::string const id = effect.at("id");
        std::string const kind = effect.at("kind");
        if (kind.starts_with("two-input"))
            continue;
        auto const result =
            Run("explain -e " + id +
                (kind == "audio" ? " --audio 48000:fltp:stereo" : " --frame 64x48:yuv420p") + " --json");
        EXPECT_EQ(result.exitCode, 0) << result.err;
        auto const step = json::parse(result.out).at("steps").at(0);
        if (step.at("work") == "none") {
            ++idle;
            EXPECT_THAT(step.at("idle").get<std::string>(), testing::StartsWith("does nothing; set ")) << id;
        }
    }
    EXPECT_GT(idle, 10);
}

TEST_F(ExplainTool, TellsWhatIsWrong) {
    std::string const noFormat = "Give INPUT, or the format of the input as --frame or --audio";
    std::vector<Refusal> refusals{
        {"explain -e flip -e 'display-matrix matrix=60000/30000/0/-30000/60000/0/0/0/1073741824' "
         "--frame 8x8:yuv420p",
         3, "step 2 (display-matrix): Unsupported image rotation"},
        {"explain -e flap --frame 8x8:yuv420p", 1,
         "-e \"flap\": There is no effect \"flap\"; did you mean flip?"},
        {"explain -e flip", 1, noFormat},
        {"explain -e flip --audio 48000:fltp:stereo", 1,
         "Add --frame WxH:FORMAT: step 1 (flip) works on video"},
        {"explain in.mp4 -e flip --audio 48000:fltp:stereo", 1, noFormat},
        {"explain in.mp4 -e flip --audio one", 1,
         "--audio: give a number from 0 or language=deu, not \"one\"*"},
        {"explain none -e flip", 1, "Add OUTPUT or --format: INPUT has no extension to take for it"},
    };
    std::string const size = "give the size as WIDTHxHEIGHT, each from 1 to 65535, not ";
    std::string const aspect = "give the pixel aspect ratio as NUM/DEN, each from 1 to 2147483647, not ";
    struct {
        std::string option;
        std::string reason;
    } const formats[] = {
        {"--frame \"1920x1080\"", "give WIDTHxHEIGHT:FORMAT[:NUM/DEN], such as 1920x1080:yuv420p"},
        {"--frame \"1920:yuv420p\"", size + "\"1920\""},
        {"--frame \"4x65536:yuv420p\"", size + "\"4x65536\""},
        {"--frame \"4x4:yuv\"", "\"yuv\" is not a pixel format that FFmpeg knows"},
        {"--frame \"4x4:vaapi\"", "choose another pixel format: effects cannot access \"vaapi\" in memory"},
        {"--frame \"4x4:rgb24:1/0\"", aspect + "\"1/0\""},
        {"--audio \"48000:fltp\"", "give RATE:FORMAT:LAYOUT, such as 48000:fltp:stereo"},
        {"--audio \"0:fltp:stereo\"", "give a sample rate from 1 to 2147483647, not \"0\""},
        {"--audio \"48000:float:stereo\"", "\"float\" is not a sample format that effects support"},
        {"--audio \"48000:fltp:surround\"", "\"surround\" is not a channel layout that FFmpeg knows"},
    };
    for (auto const& [option, reason] : formats)
        refusals.push_back({"explain -e flip " + option, 1, option + ": " + reason});
    ExpectRefusals(refusals);
}

} // namespace
} // namespace Tarsel::Tools
