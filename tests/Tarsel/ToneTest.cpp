#include "Tarsel/Tool.h"

#include <csignal>

namespace Tarsel::Tools {
namespace {

using ToneTool = Tool;

TEST_F(ToneTool, MakesWhatTheSourceGives) {
    struct {
        char const* options;
        char const* filter;
    } const cases[] = {
        {"", "sine=frequency=440:duration=5"},
        {"--duration 0.77777", "sine=frequency=440,atrim=end_sample=34300"},
        {"--source sine=f=1000:r=8000:d=0.2,volume=-6dB --quiet", "sine=f=1000:r=8000:d=0.2,volume=-6dB"},
        {"--source 'sine=f=50:r=96000[out]' --duration 1", "sine=f=50:r=96000:d=1"},
    };
    for (auto const& [options, filter] : cases) {
        EXPECT_EQ(RunForNotes(std::string("tone out.wav --overwrite ") + options), "");
        std::string const samples = "-c:a pcm_s16le -f s16le";
        EXPECT_TRUE(
            Decode("out.wav", samples) ==
            OutputOf(std::string("ffmpeg -nostdin -v error -f lavfi -i ") + filter + ' ' + samples + " -"))
            << filter;
    }
    EXPECT_EQ(RunForNotes("tone cut.wav --source anoisesrc=duration=6"),
              "tarsel: note: Ended the file after 5 s, although the source continues: --duration sets "
              "another length.\n");
    EXPECT_EQ(RunForNotes("tone short.wav --source sine=duration=0.25 --duration 3"),
              "tarsel: note: Ended the file after 0.25 s, where the source ended.\n");
    EXPECT_EQ(RunForNotes("tone whole.wav --source anoisesrc=duration=4.5"), "");
}

TEST_F(ToneTool, ConvertsRateAndLayout) {
    RunForNotes("tone out.flac --duration 0.5 --rate 48000 --layout 5.1");
    EXPECT_EQ(ProbeAudio("out.flac"), "flac 48000 6 24000");
    // Double precision is for work, not for files.
    RunForNotes("tone out.wav --source aevalsrc=0.1:s=8000 --duration 1");
    EXPECT_EQ(ProbeAudio("out.wav"), "pcm_f32le 8000 1 8000");
    RunForNotes("tone out.mka --audio-codec aac --audio-option b=64k");
    EXPECT_THAT(ProbeAudio("out.mka"), testing::StartsWith("aac 44100 1 "));
}

TEST_F(ToneTool, RefusesWhatCannotBe) {
    WriteFile("old.wav", "precious");
    ExpectRefusals({
        {"tone a.wav --source sine=blah=3", 1,
         "--source \"sine=blah=3\" generates no audio: Option not found\n  log: [Parsed_sine_0] *"},
        {"tone a.wav --source testsrc2", 1, "--source \"testsrc2\" generates no audio: Invalid argument\n*"},
        {"tone a.wav --layout round", 1,
         "--layout: give a channel layout such as mono, stereo or 5.1, not \"round\""},
        {"tone a.wav --rate 5", 1, "--rate: give a whole number from 1000 to 768000, not \"5\"\n*"},
        {"tone a.wav --duration 0", 1,
         "--duration: give a time in seconds from 0.000001 to 1000000, not \"0\"\n*"},
        {"tone a.wav --audio-option b", 1, "--audio-option: give KEY=VALUE, such as b=192k, not \"b\""},
        {"tone a.wav --source amovie=old.wav", 1,
         "--source: add --allow-files: amovie may read or write files"},
        {"tone a.wav --source \"sine,'ameta'data=print:file=old.wav\"", 1,
         "--source: add --allow-files: ametadata may read or write files"},
        {"tone a.png", 1, "Cannot write \"a.png\": it holds no audio"},
        {"tone old.wav", 1, "Add --overwrite: \"old.wav\" exists already"},
        {"tone no/a.wav", 4, "Cannot write \"no/a.wav\": there is no folder \"no\""},
    });
}

TEST_F(ToneTool, InterruptedLeavesNothing) {
    EXPECT_EQ(Interrupt("tone out.wav --duration 20000", 1, SIGINT).err,
              "tarsel: Interrupted: \"out.wav\" was not written\n");
}

} // namespace
} // namespace Tarsel::Tools
