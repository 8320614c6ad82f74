#include "Tarsel/Tool.h"

#include <gmock/gmock.h>

#include <thread>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class ToneTool : public Tool {
protected:
    static std::string Decode(std::vector<std::string> input) {
        input.insert(input.begin(), {"ffmpeg", "-nostdin", "-v", "error"});
        input.insert(input.end(), {"-c:a", "pcm_s16le", "-f", "s16le", "-"});
        return RunForOutput(input);
    }
    static std::string Probe(std::string const& file) {
        return RunForOutput({"ffprobe", "-v", "error", "-show_entries",
                             "stream=codec_name,sample_rate,channels,duration_ts", "-of", "csv=p=0", file});
    }
};

TEST_F(ToneTool, MakesWhatTheSourceGives) {
    struct Case {
        std::vector<std::string> arguments;
        std::string filter;
    };
    for (Case const& c : {
             Case{{}, "sine=frequency=440:duration=5"},
             Case{{"--duration", "0.77777"}, "sine=frequency=440,atrim=end_sample=34300"},
             Case{{"--source", "sine=f=1000:r=8000:d=0.2,volume=-6dB", "--quiet"},
                  "sine=f=1000:r=8000:d=0.2,volume=-6dB"},
             Case{{"--source", "sine=f=50:r=96000[out]", "--duration", "1"}, "sine=f=50:r=96000:d=1"},
         }) {
        std::vector<std::string> arguments{"tone", At("out.wav"), "--overwrite"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        auto const result = Run(arguments);
        ASSERT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out + result.err, "");
        EXPECT_TRUE(Decode({"-i", At("out.wav")}) == Decode({"-f", "lavfi", "-i", c.filter})) << c.filter;
    }
    EXPECT_EQ(Run({"tone", At("cut.wav"), "--source", "anoisesrc=duration=6"}).err,
              "tarsel: note: The source goes on after 5 s, where the file ends: --duration tells another "
              "length.\n");
    EXPECT_EQ(Run({"tone", At("short.wav"), "--source", "sine=duration=0.25", "--duration", "3"}).err,
              "tarsel: note: The source ended after 0.25 s, and the file with it.\n");
    EXPECT_EQ(Run({"tone", At("whole.wav"), "--source", "anoisesrc=duration=4.5"}).err, "");
}

TEST_F(ToneTool, ConvertsRateAndLayout) {
    ASSERT_EQ(
        Run({"tone", At("out.flac"), "--duration", "0.5", "--rate", "48000", "--layout", "5.1"}).exitCode, 0);
    EXPECT_EQ(Probe(At("out.flac")), "flac,48000,6,24000\n");
    // Double precision is for work, not for files.
    ASSERT_EQ(Run({"tone", At("out.wav"), "--source", "aevalsrc=0.1:s=8000", "--duration", "1"}).exitCode, 0);
    EXPECT_EQ(Probe(At("out.wav")), "pcm_f32le,8000,1,8000\n");
    ASSERT_EQ(Run({"tone", At("out.mka"), "--audio-codec", "aac", "--audio-option", "b=64k"}).exitCode, 0);
    EXPECT_THAT(Probe(At("out.mka")), StartsWith("aac,44100,1,"));
}

TEST_F(ToneTool, RefusesWhatCannotBe) {
    auto const old = MakeFile("old.wav", "precious");
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::string error;
    };
    for (Case const& c : {
             Case{{At("a.wav"), "--source", "sine=blah=3"},
                  1,
                  "--source \"sine=blah=3\" makes no audio: Option not found\n"
                  "  log: [Parsed_sine_0] "},
             Case{{At("a.wav"), "--source", "testsrc2"},
                  1,
                  "--source \"testsrc2\" makes no audio: Invalid argument\n"},
             Case{{At("a.wav"), "--layout", "round"},
                  1,
                  "--layout \"round\" is no channel layout, such as mono, stereo or 5.1\n"},
             Case{{At("a.wav"), "--rate", "5"}, 1, "--rate: \"5\" is no whole number, 1000 to 768000\n"},
             Case{{At("a.wav"), "--duration", "0"},
                  1,
                  "--duration: \"0\" is no time in seconds, 1e-06 to 1000000\n"},
             Case{{At("a.wav"), "--audio-option", "b"},
                  1,
                  "--audio-option \"b\" is not KEY=VALUE, for example b=192k\n"},
             Case{{At("a.wav"), "--audio-codec", "flaac"}, 1, "There is no encoder \"flaac\"; near names: "},
             Case{{At("a.xyz")}, 1, "Cannot write \"" + At("a.xyz") + "\": no container is known by "},
             Case{{At("a.png")}, 1, "Cannot write \"" + At("a.png") + "\": it holds no sound\n"},
             Case{{old}, 1, "Cannot write \"" + old + "\": it exists already and may not be overwritten\n"},
             Case{{At("no/a.wav")},
                  4,
                  "Cannot write \"" + At("no/a.wav") + "\": there is no folder \"" + At("no") + "\"\n"},
         }) {
        std::vector<std::string> arguments{"tone"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        auto const result = Run(arguments);
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_THAT(result.err, StartsWith("tarsel: error: " + c.error));
    }
    EXPECT_THAT(ListFolder(), ElementsAre("old.wav"));
    EXPECT_EQ(ReadFile(old), "precious");
}

TEST_F(ToneTool, InterruptedLeavesNothing) {
    Process process(Command({"tone", At("out.wav"), "--duration", "20000"}));
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (ListFolder().empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    process.Signal(SIGINT);
    auto const result = process.Wait();
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(result.err, "tarsel: \"" + At("out.wav") + "\" was not finished: the run was stopped\n");
    EXPECT_THAT(ListFolder(), IsEmpty());
}

} // namespace
} // namespace Tarsel::Tools
