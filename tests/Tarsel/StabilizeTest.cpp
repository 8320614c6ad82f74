#include "Tarsel/Tool.h"

#include <csignal>
#include <cstdlib>
#include <sys/stat.h>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class StabilizeTool : public Tool {
protected:
    StabilizeTool() {
        setenv("TMPDIR", std::filesystem::current_path().c_str(), 1); // the motions lie where the tests look
        TellLeaksApart();
    }
    ~StabilizeTool() override { unsetenv("TMPDIR"); }

    /// A picture with detail at every place, seen by a camera that jumps up to 4 pixels each way.
    static void MakeShakyFilm(std::string const& name, std::string const& encoding) {
        MakeFilm(name,
                 "-f lavfi -i \"mandelbrot=size=512x512:start_scale=0.02,trim=end_frame=1,loop=39:1:0,"
                 "setpts=N/25/TB,format=gray,crop=192:144:'160+4*sin(n*n)':'184+4*cos(n*n*2)'\" -r 25 " +
                     encoding);
    }

    /// How much the middle of the picture differs from each frame to the next, on average.
    static double MeasureMotion(std::string const& film) {
        std::string const differences =
            Decode(film, "-vf format=gray,crop=112:64:40:40,tblend=all_mode=difference -f rawvideo");
        EXPECT_GT(differences.size(), std::size_t{38} * 112 * 64);
        double sum = 0;
        for (char const difference : differences)
            sum += static_cast<unsigned char>(difference);
        return sum / static_cast<double>(differences.size());
    }
};

TEST_F(StabilizeTool, MakesAFilmSteadierAndLeavesNothingElse) {
    MakeShakyFilm("shaky.mkv", "-c:v libx264 -qp 10 -pix_fmt yuv420p");
    EXPECT_EQ(RunForNotes("stabilize shaky.mkv steady.mkv smoothing=10 --video-option crf=10"), "");
    EXPECT_THAT(ListFolder(), ElementsAre("shaky.mkv", "steady.mkv"));
    EXPECT_LT(MeasureMotion("steady.mkv"), MeasureMotion("shaky.mkv") / 4);
}

TEST_F(StabilizeTool, WorksOnPicturesThatTheEffectDoesNotTake) {
    for (auto const& [encoding, made] :
         {std::pair("-c:v ffv1 -pix_fmt bgr0", "192 144 bgr0 40"),
          {"-vf crop=191:143:0:0:exact=1,format=yuv444p -c:v ffv1", "191 143 yuv444p 40"}}) {
        MakeShakyFilm("shaky.mkv", std::string("-y ") + encoding);
        EXPECT_THAT(RunForNotes("stabilize shaky.mkv steady.mkv --overwrite --video-codec ffv1"),
                    HasSubstr("tarsel: note: Step 1 (stabilizer) works on frames of "));
        EXPECT_EQ(Probe("steady.mkv", "stream=width,height,pix_fmt,nb_read_frames", "-count_frames"), made);
    }
}

TEST_F(StabilizeTool, InterruptedInEitherPassLeavesNothing) {
    MakeFilm("film.mp4",
             "-f lavfi -i testsrc2=size=640x480:rate=100:duration=4 -pix_fmt yuv420p -c:v libx264 "
             "-preset ultrafast");
    // The first pass has a folder for the motions, the second one an unfinished output too.
    for (auto const& [files, signal] : {std::pair(2U, SIGHUP), {3U, SIGINT}})
        Interrupt("stabilize film.mp4 out.mp4 accuracy=5 --video-codec libx264 --video-option preset=placebo",
                  files, signal);
}

TEST_F(StabilizeTool, ExplainingLeavesTheFileOfMotionsAlone) {
    WriteFile("motions.trf", "precious");
    for (std::string const frame : {"64x48:yuv420p", "63x47:rgb24", "64x48:yuvj444p"})
        EXPECT_THAT(Run("explain -e 'stabilizer enabled=1 path=motions.trf' --json --frame " + frame).out,
                    HasSubstr("result=motions.trf"));
    EXPECT_EQ(ReadFile("motions.trf"), "precious");
}

TEST_F(StabilizeTool, APassAloneSaysSoAndOverwritesNothing) {
    MakeFilm("film.mp4", "-f lavfi -i testsrc2=size=128x96:rate=25:duration=1 -pix_fmt yuv420p");
    WriteFile("letter.txt", "words");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    std::pair<std::string, std::string> const wrong[] = {
        {"letter.txt", "exists and is not a camera motion file"},
        {"/dev/zero", "exists and is not a camera motion file"},
        {"fifo", "exists and is not a camera motion file"},
        {"film.mp4", "is read or written otherwise"},
        {"./out.mkv", "is read or written otherwise"},
        {"facts", "is read or written otherwise"}};
    for (auto const& [path, what] : wrong)
        ExpectRefusals({{"run film.mp4 out.mkv --frame-facts facts -e 'stabilizer path=" + path + "'", 1,
                         "step 1 (stabilizer): choose another path: \"" + path + "\" " + what}});
    ExpectRefusals({{"run film.mp4 out.mkv -e stabilizer", 1,
                     "step 1 (stabilizer): add path=FILE for the camera motion, or use \"tarsel stabilize\" "
                     "for both passes"},
                    {"run film.mp4 out.mkv -e 'stabilizer detect=0 path=/dev/zero'", 2,
                     "step 1 (stabilizer): choose another path: \"/dev/zero\" is not a camera motion file"},
                    {"bench film.mp4 -e 'stabilizer path=letter.txt'", 1,
                     "step 1 (stabilizer): choose another path: *"}});
    EXPECT_EQ(Run("bench film.mp4 -e stabilizer").exitCode, 0);
    EXPECT_FALSE(std::filesystem::exists("transforms.trf"));
    for (int turn = 0; turn < 2; ++turn)
        EXPECT_THAT(RunForNotes("run film.mp4 out.mkv --overwrite -e 'stabilizer path=motion.trf'"),
                    HasSubstr("Step 1 (stabilizer) only detected the camera motion, in \"motion.trf\": "));
}

} // namespace
} // namespace Tarsel::Tools
