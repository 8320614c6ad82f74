#include "Tarsel/Tool.h"

#include <array>
#include <csignal>
#include <sstream>
#include <tuple>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class RunTool : public Tool {
protected:
    static constexpr char const* s_lossless =
        " --video-codec libx264 --video-option qp=0 --video-option preset=ultrafast";

    /// Of the decoded pictures, in order.
    static std::vector<std::string> Hash(std::string const& file, std::string const& filter = "null") {
        return HashPictures("-i " + file + " -map 0:v -vf " + filter);
    }

    /// Times and contents of the coded packets of streams of a kind ("v").
    static std::string ProbePackets(std::string const& file, std::string const& streams) {
        return Probe(file, "packet=pts_time,dts_time,duration_time,data_hash", "-select_streams " + streams);
    }
    /// Of the video streams.
    static std::string ProbeVideo(std::string const& file, std::string const& entries) {
        return Probe(file, entries, "-select_streams v");
    }

    /// The quarters of the first picture, row by row, white or black: as stored, or as viewers see it.
    static std::string LookAt(std::string const& file, bool asSeen) {
        std::string quarters =
            OutputOf(std::string("ffmpeg -nostdin -v error ") + (asSeen ? "" : "-noautorotate") + " -i " +
                     file + " -frames:v 1 -vf scale=2:2:flags=area,format=gray -f rawvideo -");
        for (char& quarter : quarters)
            quarter = static_cast<unsigned char>(quarter) > 128 ? 'W' : 'B';
        return quarters;
    }

    /// A film as a phone makes it: turned by its tag, with pictures at uneven times, audio and subtitles.
    static void MakePhoneFilm() {
        WriteFile("words.srt", "1\n00:00:00,050 --> 00:00:00,200\nfirst\n\n"
                               "2\n00:00:00,250 --> 00:00:00,390\nsecond\n");
        MakeFilm("film.mp4", "-f lavfi -i testsrc2=size=1920x1080:rate=30:duration=0.4 "
                             "-f lavfi -i sine=duration=0.4 -i words.srt "
                             "-vf 'select=not(eq(mod(n\\,5)\\,3)),format=yuv420p' -fps_mode vfr "
                             "-c:v libx264 -preset superfast -bf 2 -c:a aac -c:s mov_text");
        SetOrientation("film.mp4", 6);
    }
};

TEST_F(RunTool, OnlyThePictureChanges) {
    MakePhoneFilm();
    EXPECT_THAT(RunForNotes(std::string("run film.mp4 out.mp4 -e 'flip horizontal=1'") + s_lossless),
                HasSubstr(" times as much as in the input; "));

    auto const pictures = Hash("out.mp4");
    EXPECT_EQ(pictures.size(), 10U);
    // The ffmpeg program, too, turns pictures upright before its filters.
    EXPECT_EQ(pictures, Hash("film.mp4", "hflip"));
    EXPECT_EQ(ProbeVideo("out.mp4", "frame=pts_time"), ProbeVideo("film.mp4", "frame=pts_time"));
    EXPECT_EQ(ProbeVideo("out.mp4", "stream=width,height"), "1080 1920");
    EXPECT_EQ(ProbeVideo("out.mp4", "stream_side_data=rotation"), "");
    EXPECT_EQ(ProbeVideo("film.mp4", "stream_side_data=rotation"), "-90");
    for (std::string const streams : {"a", "s"}) {
        EXPECT_EQ(ProbePackets("out.mp4", streams), ProbePackets("film.mp4", streams));
        EXPECT_NE(ProbePackets("film.mp4", streams), "");
    }
    EXPECT_EQ(Probe("out.mp4", "stream=codec_name"), "h264 aac mov_text");
    EXPECT_THAT(ListFolder(), ElementsAre("film.mp4", "out.mp4", "words.srt"));
}

TEST_F(RunTool, PicturesAreThoseOfTheFilterText) {
    MakeFilm("film.mp4",
             "-f lavfi -i testsrc2=size=64x48:rate=25:duration=0.2 -pix_fmt yuv420p -c:v libx264 -bf 0");
    struct {
        int orientation;
        std::string steps;
        char const* filter;
    } const cases[] = {
        {1, "-e 'transpose step=1'", "transpose=dir=1"},
        {1, "-e 'flip horizontal=1 vertical=1' -e 'transpose step=3'", "vflip,hflip,transpose=dir=2"},
        {3, "-e 'flip vertical=1' -e 'transpose step=1'", "vflip,transpose=dir=1"},
        {8, "-e 'flip vertical' -e 'flip vertical'", "null"},
        {1, "-e 'display-matrix matrix=5'", "transpose=cclock_flip"},
    };
    for (auto const& [orientation, steps, filter] : cases) {
        SetOrientation("film.mp4", orientation);
        EXPECT_EQ(RunForNotes("run film.mp4 out.mp4 --overwrite " + steps + s_lossless), "");
        EXPECT_EQ(Hash("out.mp4"), Hash("film.mp4", filter)) << steps << ", orientation " << orientation;
    }
}

TEST_F(RunTool, StepsWorkAtTheirTimes) {
    MakeFilm("film.mkv", "-f lavfi -i testsrc2=s=64x48:r=8 -t 3 -pix_fmt yuv420p -c:v ffv1");
    EXPECT_EQ(
        RunForNotes("run film.mkv out.mkv -e 'blur@1-2 sigma=1' -e 'blur@1.5- sigma=3' --video-codec ffv1"),
        "");
    EXPECT_EQ(HashPictures("-i out.mkv"),
              HashPictures("-i film.mkv -vf \"gblur=sigma=1:enable='gte(t,1)*lt(t,2)',"
                           "gblur=sigma=3:enable='gte(t,1.5)'\""));
    EXPECT_EQ(RunForNotes("run film.mkv late.mkv -e negate@50- -e negate@2-9"),
              "tarsel: note: Step 1 (negate) did nothing: the input has nothing from 50 s.\n");
    std::string const end = " it cannot work on a part of the video";
    ExpectRefusals({
        {"run film.mkv o.mkv -e 'resize@1-2 width=32'", 3,
         "step 1 (resize): It changes the size of frames from 64x48 to 32x24:" + end},
        {"run film.mkv o.mkv -e 'deshake@1-2~0.1'", 1,
         "-e \"deshake@1-2~0.1\": deshake depends on neighboring frames: it cannot fade"},
        {"run film.mkv o.mkv -e 'blur sigma=0..9999@1-2'", 1,
         "-e \"blur sigma=0..9999@1-2\": blur: sigma=9999 is out of range: 0 to 1024"},
        {"run film.mkv o.mkv -e 'resample@1-2 rate=8000'", 1,
         "-e \"resample@1-2 rate=8000\": resample changes the length of audio: it works on all of it, with "
         "the same "
         "settings"},
    });
}

TEST_F(RunTool, StepsThatDoNothingAreNamedAndTheirStreamsCopied) {
    MakePhoneFilm();
    struct {
        std::string steps;
        std::vector<std::string> notes;
        std::string copied;
    } const cases[] = {
        {"-e 'deshake enabled=0' -e 'flip horizontal=0'",
         {"Step 1 (deshake) does nothing; set enabled=1.",
          "Step 2 (flip) does nothing; set horizontal=1 or vertical=1."},
         "vas"},
        {"-e 'resize width=1080 height=1920'",
         {"Step 1 (resize) does nothing to this input; set width"},
         "vas"},
        {"-e 'echo scale=0' -e 'flip horizontal'",
         {"Step 1 (echo) does nothing; set echos and scale."},
         "as"},
        {"-e echo -e reverb -e flip",
         {"Step 3 (flip) does nothing; set horizontal=1 or vertical=1.",
          "Step 1 (echo) does nothing; set echos."},
         "vs"},
    };
    for (auto const& [steps, notes, copied] : cases) {
        SCOPED_TRACE(steps);
        auto const told = RunForNotes("run film.mp4 out.mp4 --overwrite " + steps);
        for (std::string const& note : notes)
            EXPECT_THAT(told, HasSubstr("tarsel: note: " + note));
        for (std::string const streams : {"v", "a", "s"})
            EXPECT_EQ(ProbePackets("out.mp4", streams) == ProbePackets("film.mp4", streams),
                      copied.find(streams) != std::string::npos)
                << streams;
    }
}

// Where the container cannot hold the codec, the tag is carried out before it is lost.
TEST_F(RunTool, WhatCannotBeCopiedStaysUpright) {
    MakeFilm("film.mp4", "-f lavfi -i color=white:s=32x32:d=0.2 -f lavfi -i color=black:s=32x32:d=0.2 "
                         "-filter_complex hstack -pix_fmt yuv420p -c:v libx264");
    SetOrientation("film.mp4", 6);
    EXPECT_EQ(LookAt("film.mp4", false), "WB"
                                         "WB");
    EXPECT_EQ(LookAt("film.mp4", true), "WW"
                                        "BB");
    EXPECT_EQ(
        RunForNotes("run film.mp4 out.webm"),
        "tarsel: note: Re-encoded the video from h264 to vp9: \"out.webm\" cannot hold h264.\n"
        "tarsel: note: Turned the frames upright, as the orientation tag says: re-encoded video has no such "
        "tag.\n");
    EXPECT_EQ(LookAt("out.webm", false), "WW"
                                         "BB");
    EXPECT_EQ(ProbeVideo("out.webm", "stream=width,height"), "32 64");

    // Without a tag there is nothing to turn, and no plug-in is needed.
    ExpectRefusals({{"run film.mp4 none.webm --plugin none.so", 1, "Cannot open plug-in \"none.so\": *"}});
    SetOrientation("film.mp4", 1);
    EXPECT_EQ(RunForNotes("run film.mp4 plain.webm --plugin none.so"),
              "tarsel: note: Re-encoded the video from h264 to vp9: \"plain.webm\" cannot hold h264.\n");
}

TEST_F(RunTool, OrientationThatCannotBeBakedIsTold) {
    MakeSmallFilm();
    auto const stored = Hash("film.mp4", "hflip");
    SetDisplayMatrix("film.mp4", Conf::DisplayMatrix::FromRotation(30));
    EXPECT_EQ(
        RunForNotes(std::string("run film.mp4 out.mp4 -e 'flip horizontal=1'") + s_lossless),
        "tarsel: note: Dropped the input's orientation tag, which is neither a mirroring nor a quarter turn: "
        "the effects used the frames as stored.\n");
    EXPECT_EQ(Hash("out.mp4"), stored);
}

TEST_F(RunTool, StillsStayWithoutLoss) {
    MakeFilm("in.png", "-f lavfi -i testsrc2=size=33x21 -frames:v 1 -update 1 -pix_fmt rgba");
    EXPECT_EQ(RunForNotes("run in.png out.webp -e 'flip horizontal=1'"), "");
    std::string const pixels = "-f rawvideo -pix_fmt rgba";
    EXPECT_EQ(Decode("out.webp", pixels), Decode("in.png", pixels + " -vf hflip"));
}

TEST_F(RunTool, WhatFailsIsToldAndLeavesNothing) {
    auto const whole = ReadFile(MakeSmallFilm());
    WriteFile("cut.mp4", whole.substr(0, whole.size() / 2));
    WriteFile("there.mp4", "keep me");
    std::string const flip = " -e 'flip horizontal=1'";
    ExpectRefusals({
        {"run missing.mp4 out.mp4" + flip, 2, "Cannot open \"missing.mp4\"*"},
        {"run cut.mp4 out.mp4" + flip, 2,
         "\"cut.mp4\" is incomplete: its index (moov) is missing\n"
         "  FFmpeg: Invalid data found when processing input (-1094995529)\n"
         "  log: [mov,mp4,m4a,3gp,3g2,mj2] moov atom not found*"},
        {"run film.mp4 none/out.mp4" + flip, 4,
         "Cannot write \"none/out.mp4\": there is no folder \"none\"*"},
        {"run film.mp4 there.mp4" + flip, 1, "Add --overwrite: \"there.mp4\" exists already*"},
        {"run film.mp4 out.mp4 -e 'display-matrix matrix=60000/30000/0/-30000/60000/0/0/0/1073741824'" + flip,
         3, "step 1 (display-matrix): Unsupported image rotation"},
    });
}

TEST_F(RunTool, InterruptedRunLeavesNothing) {
    MakeFilm("film.mp4",
             "-f lavfi -i testsrc2=size=640x480:rate=100:duration=6 -pix_fmt yuv420p -c:v libx264 "
             "-preset ultrafast");
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        auto const result = Interrupt("run film.mp4 out.mp4 -e 'flip horizontal=1' --video-codec libx264 "
                                      "--video-option preset=placebo",
                                      2, signal);
        EXPECT_THAT(result.err, testing::StartsWith("tarsel: "));
        EXPECT_THAT(result.err, testing::Not(HasSubstr("error")));
    }
}

TEST_F(RunTool, TerminalShowsProgressAndASummary) {
    MakeSmallFilm();
    auto const runOnTerminal = [](std::string const& line) {
        return OutputOf("script -qec \"stty columns 40; '" TARSEL_PROGRAM "' " + line + "\" /dev/null");
    };
    std::string const run = "run film.mp4 out.mp4 --overwrite -e 'flip horizontal=1'";
    auto const told = runOnTerminal(run);
    EXPECT_THAT(told, HasSubstr("99%"));
    EXPECT_THAT(told, HasSubstr("out.mp4: 50 frames (libx264), "));
    // Each state of the line begins at the left edge and stays clear of the right one.
    std::istringstream states(told.substr(0, told.find("out.mp4")));
    for (std::string state; std::getline(states, state, '\r');)
        EXPECT_LT(state.size(), 40U) << state;
    EXPECT_EQ(runOnTerminal(run + " --quiet"), "");
    MakeFilm("song.wav", "-f lavfi -i sine=duration=2");
    EXPECT_THAT(runOnTerminal("run song.wav out.flac"), HasSubstr("out.flac: 2.0 s of audio (flac), "));
}

TEST_F(RunTool, VerboseShowsFFmpegsLogAndTheSite) {
    auto const result = Run("run missing.mp4 out.mp4 --verbose");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("\n  thrown at: Media/"));
    EXPECT_THAT(result.err, HasSubstr("\n  in: _start\n"));
    MakeSmallFilm();
    EXPECT_THAT(Run("run film.mp4 out.mp4 -e 'flip horizontal=1' --verbose").err, HasSubstr("[libx264] "));
}

TEST_F(RunTool, QualityOfAudioLeavesTheCoverAlone) {
    MakeFilm("cover.jpg", "-f lavfi -i testsrc2=size=64x48 -frames:v 1");
    std::string const song =
        "-f lavfi -i sine=duration=4 -i cover.jpg -map 0 -map 1 -disposition:v attached_pic -c:v copy ";
    MakeFilm("song.flac", song);
    MakeFilm("song.mp3", song + "-q:a 0");
    for (std::string const level : {"low", "lossless"})
        for (std::string const input : {"song.flac", "song.mp3"}) {
            SCOPED_TRACE(level + ' ' + input);
            bool const loses = input == "song.mp3";
            std::string const output = level + input;
            EXPECT_EQ(RunForNotes("run " + input + ' ' + output + " --quality " + level),
                      loses ? "" : "tarsel: note: Ignored the quality: flac is lossless.\n");
            EXPECT_EQ(ProbePackets(output, "v"), ProbePackets(input, "v"));
            if (!loses) {
                EXPECT_EQ(ProbePackets(output, "a"), ProbePackets(input, "a"));
            } else if (level == "low") {
                EXPECT_LT(std::filesystem::file_size(output), std::filesystem::file_size(input) / 2);
            }
        }
    EXPECT_EQ(RunForNotes("run song.flac part.flac --from 1 --duration 0:02.5"),
              "tarsel: note: Re-encoded the audio: packets of flac cannot be cut to the range.\n");
    EXPECT_EQ(ProbePackets("part.flac", "v"), ProbePackets("song.flac", "v"));
    EXPECT_EQ(ProbeAudio("part.flac"), "flac 44100 1 110250 mjpeg 225000");
}

TEST_F(RunTool, AnEffectOnOneOfSeveralAudioStreamsLeavesTheOthers) {
    MakeFilm("film.mkv", "-f lavfi -i sine=duration=1 -f lavfi -i sine=duration=1 -map 0 -map 1 -c:a flac "
                         "-metadata:s:a:1 language=fre");
    for (std::string const stream : {"1", "fra"}) {
        RunForNotes("run film.mkv out" + stream + ".mkv -e 'audio:" + stream + "/resample rate=8000'");
        EXPECT_EQ(ProbePackets("out" + stream + ".mkv", "a:0"), ProbePackets("film.mkv", "a:0"));
        EXPECT_EQ(Probe("out" + stream + ".mkv", "stream=sample_rate"), "44100 8000");
    }
    EXPECT_THAT(Run("run film.mkv out.mkv -e audio:2/reverb").err,
                HasSubstr("Choose another audio stream: \"film.mkv\" has 0 (flac mono), 1 (fre flac mono), "
                          "but none of number 2"));
    RunForNotes("run film.mkv french.mkv --audio language=fra");
    EXPECT_EQ(ProbePackets("french.mkv", "a"), ProbePackets("film.mkv", "a:1"));
}

// Ten pictures a second and then two: by their mean no two of the ten would have places of their own.
TEST_F(RunTool, PicturesOfUnevenRatesKeepTheirTimesWherePicturesAreCounted) {
    MakeFilm("film.mkv",
             "-f lavfi -i testsrc2=size=64x48:rate=10:duration=8 -vf 'select=lt(n\\,40)+not(mod(n\\,5))' "
             "-fps_mode vfr -c:v ffv1");
    RunForNotes("run film.mkv out.avi -e 'flip horizontal' --video-codec ffv1");
    std::string const all = " -frames:v 70 -f framemd5 - | tail -n 70";
    EXPECT_EQ(OutputOf("ffmpeg -v error -i out.avi -vf fps=10,hflip" + all),
              OutputOf("ffmpeg -v error -i film.mkv -vf fps=10" + all));
}

TEST_F(RunTool, FieldsOfInterlacedVideoFollowTheirRows) {
    MakeFilm("film.mpg", "-f lavfi -i testsrc2=size=352x288:rate=25:duration=0.2 -c:v mpeg2video -q:v 2 "
                         "-flags +ildct+ilme -top 1 -vf setfield=tff -field_order tt");
    struct {
        std::string step;
        std::string order;
        std::string note;
    } const cases[] = {
        {"flip horizontal", "tt", ""},
        {"flip vertical", "bb", ""},
        {"transpose step=2", "bb", ""},
        {"transpose step=1", "progressive",
         "tarsel: note: Step 1 (transpose) mixes the fields of interlaced video; add deinterlace before "
         "it.\n"},
        {"resize width=176 height=144", "progressive",
         "tarsel: note: Step 1 (resize) mixes the fields of interlaced video; add deinterlace before it.\n"},
    };
    for (auto const& [step, order, note] : cases) {
        SCOPED_TRACE(step);
        EXPECT_EQ(RunForNotes("run film.mpg out.mpg --overwrite -e '" + step + "'"), note);
        EXPECT_EQ(ProbeVideo("out.mpg", "stream=field_order"), order);
    }
}

TEST_F(RunTool, ASizeThatIsNotMetIsTold) {
    MakeSmallFilm();
    for (auto const& [step, made, isTold] : {std::tuple("resize width=101 height=57", "100 56", true),
                                             {"resize width=100 height=58", "100 58", false},
                                             {"resize width=100", "100 76", false}}) {
        EXPECT_EQ(
            testing::Value(RunForNotes(std::string("run film.mp4 out.mp4 --overwrite -e '") + step + "'"),
                           HasSubstr("tarsel: note: Step 1 (resize) rounded the size to 100x56, ")),
            isTold)
            << step;
        EXPECT_EQ(ProbeVideo("out.mp4", "stream=width,height"), made);
    }
}

TEST_F(RunTool, AFormatAskedForLastIsWritten) {
    MakeSmallFilm();
    for (auto const& [format, encoder, written] : {std::array{"rgb24", "ffv1", "bgr0"},
                                                   {"gray", "ffv1", "gray"},
                                                   {"yuv444p10le", "libx265", "yuv444p10le"}}) {
        RunForNotes(std::string("run film.mp4 out.mkv --overwrite -e 'pixel-format formats=") + format +
                    "' --video-codec " + encoder);
        EXPECT_EQ(ProbeVideo("out.mkv", "stream=pix_fmt"), written);
    }
}

TEST_F(RunTool, DamageThatOnlyFFmpegNoticesIsTold) {
    for (auto const& [file, media] :
         {std::pair{"in.ogg", "-f lavfi -i sine=duration=3 -c:a libvorbis"},
          {"in.mp4", "-f lavfi -i testsrc2=size=320x240:duration=1 -c:v libx264 -qp 10"}}) {
        SCOPED_TRACE(file);
        MakeFilm(file, media);
        std::string const command = std::string("run ") + file + " out.mkv --overwrite -e ";
        std::string const effect = std::string(file) == "in.ogg" ? "'echo echos=500/0.5'" : "negate";
        EXPECT_EQ(RunForNotes(command + effect), "");
        std::string content = ReadFile(file);
        content.replace(content.size() / 2, 64, std::string(64, '\x5a'));
        WriteFile(file, content);
        EXPECT_THAT(RunForNotes(command + effect), HasSubstr("The input may be damaged: reading it, FFmpeg"));
    }
}

// Two negatives give the picture back, by way of RGB.
TEST_F(RunTool, AnEffectInRgbShiftsNoColors) {
    for (std::string const matrix : {"unknown", "bt709", "bt2020nc", "smpte170m"}) {
        SCOPED_TRACE(matrix);
        auto const film =
            MakeFilm(matrix + ".mkv", "-f lavfi -i color=0x20c040:size=1280x720:duration=0.1,format=yuv420p "
                                      "-c:v libx264 -qp 0 -colorspace " +
                                          matrix);
        RunForNotes("run " + film + " out.mkv --overwrite -e negate -e negate" + s_lossless);
        EXPECT_EQ(ProbeVideo("out.mkv", "stream=pix_fmt,color_space"),
                  ProbeVideo(film, "stream=pix_fmt,color_space"));
        std::string const pixels = "-vf crop=2:2:600:300 -frames:v 1 -f rawvideo -pix_fmt yuv444p";
        std::string const before = Decode(film, pixels);
        std::string const after = Decode("out.mkv", pixels);
        ASSERT_EQ(before.size(), after.size());
        for (std::size_t i = 0; i < before.size(); ++i)
            EXPECT_NEAR(static_cast<unsigned char>(before[i]), static_cast<unsigned char>(after[i]), 2);
    }
}

} // namespace
} // namespace Tarsel::Tools
