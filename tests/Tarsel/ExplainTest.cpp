#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

namespace Tarsel::Tools {
namespace {

using ExplainTool = Tool;

TEST_F(ExplainTool, PrintsTheWorkOfEachStep) {
    auto const result =
        Run({"explain", "-e", "flip horizontal=1", "-e", "flip horizontal=yes vertical=1", "-e", "transpose",
             "-e", "transpose step=3", "-e", "display-matrix matrix=7", "--frame", "1920x1080:yuv420p"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "hflip\n"
                          "vflip[s];[s]hflip\n"
                          "(passes frames untouched)\n"
                          "transpose=dir=2\n"
                          "transpose=clock_flip\n");
}

TEST_F(ExplainTool, CarriesTheFormatThroughTheSteps) {
    auto const result = Run({"explain", "-e", "transpose step=1", "-e", "flip", "-e", "transpose step=3",
                             "--frame", "720x576:yuva420p:16/15", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(nlohmann::json::parse(result.out), nlohmann::json::parse(R"({
        "input": {"width": 720, "height": 576, "pixelFormat": "yuva420p", "pixelAspect": [16, 15]},
        "steps": [
            {"effect": "transpose", "description": "transpose=dir=1",
             "output": {"width": 576, "height": 720, "pixelFormat": "yuva420p", "pixelAspect": [15, 16]}},
            {"effect": "flip", "description": "",
             "output": {"width": 576, "height": 720, "pixelFormat": "yuva420p", "pixelAspect": [15, 16]}},
            {"effect": "transpose", "description": "transpose=dir=2",
             "output": {"width": 720, "height": 576, "pixelFormat": "yuva420p", "pixelAspect": [16, 15]}}
        ]
    })"));
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
