// Still pictures in and out.

#include "Conf/DisplayMatrix.h"
#include "Media/MediaExceptions.h"
#include "RunFixture.h"
#include "Support/Process.h"

#include <optional>

namespace Tarsel::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Still : public RunFixture {
protected:
    /// What the chain is told while the run makes the output.
    Media::VideoStreamInfo Run(Media::RunOptions options) {
        Media::VideoStreamInfo info;
        options.makeVideoEffects = Note(info);
        m_result = Media::Run(options);
        return info;
    }

    Media::RunResult m_result;
};

TEST_F(Still, FormatsWithoutLossKeepEveryPixel) {
    // A name with a pattern in it is a name.
    Make(File("plain.png"),
         "-f lavfi -i testsrc2=s=37x21:r=1 -frames:v 1 -vf format=rgba,colorchannelmixer=aa=0.5");
    PictureRecord const in = ReadMedia(File("plain.png")).pictures.at(0);
    std::filesystem::rename(File("plain.png"), File("in%02d.png"));
    for (std::string const name : {"out%03d.png", "out.tiff", "out.bmp"}) {
        SCOPED_TRACE(name);
        Run(Options("in%02d.png", name));
        EXPECT_EQ(m_result.framesOut, 1);
        EXPECT_THAT(m_result.notes, IsEmpty());
        std::filesystem::copy_file(File(name), File("copy" + File(name).extension().string()));
        MediaRecord const out = ReadMedia(File("copy" + File(name).extension().string()));
        ASSERT_EQ(out.pictures.size(), 1U);
        if (out.format == "rgba") {
            EXPECT_EQ(out.pictures[0].hash, in.hash);
        } else {
            EXPECT_EQ(out.format, "bgra");
        }
    }
    EXPECT_TRUE(std::filesystem::exists(File("out%03d.png")));
}

TEST_F(Still, JpegIsFullRangeAndGood) {
    Make(File("white.png"), "-f lavfi -i color=white:s=32x32 -frames:v 1 -pix_fmt gray");
    Make(File("film.mp4"), "-f lavfi -i color=white:s=32x32:r=25:d=0.04 -pix_fmt yuv420p");
    for (std::string const name : {"white.png", "film.mp4"}) {
        SCOPED_TRACE(name);
        Run(Options(name, "out-" + name + ".jpg"));
        MediaRecord const out = ReadMedia(File("out-" + name + ".jpg"));
        EXPECT_EQ(out.format.substr(0, 4), "yuvj");
        EXPECT_GE(out.brightness, 254);
    }
    Make(File("rich.png"), "-f lavfi -i testsrc2=s=320x240 -frames:v 1");
    Run(Options("rich.png", "rich.jpg"));
    std::string const report = RunProcess({"ffmpeg", "-nostdin", "-i", File("rich.png"), "-i",
                                           File("rich.jpg"), "-lavfi", "psnr", "-f", "null", "-"})
                                   .err;
    EXPECT_GT(std::stod(report.substr(report.find("average:") + 8)), 35);
}

// The camera's orientation comes with the picture, not with the file.
TEST_F(Still, OrientationOfAJpegIsTold) {
    Make(File("plain.jpg"), "-f lavfi -i testsrc2=s=64x48 -frames:v 1");
    std::string file = Read("plain.jpg");
    // An EXIF segment with one tag: orientation 6, a quarter turn.
    using namespace std::string_literals;
    std::string const exif = "\xFF\xE1\0\x22"
                             "Exif\0\0"
                             "MM\0\x2A\0\0\0\x08"
                             "\0\x01"
                             "\x01\x12\0\x03\0\0\0\x01\0\x06\0\0"
                             "\0\0\0\0"s;
    Write("in.jpg", file.insert(2, exif));
    Media::VideoStreamInfo const info = Run(Options("in.jpg", "out.jpg"));
    EXPECT_EQ(info.orientation.GetOrientation(), std::optional<int>(6));
    EXPECT_EQ(info.frame, (Conf::FrameInfo{64, 48, 1, 1}));
    EXPECT_EQ(ReadMedia(File("out.jpg")).width, 64);
}

// Cameras append further pictures; the first one counts.
TEST_F(Still, FurtherPicturesOfAFileAreNotWorkedOn) {
    for (std::string const kind : {".jpg", ".png"}) {
        SCOPED_TRACE(kind);
        Make(File("a" + kind), "-f lavfi -i color=white:s=64x48 -frames:v 1");
        Make(File("b" + kind), "-f lavfi -i color=black:s=32x16 -frames:v 1");
        Write("in" + kind, Read("a" + kind) + Read("b" + kind));
        Run(Options("in" + kind, "out" + kind + ".mp4"));
        EXPECT_EQ(m_result.framesIn, 1);
        EXPECT_EQ(ReadMedia(File("out" + kind + ".mp4")).width, 64);
    }
}

TEST_F(Still, BecomesAFilmOfOnePicture) {
    Make(File("in.png"), "-f lavfi -i testsrc2=s=64x48 -frames:v 1 -pix_fmt rgb24");
    Run(Options("in.png", "out.mp4"));
    MediaRecord const out = ReadMedia(File("out.mp4"));
    ASSERT_EQ(out.pictures.size(), 1U);
    EXPECT_GT(out.pictures[0].duration, 0);
}

// Sound files: the cover is the only picture there is; the sound comes along.
TEST_F(Still, TheCoverOfASoundFile) {
    Make(File("cover.png"), "-f lavfi -i testsrc2=s=64x48 -frames:v 1");
    Make(File("in.m4a"), s_sound + "-i " + File("cover.png").string() +
                             " -map 0 -map 1 -c:a aac -c:v copy -disposition:v attached_pic");
    Run(Options("in.m4a", "out.m4a"));
    EXPECT_EQ(m_result.videoEncoder, "png");
    MediaRecord const in = ReadMedia(File("in.m4a"));
    MediaRecord const out = ReadMedia(File("out.m4a"));
    EXPECT_EQ(m_result.framesIn, 1);
    ASSERT_EQ(out.streams.size(), 2U);
    EXPECT_EQ(out.streams[0].packets, in.streams[0].packets);
    EXPECT_EQ(out.streams[1].disposition, in.streams[1].disposition);
    EXPECT_EQ(out.pictures.at(0).hash, in.pictures.at(0).hash);

    Run(Options("in.m4a", "out.png"));
    EXPECT_EQ(ReadMedia(File("out.png")).pictures.at(0).hash, in.pictures.at(0).hash);
    EXPECT_THAT(m_result.notes, IsEmpty());

    // Copied, it is the cover to the byte; the sound has no place beside it.
    Media::RunOptions options = Options("in.m4a", "copy.png");
    options.makeVideoEffects = nullptr;
    Media::Run(options);
    EXPECT_EQ(Read("copy.png"), Read("cover.png"));

    options.at = 1;
    options.output = File("late.png");
    EXPECT_EQ(RunForFailure<Media::OptionsException>(options),
              "A time (1 s) picks a picture of a film, but \"" + File("in.m4a").string() +
                  "\" has one picture only");
    options = Options("in.m4a", "crf.m4a");
    options.videoEncoderOptions = {{"crf", "20"}};
    RunForFailure<Media::OptionsException>(options);
}

// Containers of sound take a cover, but only with the sound.
TEST_F(Still, TheCoverOfMp3AndFlac) {
    Make(File("cover.png"), "-f lavfi -i testsrc2=s=64x48 -frames:v 1");
    for (std::string const kind : {"mp3", "flac"}) {
        SCOPED_TRACE(kind);
        std::string const in = "in." + kind;
        Make(File(in), s_sound + "-i " + File("cover.png").string() +
                           " -map 0 -map 1 -c:v copy -disposition:v attached_pic");
        MediaRecord const before = ReadMedia(File(in));
        for (bool const copies : {false, true}) {
            std::string const out = (copies ? "copy." : "out.") + kind;
            Media::RunOptions options = Options(in, out);
            if (copies)
                options.makeVideoEffects = nullptr;
            EXPECT_THAT(Media::Run(options).notes, IsEmpty());
            MediaRecord const after = ReadMedia(File(out));
            ASSERT_EQ(after.streams.size(), 2U);
            EXPECT_EQ(after.streams[0].packets.size(), before.streams[0].packets.size());
            EXPECT_EQ(after.pictures.at(0).hash, before.pictures.at(0).hash);
        }
    }
}

struct TimeCase {
    double at;
    std::size_t picture;
};

class StillOfFilm : public Still {
protected:
    /// 50 pictures from 0.52 s on, a key frame every ten.
    void SetUp() override {
        Make(File("in.mkv"),
             "-f lavfi -i testsrc2=s=64x48:r=25:d=2 -vf setpts=PTS+0.52/TB -vsync passthrough " + s_bFrames +
                 "-g 10");
    }
};

TEST_F(StillOfFilm, IsTheOneShownThen) {
    std::vector<PictureRecord> const film = ReadMedia(File("in.mkv")).pictures;
    TimeCase const cases[] = {{0, 0},     {0.52, 0},   {0.559, 0},  {0.56, 1},  {0.9, 9},
                              {0.92, 10}, {1.199, 16}, {1.839, 32}, {2.48, 49}, {2.5199, 49}};
    for (TimeCase const& row : cases) {
        SCOPED_TRACE(row.at);
        Media::RunOptions options = Options("in.mkv", "out.tiff");
        options.overwrite = true;
        options.at = row.at;
        options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
            EXPECT_EQ(picture->GetTime(), film.at(row.picture).time / 1000);
            return Pictures{picture, picture}; // only the first is taken
        });
        Media::RunResult const result = Media::Run(options);
        EXPECT_EQ(result.framesIn, 1);
        EXPECT_EQ(result.framesOut, 1);
        EXPECT_EQ(ReadMedia(File("out.tiff")).pictures.size(), 1U);
    }
}

TEST_F(StillOfFilm, NeedsATimeWithinTheFilm) {
    Media::RunOptions options = Options("in.mkv", "out.png");
    EXPECT_EQ(RunForFailure<Media::OptionsException>(options),
              "\"" + File("in.mkv").string() + "\" is a film and \"" + File("out.png").string() +
                  "\" one picture: a time in the film is needed");
    options.at = 2.6;
    EXPECT_EQ(RunForFailure<Media::OptionsException>(options),
              "There is no picture at 2.6 s: \"" + File("in.mkv").string() + "\" ends at 2.52 s");
    options.at = -1;
    EXPECT_EQ(RunForFailure<Media::OptionsException>(options),
              "-1 s is no time in a film; legal: 0 to its end");
    options.at = 1;
    options.output = File("out.mp4");
    EXPECT_EQ(RunForFailure<Media::OptionsException>(options),
              "A time (1 s) picks one picture, but \"" + File("out.mp4").string() + "\" is a film");
    EXPECT_THAT(List(), ElementsAre("in.mkv"));
}

} // namespace
} // namespace Tarsel::Test
