#include "Tarsel/Tool.h"

#include <csignal>
#include <thread>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SequenceTool : public Tool {
protected:
    SequenceTool() {
        std::filesystem::create_directory("in");
        std::filesystem::create_directory("out");
    }
    /// "in/NAME" numbered from `first` on, as ffmpeg's options make them.
    static void MakeImages(std::string const& name, int first, std::string const& options) {
        MakeFilm("in/" + name, options + " -start_number " + std::to_string(first));
    }
    static std::vector<std::string> HashSequence(std::string const& name, int first) {
        return HashPictures("-start_number " + std::to_string(first) + " -i " + name);
    }
    static std::size_t CountImages() {
        auto const images = std::filesystem::directory_iterator("out");
        return static_cast<std::size_t>(std::distance(begin(images), end(images)));
    }
};

TEST_F(SequenceTool, ImagesBecomeAFilmAndImagesAgain) {
    struct {
        char const* name;
        int first;
        char const* options;
    } const cases[] = {
        {"%04d.png", 1, "-f lavfi -i testsrc2=s=64x48:d=0.4"},
        {"a%d.png", 9998, "-f lavfi -i testsrc2=s=65x47:d=0.4 -vf format=rgb48"},
        {"b%%%03d.png", 0,
         "-f lavfi -i testsrc2=s=64x48:d=0.4 -vf format=rgba64,geq=r=X*900:g=Y*900:b=9:a=X*1000"},
        {"c %5d.tiff", 17, "-f lavfi -i testsrc2=s=64x48:d=0.4 -vf format=rgba"},
        {"d%d-.bmp", 8, "-f lavfi -i testsrc2=s=64x48:d=0.4 -vf format=bgr24"},
    };
    for (auto const& [name, first, options] : cases) {
        SCOPED_TRACE(name);
        std::string const file = "'in/" + std::string(name) + "'";
        MakeFilm(file, std::string(options) + " -start_number " + std::to_string(first));
        auto const before = HashSequence(file, first);
        ASSERT_EQ(before.size(), 10U);
        EXPECT_EQ(RunForNotes("run " + file + " film.nut --overwrite --rate 30000/1001 --video-codec ffv1"),
                  "");
        EXPECT_EQ(Probe("film.nut", "stream=r_frame_rate"), "30000/1001");
        EXPECT_EQ(RunForNotes("run film.nut " + std::string("'out/") + name + "' --start-number 5"), "");
        std::string const pixels = "stream=pix_fmt,width,height";
        EXPECT_EQ(HashSequence("'out/" + std::string(name) + "'", 5), before);
        EXPECT_EQ(Probe("-start_number 5 'out/" + std::string(name) + "'", pixels),
                  Probe("-start_number " + std::to_string(first) + ' ' + file, pixels));
    }
}

TEST_F(SequenceTool, EachImageIsThatOfARunOfItsOwn) {
    for (char const* const extension : {"png", "jpg", "webp"}) {
        SCOPED_TRACE(extension);
        MakeImages("%d.png", 1,
                   "-f lavfi -i testsrc2=s=96x64:d=0.12 -vf format=rgba,colorchannelmixer=aa=0.5 -y");
        std::string const steps = " --overwrite -e 'flip vertical'";
        EXPECT_EQ(Run("run in/%d.png out/%d." + std::string(extension) + steps).exitCode, 0);
        for (char const number : {'1', '2', '3'}) {
            std::string const name = std::string(1, number) + '.';
            EXPECT_EQ(Run("run in/" + name + "png one." + extension + steps).exitCode, 0);
            EXPECT_EQ(ReadFile("out/" + name + extension), ReadFile(std::string("one.") + extension))
                << number;
        }
    }
}

TEST_F(SequenceTool, TellsWhatIsMissingOrInTheWay) {
    MakeSmallFilm();
    MakeImages("%04d.png", 14, "-f lavfi -i testsrc2=s=64x48:d=0.4");
    std::filesystem::create_directory("gap");
    for (char const* const number : {"0014", "0015", "0018", "0019", "0021"})
        std::filesystem::copy(std::string("in/") + number + ".png", std::string("gap/") + number + ".png");
    WriteFile("out/0007.png", "keep me");
    std::string const there = "Add --overwrite: \"out/0007.png\" exists already";
    ExpectRefusals({
        {"run gap/%04d.png o.mkv", 2,
         "\"gap/0016.png\" is missing between \"gap/0015.png\" and \"gap/0018.png\"; in all 3 images are "
         "missing"},
        {"run in/%d.png o.mkv", 2, "There is no file such as \"in/1.png\""},
        {"run in/%04d.jpg o.mkv", 2, "There is no file such as \"in/0001.jpg\""},
        {"run film.mp4 out/%04d.png", 1, there},
        {"run film.mp4 out/%04d.png --start-number 3", 1, there},
        {"run film.mp4 no/%04d.png", 4, "Cannot write \"no/%04d.png\": there is no folder \"no\""},
        {"run film.mp4 out/%d.png --at 1", 1, "Remove --at: \"out/%d.png\" is a sequence of images, *"},
        {"run film.mp4 o.mkv --rate 24", 1, "Remove --rate: \"film.mp4\" is not a sequence of images"},
        {"run in/%04d.png o.mkv --rate 0", 1, "--rate: give images a second up to 100000, *"},
        {"run in/%04d.png o.mkv --rate 1/0", 1, "--rate: give images a second up to 100000, *"},
        {"run in/%04d.png in/%04d.png --overwrite -e 'flip vertical'", 1,
         "Cannot write \"in/0014.png\": it is the input"},
        {"run in/0014.png ./in/%03d4.png --overwrite -e 'flip vertical'", 1, "*"},
        {"run in/%04d.png o.png", 1, "Add --at SECONDS: \"o.png\" is an image: choose a frame *"},
    });
    EXPECT_EQ(Run("run film.mp4 out/%04d.png --start-number 8").exitCode, 0);
    EXPECT_EQ(CountImages(), 51U);
    EXPECT_THAT(
        RunForNotes("run film.mp4 out/%04d.png --overwrite --duration 10f"),
        HasSubstr("\"out/0011.png\" and 46 others from before are still there, behind the last image"));
    EXPECT_NE(ReadFile("out/0007.png"), "keep me");
}

TEST_F(SequenceTool, IsTakenWhereAFilmIs) {
    TellLeaksApart(); // the stabilizer takes them, too
    MakeImages("%04d.png", 3, "-f lavfi -i testsrc2=s=128x96:d=1");
    EXPECT_THAT(RunForNotes("run in/%04d.png film.mp4 -e 'flip vertical' --quality high"),
                HasSubstr("Took 25 images a second; --rate sets another rate."));
    EXPECT_EQ(Probe("film.mp4", "stream=codec_name,nb_frames,r_frame_rate"), "h264 25/1 25");
    EXPECT_EQ(Run("run in/%04d.png part.mkv --from 5f --duration 10f --rate 10 --video-codec ffv1").exitCode,
              0);
    EXPECT_EQ(HashPictures("-i part.mkv -pix_fmt rgb24"),
              HashPictures("-start_number 8 -i in/%04d.png -frames:v 10 -pix_fmt rgb24"));
    EXPECT_THAT(Run("explain in/%04d.png new.mp4 -e 'flip vertical'").out,
                HasSubstr("encoded with libx264 from"));
    EXPECT_THAT(Run("explain in/%04d.png -e 'flip vertical'").out, HasSubstr(" to output%d.png ("));
    EXPECT_EQ(Run("preview in/%04d.png look.png -e 'flip vertical' --at 0.5").exitCode, 0);
    EXPECT_THAT(Run("bench in/%04d.png -e 'flip vertical'").out, HasSubstr("25 frames in "));
    EXPECT_EQ(Run("stabilize in/%04d.png steady.mp4 --rate 50").exitCode, 0);
    EXPECT_EQ(Probe("steady.mp4", "stream=r_frame_rate"), "50/1");
    // Names that look like one.
    std::filesystem::copy("in/0003.png", "100%d.png");
    EXPECT_EQ(RunForNotes("run 100%d.png 50%.png -e 'flip vertical'"), "");
    EXPECT_EQ(RunForNotes("run film.mp4 film%d.mkv"), "");
    EXPECT_TRUE(std::filesystem::exists("50%.png") && std::filesystem::exists("film%d.mkv"));
}

TEST_F(SequenceTool, AnInterruptLeavesWholeImages) {
    MakeFilm("film.mkv", "-f lavfi -i testsrc2=s=640x480:d=60 -c:v libx264 -preset ultrafast");
    WriteFile("out/.%d.tmp-01234567.png", "left by a run that was killed");
    Process process(Command("run film.mkv out/%d.png -e 'blur sigma=3'"));
    auto const deadline = std::chrono::steady_clock::now() + Tarsel::Test::GetPatience();
    while (CountImages() < 9 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    process.Signal(SIGTERM);
    auto const result = process.Wait();
    EXPECT_EQ(result.exitCode, 143);
    std::size_t const count = CountImages();
    EXPECT_EQ(result.err,
              "tarsel: Interrupted: " + std::to_string(count) + " images of \"out/%d.png\" are written\n");
    EXPECT_EQ(HashSequence("out/%d.png", 1).size(), count);
}

} // namespace
} // namespace Tarsel::Tools
