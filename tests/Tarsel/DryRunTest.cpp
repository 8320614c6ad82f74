// What "explain" says of a run beforehand, against what the run then does.

#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

using nlohmann::json;

std::string const s_tiny = "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 ";
std::string const s_tone = "-f lavfi -i sine=d=0.4:r=48000 ";
std::string const s_h264 = "-c:v libx264 -preset ultrafast -pix_fmt yuv420p ";
std::string const s_lossless = " --video-codec ffv1";

/// A kind of input, and a run of it.
struct DryRun {
    std::string name;
    std::string input;
    /// Arguments of the ffmpeg program that make it; "": an empty file.
    std::string arguments;
    /// What follows INPUT.
    std::string rest;
    /// Whether there is a command of the ffmpeg program.
    bool hasCommand = false;
    int exitCode = 0;
    int orientation = 0;
    /// Of the input; 1: all of it.
    double part = 1;
};

std::ostream& operator<<(std::ostream& stream, DryRun const& run) {
    return stream << run.name;
}

DryRun const s_runs[] = {
    {"VariableRate", "in.mp4", s_tiny + "-vf 'select=not(eq(mod(n\\,5)\\,3))' -fps_mode vfr -bf 2 " + s_h264,
     "out.mkv -e 'flip vertical'" + s_lossless, true},
    {"OddSize", "in.mkv", s_tiny + "-s 65x49 -pix_fmt yuv444p -c:v ffv1", "out.mkv -e 'transpose step=1'",
     true},
    {"OddSizeForH264", "in.mkv", s_tiny + "-s 65x49 -pix_fmt yuv420p -c:v ffv1", "out.mp4 -e negate"},
    {"Rotated", "in.mp4", s_tiny + s_h264, "out.mkv -e 'flip horizontal vertical' -e posterize" + s_lossless,
     false, 0, 6},
    {"RotatedByTheProgramToo", "in.mp4", s_tiny + s_h264,
     "out.mkv -e 'flip horizontal vertical'" + s_lossless, true, 0, 6},
    {"RotatedAndLost", "in.mp4", s_tiny + s_h264, "out.webm", true, 0, 6},
    {"LightLevels", "in.mkv",
     s_tiny + "-pix_fmt yuv420p10le -c:v libx265 -x265-params "
              "log-level=none:'master-display=G(1,2)B(3,4)R(5,6)WP(7,8)L(10,9):max-cll=1000,400'",
     "out.mp4 -e 'flip horizontal'", true},
    {"TenBits", "in.mkv", s_tiny + "-pix_fmt yuv420p10le -c:v ffv1", "out.mkv -e 'flip horizontal'", true},
    {"TenBitsToEight", "in.mkv", s_tiny + "-pix_fmt yuv422p10le -c:v ffv1", "out.mpg"},
    {"AlphaInWebm", "in.webm",
     "-f lavfi -i color=0xFF000080:s=64x48:d=0.2,format=yuva420p -c:v libvpx-vp9 -auto-alt-ref 0",
     "out.mkv -e 'blur sigma=1'"},
    {"AlphaInMov", "in.mov", s_tiny + "-vf format=argb -c:v qtrle", "out.mp4"},
    {"Interlaced", "in.mpg", s_tiny + "-c:v mpeg2video -flags +ildct+ilme -vf setfield=tff",
     "out.mpg -e negate"},
    {"Surround", "in.mkv", s_tiny + s_tone + "-ac 6 -c:a flac " + s_h264, "out.mp4 -e gate"},
    {"SurroundThroughAFilter", "in.mka", s_tone + "-ac 6 -c:a flac", "out.mka -e 'echo echos=100/0.5'", true},
    {"Cover", "in.mp3",
     s_tone + s_tiny + "-map 0 -map 1 -frames:v 1 -c:v png -c:a libmp3lame -disposition:v attached_pic",
     "out.flac"},
    {"CoverLost", "in.mp3",
     s_tone + s_tiny + "-map 0 -map 1 -frames:v 1 -c:v png -c:a libmp3lame -disposition:v attached_pic",
     "out.wav -e reverb"},
    {"Subtitles", "in.mkv", s_tiny + "-i words.srt " + s_h264 + "-c:s ass", "out.mp4 --video-option qp=0",
     true},
    {"SubtitlesLost", "in.mkv", s_tiny + "-i words.srt " + s_h264 + "-c:s srt", "out.avi", true},
    {"Chapters", "in.mkv", s_tiny + "-i chapters.txt -map 0 -map_chapters 1 " + s_h264, "out.avi -e negate"},
    {"Languages", "in.mkv",
     s_tiny + s_tone + s_tone +
         "-map 0 -map 1 -map 2 -metadata:s:a:0 language=deu -metadata:s:a:1 "
         "language=fra -c:a flac " +
         s_h264,
     "out.mkv -e audio:fra/reverb --no-subtitles", true},
    {"OneLanguage", "in.mkv",
     s_tiny + s_tone + s_tone +
         "-map 0 -map 1 -map 2 -metadata:s:a:0 language=deu -metadata:s:a:1 "
         "language=fra -c:a flac " +
         s_h264,
     "out.mp4 --audio language=fra", true},
    {"NoSuchLanguage", "in.mkv", s_tiny + s_tone + s_h264, "out.mp4 --audio language=fra", false, 1},
    {"LateAudio", "in.mkv", s_tiny + "-itsoffset 0.2 " + s_tone + "-c:a pcm_s16le " + s_h264,
     "out.mkv -e 'flip vertical' --video-codec ffv1", true},
    {"NegativeTimes", "in.nut", "-itsoffset -0.1 " + s_tiny + "-c:v ffv1 -copyts", "out.mkv -e negate"},
    {"BFrames", "in.mp4", s_tiny + s_tone + "-bf 3 " + s_h264, "out.ts", true},
    {"Truncated", "in.mkv", s_tiny + s_tone + "-c:v ffv1 -c:a pcm_s16le", "out.mkv -e 'flip vertical'", true,
     0, 0, 0.7},
    {"WithoutItsIndex", "in.mp4", s_tiny + s_h264, "out.mp4 -e negate", false, 2, 0, 0.7},
    {"Empty", "in.mp4", "", "out.mp4", false, 2},
    {"NoMedia", "in.mp4", "-f lavfi -i sine=d=0.01 -f ffmetadata", "out.mp4", false, 2},
    {"Broadcast", "in.ts", s_tiny + s_tone + "-c:v mpeg2video -c:a ac3", "out.mp4", true},
    {"Image", "in.png", s_tiny + "-frames:v 1", "out.jpg -e negate"},
    {"FrameOfAFilm", "in.mp4", s_tiny + s_h264, "out.png --at 0.2"},
    {"FilmToImageWithoutATime", "in.mp4", s_tiny + s_h264, "out.png", false, 1},
    {"Animation", "in.gif", s_tiny, "out.gif -e 'resize width=32'"},
    {"Bare", "in.h264", s_tiny + s_h264, "out.mp4", true},
    {"Attached", "in.mkv", s_tiny + s_h264 + "-attach words.srt -metadata:s:t mimetype=text/plain", "out.mp4",
     true},
    {"TimeCode", "in.mov", s_tiny + s_h264 + "-timecode 01:00:00:00", "out.mkv", true},
    {"Telephone", "in.wav", "-f lavfi -i sine=d=0.2:r=8000 -c:a pcm_alaw", "out.flac -e 'reverb amount=0.2'",
     true},
    {"Copied", "in.mkv", s_tiny + s_tone + "-c:a flac " + s_h264, "out.mp4", true},
    {"Part", "in.mkv", s_tiny + s_tone + "-c:a flac -g 3 " + s_h264, "out.mkv --from 5f --duration 0.1"},
    {"Louder", "in.wav", s_tone, "out.wav --normalize -20LUFS"},
    {"MotionOnly", "in.mkv", s_tiny + "-s 128x96 " + s_h264, "out.mkv -e 'stabilizer detect=1 path=motion'",
     true},
    {"NoAudio", "in.mp4", s_tiny + s_h264, "out.mp3 -e reverb", false, 2},
    {"Exists", "in.mp4", s_tiny + s_h264, "in.mp4", false, 1},
};

class DryRunTool : public Tool, public testing::WithParamInterface<DryRun> {
protected:
    DryRunTool() { TellLeaksApart(); } // the stabilizer is among the runs

    static void MakeInput(DryRun const& run) {
        WriteFile("words.srt", "1\n00:00:00,050 --> 00:00:00,200\nfirst\n");
        WriteFile("chapters.txt", ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=200\ntitle=one\n");
        if (run.arguments.empty())
            WriteFile(run.input, "");
        else
            MakeFilm(run.input, run.arguments);
        if (run.orientation != 0)
            SetOrientation(run.input, run.orientation);
        if (run.part < 1)
            std::filesystem::resize_file(
                run.input, static_cast<std::uintmax_t>(
                               run.part * static_cast<double>(std::filesystem::file_size(run.input))));
    }

    /// Codecs by the index of their stream; programs list streams once more.
    static std::map<std::string, std::string> ProbeCodecs(std::string const& file) {
        std::map<std::string, std::string> codecs;
        std::istringstream words(Probe(file, "stream=index,codec_name"));
        for (std::string index, codec; words >> index >> codec;)
            codecs[index] = codec;
        return codecs;
    }

    /// The file has the streams that the plan has, encoded as it says.
    static void ExpectAsPlanned(json const& streams, std::string const& file) {
        std::map<std::string, std::string> codecs;
        for (json const& stream : streams) {
            json const& output = stream.at("output");
            EXPECT_EQ(output.is_null(), stream.at("fate") == "drop");
            if (output.is_null()) {
                EXPECT_FALSE(stream.at("reason").is_null()) << stream;
                continue;
            }
            EXPECT_EQ(stream.at("reason").is_null(), stream.at("fate") == "copy") << stream;
            codecs[output.at("index").dump()] = output.at("codec");
            // Of others the file does not say what the encoder got.
            bool const tellsFormat = output.at("codec") == "ffv1" || output.at("codec") == "h264";
            if (stream.at("fate") == "encode" && tellsFormat) {
                EXPECT_EQ(Probe(file, "stream=pix_fmt", "-select_streams " + output.at("index").dump()),
                          output.at("format").get<std::string>());
            }
        }
        EXPECT_EQ(ProbeCodecs(file), codecs);
    }

    /// Decoded frames and samples of all streams, in their order.
    static std::string HashAll(std::string const& file) {
        return OutputOf(
            "ffmpeg -nostdin -v error -i " + file +
            " -map 0:v? -map 0:a? -fps_mode passthrough -f framemd5 - | grep -v '^#tb\\|^#software'");
    }
};

TEST_P(DryRunTool, SaysWhatTheRunDoes) {
    DryRun const& run = GetParam();
    MakeInput(run);
    std::string const line = run.input + ' ' + run.rest + " --threads 1";
    std::string const output = run.rest.substr(0, run.rest.find(' '));
    auto const before = ListFolder();
    auto const explained = Run("explain " + line + " --json");
    EXPECT_EQ(ListFolder(), before);
    auto const done = Run("run " + line + " --progress json");
    EXPECT_EQ(done.exitCode, run.exitCode) << done.err;
    EXPECT_EQ(explained.exitCode, run.exitCode) << explained.err;
    if (run.exitCode != 0) {
        EXPECT_EQ(explained.err, done.err);
        EXPECT_EQ(explained.out, "");
        return;
    }
    ExpectValid("explain", explained.out);
    json plan = json::parse(explained.out);
    json const result = json::parse(done.out.substr(done.out.rfind("{\"type\":\"result\"")));
    for (json& stream : plan.at("streams"))
        stream.erase("steps");
    EXPECT_EQ(plan.at("streams"), result.at("streams"));
    ExpectAsPlanned(plan.at("streams"), output);
    for (json const& note : plan.at("notes"))
        EXPECT_NE(std::ranges::find(result.at("notes"), note), result.at("notes").end()) << note;

    json const& command = plan.at("ffmpeg").at("command");
    EXPECT_EQ(command.is_array(), run.hasCommand) << plan.at("ffmpeg");
    if (!command.is_array())
        return;
    std::string const ours = "ours" + std::filesystem::path(output).extension().string();
    std::filesystem::rename(output, ours);
    auto words = command.get<std::vector<std::string>>();
    words.insert(words.end() - 2, {"-v", "error", "-threads", "1"});
    auto const theirs = RunProcess(words);
    EXPECT_EQ(theirs.exitCode, 0) << theirs.err;
    EXPECT_EQ(HashAll(output), HashAll(ours)) << command;
}

INSTANTIATE_TEST_SUITE_P(Inputs, DryRunTool, testing::ValuesIn(s_runs),
                         [](auto const& run) { return run.param.name; });

} // namespace
} // namespace Tarsel::Tools
