#include "Media/VideoReader.h"

#include "Conf/DisplayMatrix.h"
#include "Media/MediaExceptions.h"
#include "RunFixture.h"

#include <cstdlib>
#include <stop_token>

namespace Tarsel::Test {
namespace {

using testing::IsEmpty;

class Reader : public RunFixture {
protected:
    /// Without loss, with a key frame at the start only.
    std::filesystem::path MakeFilm(std::string const& name, std::string const& rate,
                                   std::string const& filter) {
        return Make(File(name), "-f lavfi -i testsrc2=s=64x48:r=" + rate + ":d=1 -vf " + filter +
                                    " -fps_mode passthrough " + s_bFrames + "-g 100");
    }
};

TEST_F(Reader, GivesThePictureThatIsShown) {
    // 25 pictures from 0.52 s on.
    auto const film = ReadMedia(MakeFilm("in.mkv", "25", "setpts=PTS+0.52/TB"));
    Media::VideoReader reader(File("in.mkv"));
    EXPECT_EQ(reader.GetInfo().start, 520000);
    EXPECT_EQ(reader.GetInfo().frame, (Conf::FrameInfo{64, 48, 1, 1}));
    struct Case {
        std::int64_t time;
        std::size_t picture;
    };
    SP<Proc::IDataVideo const> before;
    std::size_t last = film.pictures.size();
    for (Case const& row :
         {Case{INT64_MIN, 0}, Case{-1, 0}, Case{0, 0}, Case{38000, 0}, Case{40000, 1},
          Case{79000, 2}, // as good as 80000
          Case{0, 2},     // never back
          Case{500000, 12}, Case{518000, 12}, Case{959999, 24}, Case{1000000, 24}, Case{INT64_MAX, 24}}) {
        SP<Proc::IDataVideo const> const shown = reader.GetShownAt(row.time);
        ASSERT_NE(shown, nullptr);
        EXPECT_EQ(shown->GetTime(), film.pictures.at(row.picture).time / 1000) << row.time;
        EXPECT_EQ(shown == before, row.picture == last) << row.time;
        before = shown;
        last = row.picture;
    }
    EXPECT_THAT(reader.GetNotes(), IsEmpty());
}

// Each picture of one meets the same of the other, whatever their containers round times to.
TEST_F(Reader, RoundedTimesMeetTheirPicture) {
    for (std::string const rate : {"30000/1001", "24000/1001", "60"})
        for (auto const& [one, other] : {std::pair("a.mp4", "b.mkv"), std::pair("a.mkv", "b.mp4"),
                                         std::pair("a.mkv", "b.mkv"), std::pair("a.mp4", "b.ts")}) {
            SCOPED_TRACE(rate + " " + one + " " + other);
            MakeFilm(one, rate, "null");
            MakeFilm(other, rate, "setpts=PTS+0.1/TB");
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

TEST_F(Reader, AStillServesForAllTimes) {
    Make(File("in.png"), "-f lavfi -i testsrc2=s=37x21 -frames:v 1 -pix_fmt rgb24");
    Media::VideoReader reader(File("in.png"));
    auto const shown = reader.GetShownAt(0);
    EXPECT_EQ(shown->GetPixelFormat(), Conf::PixFmt::RGB24);
    for (std::int64_t const time : {std::int64_t{1}, std::int64_t{3600000000}, INT64_MAX})
        EXPECT_EQ(reader.GetShownAt(time), shown);
}

TEST_F(Reader, TellsTheOrientation) {
    Make(File("plain.mp4"), s_pictures + s_bFrames);
    Remux(File("plain.mp4"), File("in.mp4"), TagAsTurned);
    Media::VideoReader reader(File("in.mp4"));
    EXPECT_NE(reader.GetInfo().orientation.GetOrientation().value_or(1), 1);
    EXPECT_EQ(reader.GetShownAt(0)->GetFrameInfo(), (Conf::FrameInfo{64, 48, 1, 1})); // as it is stored
}

TEST_F(Reader, BadFilesAreNamed) {
    Write("text.mp4", "words, no film\n");
    Make(File("sound.m4a"), s_sound + "-c:a aac");
    for (char const* const name : {"missing.mp4", "text.mp4", "sound.m4a"})
        EXPECT_THAT(TextOf<Media::InputException>([&] { Media::VideoReader const reader(File(name)); }),
                    testing::HasSubstr(File(name).string()));
}

TEST_F(Reader, StopsWhenToldTo) {
    Make(File("in.mkv"), s_pictures + s_bFrames);
    std::stop_source stop;
    Media::VideoReader reader(File("in.mkv"), stop.get_token());
    reader.GetShownAt(100000);
    stop.request_stop();
    std::string const text =
        "\"" + File("in.mkv").string() + "\" was not read to its end: the run was stopped";
    EXPECT_EQ(TextOf<Media::InterruptedException>([&] { reader.GetShownAt(900000); }), text);
    EXPECT_EQ(TextOf<Media::InterruptedException>(
                  [&] { Media::VideoReader const other(File("in.mkv"), stop.get_token()); }),
              text);
}

} // namespace
} // namespace Tarsel::Test
