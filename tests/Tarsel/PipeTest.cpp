#include "Tarsel/Tool.h"

#include <boost/algorithm/string/replace.hpp>

#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>

namespace Tarsel::Tools {
namespace {

using testing::HasSubstr;

constexpr char const* s_pictures = "-f lavfi -i testsrc2=s=128x96:r=25:d=1.4 ";
constexpr char const* s_sound = "-f lavfi -i sine=d=1.4:r=48000 ";

class PipeTool : public Tool {
protected:
    /// What a shell takes, in which TARSEL is the program. Nothing in it may wait for ever, and it fails
    /// where a part of it does.
    static ProcessResult RunPipes(std::string line) {
        auto const seconds = std::chrono::seconds(Tarsel::Test::GetPatience()).count() / 2;
        boost::algorithm::replace_all(line, "TARSEL",
                                      "timeout -k 1 " + std::to_string(seconds) + " '" TARSEL_PROGRAM "'");
        return RunProcess({"/bin/bash", "-c", "set -o pipefail; " + line});
    }

    static void ExpectDone(std::string const& line) {
        ProcessResult const result = RunPipes(line);
        EXPECT_EQ(result.exitCode, 0) << line << '\n' << result.err;
    }

    static bool Has(std::string const& file, std::string const& kind) {
        return Probe(file, "stream=codec_type").find(kind) != std::string::npos;
    }
    /// Times, sizes and hashes of all decoded frames and blocks of samples.
    static std::string Hash(std::string const& file, std::string const& kinds = "-map 0:v? -map 0:a?") {
        return OutputOf("ffmpeg -nostdin -v error -copyts -i " + file + ' ' + kinds +
                        " -fps_mode passthrough -c:a pcm_s16le -f framehash -hash md5 -");
    }
    static std::string HashFrames(std::string const& file) {
        return Has(file, "video") ? Hash(file, "-map 0:v") : "";
    }
    static std::string GetSamples(std::string const& file) {
        return Has(file, "audio") ? Decode(file, "-map 0:a -f s16le") : "";
    }

    static void MakeLossless(std::string const& name) {
        MakeFilm(name, std::string(s_pictures) + s_sound + "-pix_fmt yuv420p -c:v ffv1 -c:a pcm_s16le");
    }
};

// The index of in.mp4 stands at its end.
TEST_F(PipeTool, InputsAreTheSameThroughAPipe) {
    std::string const video = " -e negate --video-codec ffv1";
    std::string const both = video + " --audio-codec pcm_s16le";
    std::string const h264 = std::string(s_pictures) + s_sound + "-c:v libx264 -bf 2 -g 10 -pix_fmt yuv420p ";
    struct {
        std::string input;
        std::string make;
        std::string output;
        std::string options;
    } const cases[] = {
        {"in.y4m", std::string(s_pictures) + "-pix_fmt yuv420p", "mkv", video},
        {"in.wav", s_sound, "wav", " -e 'compressor ratio=4'"},
        {"in.nut", std::string(s_pictures) + s_sound + "-c:v rawvideo -c:a pcm_s16le", "mkv", both},
        {"in.mkv", h264 + "-c:a flac", "mkv", both},
        {"in.mkv", h264 + "-c:a flac", "mkv", ""},
        {"in.mkv", h264 + "-c:a flac", "mkv", both + " --from 0.43 --duration 17f"},
        {"in.mkv", h264 + "-c:a flac", "png", " -e negate --at 0.5"},
        {"in.ts", h264 + "-c:a mp2", "mkv", both},
        {"in.mp4", h264 + "-c:a aac", "mkv", both},
        {"in.mp4", h264 + "-c:a aac", "mkv", " --from 0.4"},
        {"first.mp4", h264 + "-c:a aac -movflags faststart", "mkv", both + " --to 0.7"},
        {"parts.mp4", h264 + "-c:a aac -movflags frag_keyframe+empty_moov", "mkv", both},
        {"in.webm", std::string(s_pictures) + s_sound + "-c:v libvpx -c:a libopus", "mkv", both},
        {"in.png", std::string(s_pictures) + "-frames:v 1", "png", " -e negate"},
        {"in.gif", s_pictures, "mkv", video},
        {"in.mp3", s_sound, "wav", ""},
        {"in.flac", s_sound, "flac", " --from 0.3"},
        {"in.ogg", std::string(s_sound) + "-c:a libvorbis", "wav", ""},
    };
    for (auto const& [input, make, output, options] : cases) {
        SCOPED_TRACE(input + " into ." + output + options);
        if (!std::filesystem::exists(input))
            MakeFilm(input, make);
        ExpectDone("TARSEL run " + input + " named." + output + " --overwrite" + options);
        ExpectDone("cat " + input + " | TARSEL run - piped." + output + " --overwrite" + options);
        EXPECT_EQ(Hash("piped." + output), Hash("named." + output));
    }
}

/// What the refusal of a pipe without a format lists.
std::vector<std::string> ListFormats(std::string const& refusal) {
    std::vector<std::string> formats;
    std::istringstream list(refusal.substr(refusal.find("choose one of ") + 14));
    for (std::string format; list >> format;)
        formats.push_back(format.substr(0, format.find(',')));
    return formats;
}

TEST_F(PipeTool, OutputsAreTheSameThroughAPipe) {
    MakeLossless("in.mkv");
    ProcessResult const refused = Run("run in.mkv -");
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, testing::StartsWith("tarsel: error: Add --format FORMAT: "));
    std::vector<std::string> const formats = ListFormats(refused.err);
    EXPECT_THAT(formats,
                testing::IsSupersetOf({"mp4", "mov", "mkv", "webm", "y4m", "wav", "nut", "ts", "png"}));
    for (std::string const& format : formats) {
        SCOPED_TRACE(format);
        std::string const options = format == "png" ? " --at 0.5" : "";
        bool const isMade = RunPipes("TARSEL run in.mkv named." + format + options).exitCode == 0;
        ProcessResult const result =
            RunPipes("TARSEL run in.mkv - --format " + format + options + " | cat > piped." + format);
        EXPECT_EQ(result.exitCode == 0, isMade) << result.err;
        if (!isMade)
            continue;
        // In fragments, and without a length, players get what encoders add at the beginning and at the end.
        EXPECT_EQ(HashFrames("piped." + format), HashFrames("named." + format));
        std::string const piped = GetSamples("piped." + format);
        std::string const named = GetSamples("named." + format);
        EXPECT_LE(piped.size(), named.size() + 2 * 2 * 1152);
        EXPECT_NE(piped.find(named), std::string::npos);
    }
}

TEST_F(PipeTool, PipelinesKeepEveryFrameTimeAndSample) {
    MakeLossless("in.mkv");
    ExpectDone("cat in.mkv | TARSEL run - - --format nut -e 'flip vertical' | "
               "TARSEL run /dev/stdin /dev/stdout --format matroska -e 'flip vertical' | "
               "TARSEL run - out.mkv --quiet");
    EXPECT_EQ(Hash("out.mkv"), Hash("in.mkv"));
    // As files that are redirected, which nobody replaces.
    ExpectDone(
        "TARSEL run - - --format mkv < in.mkv > copy.mkv && TARSEL run in.mkv /dev/stdout --format mkv "
        ">> copied.mkv");
    EXPECT_EQ(Hash("copy.mkv"), Hash("in.mkv"));
    EXPECT_EQ(Hash("copied.mkv"), Hash("in.mkv"));
    ExpectDone("mkfifo a b && (cat in.mkv > a & cat b > fifo.nut & TARSEL run a b --format nut; wait) && "
               "TARSEL run in.mkv named.nut");
    EXPECT_EQ(Hash("fifo.nut"), Hash("named.nut"));
    EXPECT_TRUE(std::filesystem::is_fifo("a") && std::filesystem::is_fifo("b"));
}

TEST_F(PipeTool, OtherVerbsTakePipes) {
    TellLeaksApart(); // the stabilizer is among them
    MakeLossless("in.mkv");
    MakeFilm("in.wav", s_sound);
    struct {
        std::string named;
        std::string piped;
        std::string output;
    } const cases[] = {
        {"stabilize in.mkv a.mkv", "stabilize - b.mkv", "mkv"},
        {"run in.mkv a.wav --normalize -20LUFS", "run - b.wav --normalize -20LUFS", "wav"},
        {"preview in.mkv a.png -e negate --at 0.5", "preview - b.png -e negate --at 0.5", "png"},
        {"palette in.mkv a.gif", "palette - - --format gif > b.gif", "gif"},
        {"mix a.wav in.mkv in.wav", "mix - - in.wav --format wav > b.wav", "wav"},
        {"tone a.wav --duration 1", "tone - --duration 1 --format wav > b.wav", "wav"},
    };
    for (auto const& [named, piped, output] : cases) {
        SCOPED_TRACE(piped);
        ExpectDone("rm -f [ab].*; TARSEL " + named + " && TARSEL " + piped + " < <(cat in.mkv)");
        EXPECT_EQ(Hash("b." + output), Hash("a." + output));
    }
    for (std::string const verb : {"meter INPUT", "explain INPUT --format mkv -e negate"}) {
        auto const with = [&](std::string const& input) {
            std::string const line = boost::algorithm::replace_all_copy(verb, "INPUT", input);
            std::string text = RunPipes("cat in.mkv | TARSEL " + line + " | grep -v ffmpeg").out;
            return text.substr(text.find('('));
        };
        EXPECT_EQ(with("-"), with("in.mkv"));
    }
    ExpectDone("cat in.mkv | TARSEL bench - -e negate && cat in.mkv | TARSEL gallery - page");
    EXPECT_THAT(RunPipes("cat in.mkv | TARSEL stabilize - c.mkv").err,
                HasSubstr("note: Kept what came through \"-\" in a temporary file, "));
}

TEST_F(PipeTool, SaysWhenTheReaderGoes) {
    MakeFilm("in.mkv", "-f lavfi -i testsrc2=s=320x240:r=25:d=2 -c:v ffv1");
    auto const before = ListFolder();
    ProcessResult const result =
        RunPipes("TARSEL run in.mkv - --format y4m | head -c 100 | wc -c; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(result.exitCode, 128 + SIGPIPE);
    EXPECT_EQ(result.out, "100\n");
    EXPECT_EQ(result.err, "tarsel: error: Cannot write the rest of \"-\": its reader has closed the pipe\n");
    EXPECT_EQ(ListFolder(), before);
}

TEST_F(PipeTool, LeavesStandardInputAlone) {
    MakeLossless("in.mkv");
    ExpectDone("printf '1\\n2\\n3\\n' | while read n; do TARSEL run in.mkv $n.mkv -e negate; done");
    EXPECT_TRUE(std::filesystem::exists("1.mkv") && std::filesystem::exists("3.mkv"));
}

TEST_F(PipeTool, EndsWhenInterruptedWhileItWaits) {
    MakeLossless("in.mkv");
    OutputOf("mkfifo silent unread");
    for (std::string const line : {"run silent out.mkv", "run in.mkv unread --format nut"}) {
        SCOPED_TRACE(line);
        Process process(Command(line));
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        process.Signal(SIGINT);
        ProcessResult const result = process.Wait();
        EXPECT_EQ(result.exitCode, 128 + SIGINT);
        EXPECT_THAT(result.err, testing::StartsWith("tarsel: Interrupted: "));
    }
    EXPECT_THAT(ListFolder(), testing::ElementsAre("in.mkv", "silent", "unread"));
}

TEST_F(PipeTool, TellsWhatItCannotDo) {
    MakeLossless("in.mkv");
    WriteFile("list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\npipe:0\n#EXT-X-ENDLIST\n");
    std::string const urls = ": only files and pipes can be read, not URLs";
    std::string const needsFile = " files are completed at their beginning, which a pipe has passed on: "
                                  "write a file, or choose one of *";
    std::string const alone = ": it writes to standard output, where OUTPUT goes";
    OutputOf("mkfifo same");
    ExpectRefusals({
        {"run in.mkv - --format avi", 1, "Cannot write \"-\": .avi" + needsFile},
        {"run in.mkv - --format w64", 1, "Cannot write \"-\": .w64" + needsFile},
        {"run in.mkv o.mkv --format matrosk", 1,
         "Cannot write \"o.mkv\": there is no container \"matrosk\"*"},
        {"run in.mkv /dev/stdout --format mkv --time", 1, "Remove --time" + alone},
        {"meter in.mkv --png -", 1, "Remove --png -" + alone},
        {"try -", 1, "Save \"-\" into a file first: it is a pipe, and try reads INPUT many times"},
        {"run - o.mkv", 2, "\"-\" is empty: nothing came through the pipe"},
        {"run file:- o.mkv", 2, "Cannot open \"./-\": No such file or directory"},
        {"run pipe:0 o.mkv", 2, "Cannot open \"pipe:0\"" + urls},
        {"run http://127.0.0.1:1/a.mkv o.mkv", 2, "Cannot open \"http://127.0.0.1:1/a.mkv\"" + urls},
        {"run 'concat:in.mkv|in.mkv' o.mkv", 2, "Cannot open \"concat:in.mkv|in.mkv\"" + urls},
        {"run in.mkv tcp://127.0.0.1:1 --format nut", 4,
         "Cannot write \"tcp://127.0.0.1:1\": only files and pipes can be written, not URLs"},
        {"run - o.mkv < list.m3u8", 2, "*"},
        {"run same same --format nut", 1, "Cannot write \"same\": it is the input"},
    });
    EXPECT_THAT(RunPipes("TARSEL run in.mkv - --format mkv --progress json").err,
                HasSubstr("Remove --progress json" + alone));
    EXPECT_EQ(RunForNotes("run file:in.mkv file:o.mkv"), "");
    MakeFilm("uneven.mkv", "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -vf 'select=not(eq(mod(n\\,5)\\,3))' "
                           "-fps_mode vfr -c:v ffv1");
    EXPECT_THAT(RunPipes("TARSEL run uneven.mkv - --format y4m 2>&1 >/dev/null").out,
                HasSubstr("note: Lost the uneven frame times: .y4m has "));
}

} // namespace
} // namespace Tarsel::Tools
