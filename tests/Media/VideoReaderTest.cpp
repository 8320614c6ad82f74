#include "Media/VideoReader.h"

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

TEST_F(Reader, StopsWhenToldTo) {
    Make(File("in.mkv"), s_pictures + s_bFrames);
    std::stop_source stop;
    Media::VideoReader reader(File("in.mkv"), stop.get_token());
    reader.GetShownAt(100000);
    stop.request_stop();
    EXPECT_EQ(TextOf<Media::InterruptedException>([&] { reader.GetShownAt(900000); }),
              "\"" + File("in.mkv").string() + "\" was not read to its end: the run was stopped");
}

} // namespace
} // namespace Tarsel::Test
