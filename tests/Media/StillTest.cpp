// Single pictures, in and out and of films.

#include "Conf/DisplayMatrix.h"
#include "Media/VideoReader.h"
#include "RunFixture.h"

#include <cstdlib>
#include <optional>
#include <utility>

namespace Tarsel::Test {
namespace {

using testing::IsEmpty;

using Still = RunFixture;

// What looks like a pattern is a name where a file has it, or it has no number.
TEST_F(Still, NamesOfFilesAreNoPatterns) {
    Make(File("in.png"), "-f lavfi -i testsrc2=s=37x21 -frames:v 1 -pix_fmt rgba");
    auto const hashes = ReadMedia(File("in.png")).GetHashes();
    std::filesystem::rename(File("in.png"), File("in%02d.png"));
    EXPECT_THAT(Media::Run(Options("in%02d.png", "100%%.png")).notes, IsEmpty());
    std::filesystem::rename(File("100%%.png"), File("out.png"));
    EXPECT_EQ(ReadMedia(File("out.png")).GetHashes(), hashes);
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
    Media::VideoStreamInfo info;
    Media::RunOptions options = Options("in.jpg", "out.jpg");
    options.makeVideoEffects = Note(info);
    Media::Run(options);
    EXPECT_EQ(info.orientation.GetOrientation(), std::optional<int>(6));
    EXPECT_EQ(info.frame, (Conf::FrameInfo{64, 48, 1, 1}));
    EXPECT_EQ(ReadMedia(File("out.jpg")).width, 64);
}

/// An EXIF segment with a maker and a model for a JPEG file.
std::string MakeExif() {
    using namespace std::string_literals;
    return "\xFF\xE1\0\x2E"
           "Exif\0\0"
           "MM\0\x2A\0\0\0\x08"
           "\0\x02"
           "\x01\x0F\0\x02\0\0\0\x04Qbc\0"
           "\x01\x10\0\x02\0\0\0\x04Xyz\0"
           "\0\0\0\0"s;
}

// Nothing that the photo says beside its pixels is lost without a word; as a copy it keeps all.
TEST_F(Still, WhatAPhotoSaysIsKeptOrToldOf) {
    Make(File("plain.jpg"), "-f lavfi -i testsrc2=s=64x48 -frames:v 1");
    Write("in.jpg", Read("plain.jpg").insert(2, MakeExif()));
    auto const isTold = testing::Contains(testing::HasSubstr("Left out 2 tags (Make, Model) of the image"));
    for (std::string const name : {"out.png", "out.jpg", "out.webp"}) {
        EXPECT_THAT(Media::Run(Options("in.jpg", name)).notes, isTold) << name;
        EXPECT_THAT(Media::Run(Options("plain.jpg", name)).notes, testing::Not(isTold)) << name;
    }
    Media::RunOptions copy = Options("in.jpg", "copy.jpg");
    copy.makeVideoEffects = nullptr;
    EXPECT_THAT(Media::Run(copy).notes, IsEmpty());
    EXPECT_EQ(Read("copy.jpg"), Read("in.jpg"));
}

// Cameras append further pictures; the first one counts.
TEST_F(Still, FurtherPicturesOfAFileAreNotWorkedOn) {
    for (std::string const kind : {".jpg", ".png"}) {
        SCOPED_TRACE(kind);
        Make(File("a" + kind), "-f lavfi -i color=white:s=64x48 -frames:v 1");
        Make(File("b" + kind), "-f lavfi -i color=black:s=32x16 -frames:v 1");
        Write("in" + kind, Read("a" + kind) + Read("b" + kind));
        EXPECT_EQ(Media::Run(Options("in" + kind, "out" + kind + ".mp4")).framesIn, 1);
        MediaRecord const out = ReadMedia(File("out" + kind + ".mp4"));
        EXPECT_EQ(out.width, 64);
        ASSERT_EQ(out.pictures.size(), 1U);
        EXPECT_GT(out.pictures[0].duration, 0);
    }
}

// The cover is the only picture there is; the audio comes along. Copied, it is the same to the byte.
TEST_F(Still, TheCoverOfAAudioFile) {
    Make(File("cover.png"), "-f lavfi -i testsrc2=s=64x48 -frames:v 1");
    for (std::string const kind : {"m4a", "mp3", "flac"}) {
        SCOPED_TRACE(kind);
        std::string const name = "in." + kind;
        Make(File(name), s_audio + "-i " + File("cover.png").string() +
                             " -map 0 -map 1 -c:v copy -disposition:v attached_pic");
        MediaRecord const in = ReadMedia(File(name));
        for (bool const copies : {false, true}) {
            Media::RunOptions options = Options(name, (copies ? "copy." : "out.") + kind);
            if (copies)
                options.makeVideoEffects = nullptr;
            EXPECT_THAT(Media::Run(options).notes, IsEmpty());
            MediaRecord const out = ReadMedia(options.output);
            ASSERT_EQ(out.streams.size(), 2U);
            EXPECT_EQ(out.streams[0].packets.size(), in.streams[0].packets.size());
            EXPECT_EQ(out.streams[1].disposition, in.streams[1].disposition);
            EXPECT_EQ(out.GetHashes(), in.GetHashes());
            options.output = File((copies ? "copy-" : "out-") + kind + ".png");
            Media::Run(options);
            EXPECT_EQ(ReadMedia(options.output).GetHashes(), in.GetHashes());
            EXPECT_TRUE(!copies || ReadFile(options.output) == Read("cover.png"));
        }
    }
}

// 50 pictures from 0.52 s on, a key frame every ten.
TEST_F(Still, OfAFilmIsTheOneShownThen) {
    Make(File("in.mkv"), "-f lavfi -i testsrc2=s=64x48:r=25:d=2 -vf setpts=PTS+0.52/TB -vsync passthrough " +
                             s_bFrames + "-g 10");
    std::vector<PictureRecord> const film = ReadMedia(File("in.mkv")).pictures;
    for (auto const& [at, number] : {std::pair(0.0, 0U),
                                     {0.52, 0U},
                                     {0.559, 0U},
                                     {0.56, 1U},
                                     {0.9, 9U},
                                     {0.92, 10U},
                                     {1.199, 16U},
                                     {1.839, 32U},
                                     {2.48, 49U},
                                     {2.5199, 49U}}) {
        SCOPED_TRACE(at);
        Media::RunOptions options = Options("in.mkv", "out.tiff");
        options.at = at;
        std::int64_t time = 0;
        options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
            time = picture->GetTime();
            return Pictures{picture, picture}; // only the first is taken
        });
        Media::RunResult const result = Media::Run(options);
        EXPECT_EQ(time, film.at(number).time / 1000);
        EXPECT_EQ(result.framesIn, 1);
        EXPECT_EQ(result.framesOut, 1);
        EXPECT_EQ(ReadMedia(File("out.tiff")).pictures.size(), 1U);
    }
}

// Each picture of one meets the same of the other, whatever their containers round times to.
TEST_F(Still, RoundedTimesMeetTheirPicture) {
    auto const makeFilm = [&](std::string const& name, std::string const& rate, std::string const& filter) {
        Make(File(name), "-f lavfi -i testsrc2=s=64x48:r=" + rate + ":d=1 -vf " + filter +
                             " -fps_mode passthrough " + s_bFrames + "-g 100");
    };
    for (std::string const rate : {"30000/1001", "24000/1001", "60"})
        for (auto const& [one, other] : {std::pair("a.mp4", "b.mkv"), std::pair("a.mkv", "b.mp4"),
                                         std::pair("a.mkv", "b.mkv"), std::pair("a.mp4", "b.ts")}) {
            SCOPED_TRACE(rate + " " + one + " " + other);
            makeFilm(one, rate, "null");
            makeFilm(other, rate, "setpts=PTS+0.1/TB");
            Media::VideoReader first(File(one));
            Media::VideoReader second(File(other));
            auto const film = ReadMedia(File(one)).pictures;
            auto const reference = ReadMedia(File(other)).pictures;
            ASSERT_EQ(film.size(), reference.size());
            std::int64_t const offset = second.GetShownAt(0)->GetTime() - reference[0].time / 1000;
            for (std::size_t i = 0; i < film.size(); ++i) {
                auto const shown = second.GetShownAt(film[i].time / 1000 - first.GetInfo().start);
                EXPECT_LE(std::abs(shown->GetTime() - reference[i].time / 1000 - offset), 1) << i;
            }
            std::filesystem::remove(File(one));
            std::filesystem::remove(File(other));
        }
}

} // namespace
} // namespace Tarsel::Test
