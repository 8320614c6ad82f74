#include "Tarsel/Tool.h"

#include <gmock/gmock.h>

#include <sstream>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class RunTool : public Tool {
protected:
    /// Hashes of the decoded pictures, in order.
    static std::vector<std::string> HashPictures(std::string const& file,
                                                 std::string const& filter = "null") {
        return Tool::HashPictures({"-i", file, "-map", "0:v", "-vf", filter});
    }

    /// What ffprobe tells of `entries` for the streams of a kind ("v"), "name=value" a line.
    static std::string Probe(std::string const& file, std::string const& streams,
                             std::string const& entries) {
        return RunForOutput({"ffprobe", "-v", "error", "-select_streams", streams, "-show_entries", entries,
                             "-show_data_hash", "md5", "-of", "default=noprint_wrappers=1", file});
    }

    /// Times and contents of coded packets.
    static std::string ProbePackets(std::string const& file, std::string const& streams) {
        return Probe(file, streams, "packet=pts_time,dts_time,duration_time,data_hash");
    }

    static std::string ProbeTimes(std::string const& file) { return Probe(file, "v", "frame=pts_time"); }

    static std::vector<std::string> Lossless() {
        return {"--video-codec", "libx264", "--video-option", "qp=0", "--video-option", "preset=ultrafast"};
    }

    static ProcessResult RunWith(std::vector<std::string> arguments, std::vector<std::string> const& more) {
        arguments.insert(arguments.begin(), "run");
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }

    /// The quarters of the first picture, row by row, white or black: as stored, or as viewers see it.
    static std::string LookAt(std::string const& file, bool asSeen) {
        std::vector<std::string> command{"ffmpeg", "-nostdin", "-v", "error"};
        if (!asSeen)
            command.emplace_back("-noautorotate");
        command.insert(command.end(), {"-i", file, "-frames:v", "1", "-vf",
                                       "scale=2:2:flags=area,format=gray", "-f", "rawvideo", "-"});
        std::string quarters = RunForOutput(command);
        for (char& quarter : quarters)
            quarter = static_cast<unsigned char>(quarter) > 128 ? 'W' : 'B';
        return quarters;
    }

    /// Standard error holds notes alone.
    static void ExpectSuccess(ProcessResult const& result) {
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out, "");
        std::istringstream lines(result.err);
        for (std::string line; std::getline(lines, line);)
            EXPECT_THAT(line, StartsWith("tarsel: note: "));
    }

    static void ExpectSilentSuccess(ProcessResult const& result) {
        ExpectSuccess(result);
        EXPECT_EQ(result.err, "");
    }

    /// A film as a phone makes it: turned by its tag, with pictures at uneven times, sound and subtitles.
    std::string MakePhoneFilm() const {
        auto const subtitles = MakeFile("words.srt", "1\n00:00:00,050 --> 00:00:00,200\nfirst\n\n"
                                                     "2\n00:00:00,250 --> 00:00:00,390\nsecond\n");
        auto film = MakeFilm(
            "film.mp4", {"-f",        "lavfi",     "-i",   "testsrc2=size=1920x1080:rate=30:duration=0.4",
                         "-f",        "lavfi",     "-i",   "sine=duration=0.4",
                         "-i",        subtitles,   "-vf",  "select=not(eq(mod(n\\,5)\\,3)),format=yuv420p",
                         "-fps_mode", "vfr",       "-c:v", "libx264",
                         "-preset",   "superfast", "-bf",  "2",
                         "-c:a",      "aac",       "-c:s", "mov_text"});
        SetOrientation(film, 6);
        return film;
    }
};

TEST_F(RunTool, OnlyThePictureChanges) {
    auto const film = MakePhoneFilm();
    auto const result = RunWith({film, At("out.mp4"), "-e", "flip horizontal=1"}, Lossless());
    ExpectSuccess(result);
    EXPECT_THAT(result.err, HasSubstr(" times as much as in the input; "));

    auto const pictures = HashPictures(At("out.mp4"));
    EXPECT_EQ(pictures.size(), 10U);
    // The ffmpeg program, too, turns pictures upright before its filters.
    EXPECT_EQ(pictures, HashPictures(film, "hflip"));
    EXPECT_EQ(ProbeTimes(At("out.mp4")), ProbeTimes(film));
    EXPECT_EQ(Probe(At("out.mp4"), "v", "stream=width,height"), "width=1080\nheight=1920\n");
    EXPECT_EQ(Probe(At("out.mp4"), "v", "stream_side_data=rotation"), "");
    EXPECT_EQ(Probe(film, "v", "stream_side_data=rotation"), "rotation=-90\n");
    for (std::string const streams : {"a", "s"}) {
        EXPECT_EQ(ProbePackets(At("out.mp4"), streams), ProbePackets(film, streams));
        EXPECT_NE(ProbePackets(film, streams), "");
        EXPECT_EQ(Probe(At("out.mp4"), streams, "stream=codec_name"),
                  Probe(film, streams, "stream=codec_name"));
    }
    EXPECT_THAT(ListFolder(), ElementsAre("film.mp4", "out.mp4", "words.srt"));
}

TEST_F(RunTool, PicturesAreThoseOfTheFilterText) {
    struct Case {
        int orientation;
        std::vector<std::string> steps;
        std::string filter;
    };
    auto const film = MakeFilm("film.mp4", {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=0.2",
                                            "-pix_fmt", "yuv420p", "-c:v", "libx264", "-bf", "0"});
    for (Case const& c : {
             Case{1, {"transpose step=1"}, "transpose=dir=1"},
             Case{1, {"flip horizontal=1 vertical=1", "transpose step=3"}, "vflip,hflip,transpose=dir=2"},
             Case{3, {"flip vertical=1", "transpose step=1"}, "vflip,transpose=dir=1"},
             Case{8, {"flip vertical", "flip vertical"}, "null"},
             Case{1, {"display-matrix matrix=5"}, "transpose=cclock_flip"},
         }) {
        SetOrientation(film, c.orientation);
        std::vector<std::string> arguments{film, At("out.mp4"), "--overwrite"};
        for (std::string const& step : c.steps)
            arguments.insert(arguments.end(), {"-e", step});
        ExpectSilentSuccess(RunWith(arguments, Lossless()));
        EXPECT_EQ(HashPictures(At("out.mp4")), HashPictures(film, c.filter))
            << c.filter << ", orientation " << c.orientation;
    }
}

TEST_F(RunTool, WithoutEffectsThePictureIsCopied) {
    auto const film = MakePhoneFilm();
    ExpectSilentSuccess(RunWith({film, At("copy.mp4")}, {}));
    for (std::string const streams : {"v", "a", "s"})
        EXPECT_EQ(ProbePackets(At("copy.mp4"), streams), ProbePackets(film, streams)) << streams;
    EXPECT_EQ(Probe(At("copy.mp4"), "v", "stream_side_data=rotation"),
              Probe(film, "v", "stream_side_data=rotation"));

    // Naming an encoder asks for encoding.
    auto const encoded = RunWith({film, At("encoded.mkv"), "--video-codec", "ffv1"}, {});
    ExpectSuccess(encoded);
    EXPECT_THAT(encoded.err, HasSubstr("Subtitles were converted from mov_text to subrip."));
    EXPECT_EQ(HashPictures(At("encoded.mkv")), HashPictures(film));
    EXPECT_EQ(Probe(At("encoded.mkv"), "v", "stream=width,height"), "width=1080\nheight=1920\n");
}

TEST_F(RunTool, StepsThatDoNothingAreNamedAndTheirStreamsCopied) {
    auto const film = MakePhoneFilm();
    struct Case {
        std::vector<std::string> steps;
        std::vector<std::string> notes;
        std::string copied;
    };
    for (Case const& c : {
             Case{{"deshake enabled=0", "flip horizontal=0"},
                  {"step 1 (deshake) does nothing; set enabled=1.",
                   "step 2 (flip) does nothing; set horizontal=1 or vertical=1."},
                  "vas"},
             Case{{"border color=red"},
                  {"step 1 (border) does nothing; set left, right, top or bottom."},
                  "vas"},
             Case{{"resize width=1080 height=1920"},
                  {"step 1 (resize) does nothing to this input; set width"},
                  "vas"},
             Case{{"echo scale=0", "flip horizontal"},
                  {"step 1 (echo) does nothing; set echos and scale."},
                  "as"},
             Case{{"echo scale=2", "deshake"}, {"step 1 (echo) does nothing; set echos."}, "as"},
             Case{{"echo", "reverb", "flip"},
                  {"step 3 (flip) does nothing; set horizontal=1 or vertical=1.",
                   "step 1 (echo) does nothing; set echos."},
                  "vs"},
         }) {
        SCOPED_TRACE(c.steps.front());
        std::vector<std::string> arguments{film, At("out.mp4"), "--overwrite"};
        for (std::string const& step : c.steps)
            arguments.insert(arguments.end(), {"-e", step});
        auto const result = RunWith(arguments, {});
        ExpectSuccess(result);
        for (std::string const& note : c.notes)
            EXPECT_THAT(result.err, HasSubstr("tarsel: note: " + note));
        for (std::string const streams : {"v", "a", "s"}) {
            bool const isCopied = c.copied.find(streams) != std::string::npos;
            EXPECT_EQ(ProbePackets(At("out.mp4"), streams) == ProbePackets(film, streams), isCopied)
                << streams;
        }
    }
}

// Where the container cannot hold the codec, the tag is carried out before it is lost.
TEST_F(RunTool, WhatCannotBeCopiedStaysUpright) {
    auto const film = MakeFilm("film.mp4", {"-f", "lavfi", "-i", "color=white:s=32x32:d=0.2", "-f", "lavfi",
                                            "-i", "color=black:s=32x32:d=0.2", "-filter_complex", "hstack",
                                            "-pix_fmt", "yuv420p", "-c:v", "libx264"});
    SetOrientation(film, 6);
    EXPECT_EQ(LookAt(film, false), "WB"
                                   "WB");
    EXPECT_EQ(LookAt(film, true), "WW"
                                  "BB");
    auto const result = RunWith({film, At("out.webm")}, {});
    ExpectSuccess(result);
    EXPECT_EQ(result.err, "tarsel: note: The pictures were encoded anew and turned upright: \"out.webm\" "
                          "cannot hold h264.\n");
    EXPECT_EQ(LookAt(At("out.webm"), false), "WW"
                                             "BB");
    EXPECT_EQ(Probe(At("out.webm"), "v", "stream=width,height"), "width=32\nheight=64\n");

    // Without a tag there is nothing to turn, and no plug-in is needed.
    SetOrientation(film, 1);
    auto const plain = RunProcess({TARSEL_PROGRAM, "run", film, At("plain.webm"), "--plugin", At("none.so")});
    EXPECT_EQ(plain.err, "tarsel: note: The pictures were encoded anew: \"plain.webm\" cannot hold h264.\n");
    SetOrientation(film, 6);
    auto const none = RunProcess({TARSEL_PROGRAM, "run", film, At("none.webm"), "--plugin", At("none.so")});
    EXPECT_NE(none.exitCode, 0);
    EXPECT_THAT(none.err, HasSubstr(At("none.so")));
    EXPECT_THAT(ListFolder(), ElementsAre("film.mp4", "out.webm", "plain.webm"));
}

TEST_F(RunTool, OrientationThatCannotBeBakedIsTold) {
    auto const film = MakeSmallFilm();
    auto const stored = HashPictures(film, "hflip");
    SetDisplayMatrix(film, Conf::DisplayMatrix::FromRotation(30));
    auto const result = RunWith({film, At("out.mp4"), "-e", "flip horizontal=1"}, Lossless());
    ExpectSuccess(result);
    EXPECT_EQ(result.err,
              "tarsel: note: The input's orientation tag is no mirror and no quarter turn: the effects "
              "worked on the picture as it is stored, and the tag is dropped.\n");
    EXPECT_EQ(HashPictures(At("out.mp4")), stored);
}

TEST_F(RunTool, StillPictures) {
    auto const still = MakeFilm("in.png", {"-f", "lavfi", "-i", "testsrc2=size=33x21", "-frames:v", "1",
                                           "-update", "1", "-pix_fmt", "rgba"});
    ExpectSilentSuccess(RunWith({still, At("out.png"), "-e", "flip horizontal=1"}, {}));
    EXPECT_EQ(HashPictures(At("out.png")), HashPictures(still, "hflip"));

    auto const film = MakeFilm("film.mkv", {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=2",
                                            "-c:v", "png", "-pix_fmt", "rgb24"});
    ExpectSilentSuccess(RunWith({film, At("at.png"), "-e", "flip vertical=1", "--at", "1.02"}, {}));
    EXPECT_THAT(HashPictures(At("at.png")), ElementsAre(HashPictures(film, "vflip")[25]));
    ExpectSuccess(RunWith({film, At("at.jpg"), "--at", "1"}, {}));
    EXPECT_EQ(Probe(At("at.jpg"), "v", "stream=codec_name,width,height"),
              "codec_name=mjpeg\nwidth=64\nheight=48\n");
}

TEST_F(RunTool, BadFilesAreToldAndLeftAlone) {
    auto const film = MakeSmallFilm();
    auto const whole = ReadFile(film);
    auto const out = At("out.mp4");
    auto const quoted = [](std::string const& path) { return "\"" + path + "\""; };
    struct Case {
        std::string input;
        std::string output;
        int exitCode;
        std::string error;
    };
    for (Case const& c : {
             Case{At("missing.mp4"), out, 2, "Cannot open " + quoted(At("missing.mp4"))},
             Case{MakeFile("cut.mp4", whole.substr(0, whole.size() / 2)), out, 2,
                  "log: [mov,mp4,m4a,3gp,3g2,mj2] moov atom not found"},
             Case{film, At("none/out.mp4"), 4, "there is no folder " + quoted(At("none"))},
             Case{film, film, 1, "Cannot write " + quoted(film) + ": it is the input"},
             Case{film, MakeFile("there.mp4", "keep me"), 1,
                  "Cannot write " + quoted(At("there.mp4")) + ": it exists already"},
         }) {
        auto const before = ListFolder();
        auto const result = RunWith({c.input, c.output, "-e", "flip horizontal=1"}, {});
        EXPECT_EQ(result.exitCode, c.exitCode) << c.error;
        EXPECT_THAT(result.err, StartsWith("tarsel: error: "));
        EXPECT_THAT(result.err, HasSubstr(c.error));
        EXPECT_EQ(ListFolder(), before) << c.error;
    }
    EXPECT_EQ(ReadFile(film), whole);
    EXPECT_EQ(ReadFile(At("there.mp4")), "keep me");
}

TEST_F(RunTool, FailingEffectLeavesNothing) {
    auto const film = MakeSmallFilm();
    auto const result = RunWith({film, At("out.mp4"), "-e", "flip horizontal=1", "-e",
                                 "display-matrix matrix=60000/30000/0/-30000/60000/0/0/0/1073741824"},
                                {});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.err, "tarsel: error: step 2 (display-matrix): Unsupported image rotation\n");
    EXPECT_THAT(ListFolder(), ElementsAre("film.mp4"));
}

TEST_F(RunTool, InterruptedRunLeavesNothing) {
    auto const film =
        MakeFilm("film.mp4", {"-f", "lavfi", "-i", "testsrc2=size=640x480:rate=100:duration=6", "-pix_fmt",
                              "yuv420p", "-c:v", "libx264", "-preset", "ultrafast"});
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        auto const result = Interrupt({"run", film, At("out.mp4"), "-e", "flip horizontal=1", "--video-codec",
                                       "libx264", "--video-option", "preset=placebo"},
                                      2, signal);
        EXPECT_EQ(result.exitCode, 128 + signal);
        EXPECT_THAT(result.err, StartsWith("tarsel: "));
        EXPECT_THAT(result.err, Not(HasSubstr("error")));
        EXPECT_THAT(ListFolder(), ElementsAre("film.mp4"));
    }
}

TEST_F(RunTool, TerminalShowsProgressAndASummary) {
    auto const film = MakeSmallFilm();
    auto const runOnTerminal = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(),
                         {"run", film, At("out.mp4"), "--overwrite", "-e", "flip horizontal=1"});
        return Process(Command(arguments), Process::ErrorOutput::Terminal, 40).Wait();
    };
    auto const result = runOnTerminal({});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("100%"));
    EXPECT_THAT(result.err, HasSubstr(At("out.mp4") + ": 50 frames (libx264) in "));
    // Each state of the line begins at the left edge and stays clear of the right one.
    std::istringstream states(result.err.substr(0, result.err.find(At("out.mp4"))));
    for (std::string state; std::getline(states, state, '\r');)
        EXPECT_LT(state.size(), 40U) << state;

    EXPECT_THAT(runOnTerminal({"--quiet"}).err, IsEmpty());

    auto const song = MakeFilm("song.wav", {"-f", "lavfi", "-i", "sine=duration=2"});
    EXPECT_THAT(
        Process(Command({"run", song, At("out.flac")}), Process::ErrorOutput::Terminal, 80).Wait().err,
        HasSubstr(At("out.flac") + ": 2.0 s of audio (flac) in "));
}

TEST_F(RunTool, VerboseShowsFFmpegsLogAndTheSite) {
    auto const result = RunWith({At("missing.mp4"), At("out.mp4")}, {"--verbose"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("\n  thrown at: Media/"));
    EXPECT_THAT(result.err, HasSubstr("\n  in: main\n"));

    auto const film = MakeSmallFilm();
    auto const encoded = RunWith({film, At("out.mp4"), "-e", "flip horizontal=1", "--verbose"}, {});
    EXPECT_EQ(encoded.exitCode, 0);
    EXPECT_THAT(encoded.err, HasSubstr("[libx264] "));
}

TEST_F(RunTool, QualityIsALevelOfTheEncoder) {
    auto const film = MakeSmallFilm();
    auto const size = [&](std::string const& level) {
        ExpectSuccess(RunWith({film, At(level + ".mp4"), "--quality", level}, {}));
        return std::filesystem::file_size(At(level + ".mp4"));
    };
    EXPECT_LT(size("low"), size("high"));
    ExpectSilentSuccess(RunWith({film, At("same.mp4"), "--quality", "lossless"}, {}));
    EXPECT_EQ(HashPictures(At("same.mp4")), HashPictures(film));
    auto const result = RunWith({film, At("out.mp4"), "--quality", "best"}, {});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("low,medium,high,visually-lossless,lossless"));
}

TEST_F(RunTool, AFormatAskedForLastIsWritten) {
    auto const film = MakeSmallFilm();
    struct {
        char const* formats;
        char const* encoder;
        char const* written;
    } const cases[] = {
        {"rgb24", "ffv1", "bgr0"}, {"gray", "ffv1", "gray"}, {"yuv444p10le", "libx265", "yuv444p10le"}};
    for (auto const& [formats, encoder, written] : cases) {
        SCOPED_TRACE(formats);
        auto const file = At(std::string(formats) + ".mkv");
        ExpectSuccess(RunWith({film, file, "-e", std::string("pixel-format formats=") + formats},
                              {"--video-codec", encoder}));
        EXPECT_THAT(Probe(file, "v", "stream=pix_fmt"), HasSubstr(std::string("pix_fmt=") + written + "\n"));
    }
}

// Two negatives give the picture back, by way of RGB.
TEST_F(RunTool, AnEffectInRgbShiftsNoColours) {
    for (std::string const matrix : {"unknown", "bt709", "bt2020nc", "smpte170m"}) {
        SCOPED_TRACE(matrix);
        std::string const film =
            MakeFilm("in-" + matrix + ".mkv",
                     {"-f", "lavfi", "-i", "color=0x20c040:size=1280x720:duration=0.1,format=yuv420p", "-c:v",
                      "libx264", "-qp", "0", "-colorspace", matrix});
        std::string const out = At("out-" + matrix + ".mkv");
        ExpectSuccess(RunWith({film, out, "-e", "negate", "-e", "negate"}, Lossless()));
        EXPECT_EQ(Probe(out, "v", "stream=pix_fmt,color_space"),
                  Probe(film, "v", "stream=pix_fmt,color_space"));
        auto const pixel = [](std::string const& file) {
            return RunForOutput({"ffmpeg", "-v", "error", "-i", file, "-vf", "crop=2:2:600:300", "-frames:v",
                                 "1", "-f", "rawvideo", "-pix_fmt", "yuv444p", "-"});
        };
        std::string const before = pixel(film);
        std::string const after = pixel(out);
        ASSERT_EQ(before.size(), after.size());
        for (std::size_t i = 0; i < before.size(); ++i)
            EXPECT_NEAR(static_cast<unsigned char>(before[i]), static_cast<unsigned char>(after[i]), 2);
    }
}

} // namespace
} // namespace Tarsel::Tools
