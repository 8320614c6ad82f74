#include "Tarsel/Tool.h"
#include "Tools/Tarsel/Chain/References.h"

#include <csignal>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Films and still pictures beside the one that is worked on.
class ReferenceTool : public Tool {
protected:
    using Strings = std::vector<std::string>;

    /// Of what `filter` makes of [0] and [1], the files in order.
    static Strings HashPaired(std::string const& files, std::string const& filter) {
        return HashPictures("-filter_complex_threads 1 " + files + " -filter_complex '" + filter +
                            "[out]' -map '[out]'");
    }
    static Strings HashFile(std::string const& file) { return HashPaired("-i " + file, "[0]null"); }

    /// A film without loss whose pictures differ in light; its name.
    static std::string MakeLight(std::string const& name, std::string const& source,
                                 std::string const& filter = "null") {
        return MakeFilm(name, "-f lavfi -i " + source + " -vf " + filter +
                                  ",format=yuv420p -fps_mode passthrough -c:v ffv1");
    }
    static void MakeFirst() { MakeLight("first.mkv", "testsrc2=s=64x48:r=25:d=0.4"); }

    /// What comes of the film and its reference.
    static Strings HashOfRun(std::string const& film, std::string const& reference,
                             std::string const& options = {}) {
        EXPECT_EQ(RunForNotes("run " + film + " out.mkv --overwrite -e 'midequalizer reference=" + reference +
                              "' --video-codec ffv1 " + options),
                  "");
        return HashFile("out.mkv");
    }
};

TEST_F(ReferenceTool, PicturesAreThoseOfTheFFmpegProgram) {
    MakeFirst();
    MakeFilm("late.mkv", "-i first.mkv -vf setpts=PTS+0.5/TB -c:v ffv1");
    std::string const fade = "fade=out:0:8,scale=80:36";
    struct {
        std::string name;
        std::string source;
        std::string sourceFilter;
        /// The second film as it goes in beside the first.
        std::string second;
    } const cases[] = {
        {"film.mkv", "testsrc2=s=64x48:r=25:d=0.4", fade, "null"},
        {"short.mkv", "testsrc2=s=64x48:r=25:d=0.2", fade, "null"}, // the last one holds
        {"slow.mkv", "testsrc2=s=64x48:r=10:d=0.4", fade, "fps=25:round=up"},
        {"still.mkv", "color=0x406080:s=32x32:r=25:d=0.04", "null", "null"},
        {"later.mkv", "testsrc2=s=64x48:r=25:d=0.4", fade + ",setpts=PTS+0.8/TB", "setpts=PTS-STARTPTS"},
    };
    for (auto const& [name, source, sourceFilter, second] : cases) {
        SCOPED_TRACE(name);
        MakeLight(name, source, sourceFilter);
        auto const expected =
            HashPaired("-i first.mkv -i " + name, "[1]" + second + "[b];[0][b]midequalizer");
        EXPECT_EQ(expected.size(), 10U);
        EXPECT_NE(expected, HashFile("first.mkv"));
        EXPECT_EQ(HashOfRun("first.mkv", name), expected);
        EXPECT_EQ(HashOfRun("late.mkv", name, "--threads 1"), expected);
    }
}

TEST_F(ReferenceTool, StillsAndOtherFormatsServe) {
    MakeFirst();
    auto const plain = HashFile("first.mkv");
    for (std::string const format : {"rgb24", "pal8", "rgb48be", "yuvj420p"}) {
        auto const still =
            MakeFilm(format + (format == "yuvj420p" ? ".jpg" : ".png"),
                     "-f lavfi -i color=0x203040:s=33x21 -frames:v 1 -update 1 -pix_fmt " + format);
        auto const pictures = HashOfRun("first.mkv", still);
        EXPECT_EQ(pictures.size(), plain.size()) << format;
        EXPECT_NE(pictures, plain) << format;
    }
    // A still picture with a palette, by a film.
    EXPECT_EQ(RunForNotes("run pal8.png out.png -e 'midequalizer reference=first.mkv'"), "");
    EXPECT_NE(HashPaired("-i out.png", "[0]format=rgb24"), HashPaired("-i pal8.png", "[0]format=rgb24"));
}

TEST_F(ReferenceTool, ATimeInTheFilmIsOneInTheReference) {
    for (auto const& [name, filter] :
         {std::pair("film.mkv", "setpts=PTS+0.3/TB"), {"reference.mkv", "fade=out:0:8"}})
        MakeFilm(name, std::string("-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -vf ") + filter +
                           ",format=gray -c:v ffv1");
    auto const all =
        HashPaired("-i film.mkv -i reference.mkv", "[0]setpts=PTS-STARTPTS[a];[a][1]midequalizer");
    ASSERT_EQ(all.size(), 10U);
    RunForNotes("run film.mkv at.png --at 0.51 -e 'midequalizer reference=reference.mkv'");
    EXPECT_THAT(HashFile("at.png"), ElementsAre(all[5]));
    RunForNotes("run film.mkv range.mkv --from 0.46 --to 0.54 -e 'midequalizer reference=reference.mkv'");
    EXPECT_THAT(HashFile("range.mkv"), ElementsAre(all[5], all[6]));
}

TEST_F(ReferenceTool, AreUprightAndInStep) {
    MakeFilm("film.mp4",
             "-f lavfi -i testsrc2=size=64x48:rate=25:duration=0.2 -pix_fmt yuv420p -c:v libx264 -qp 0");
    auto const open = [&](std::int64_t start) {
        auto references = std::make_unique<References>();
        Host::SecondFrames const frames = references->Add("film.mp4");
        EXPECT_EQ(frames(0), nullptr);
        references->Open(LoadEffects(TARSEL_PLUGIN), start, {});
        return std::pair(std::move(references), frames);
    };
    auto const stored = open(0);
    SetOrientation("film.mp4", 6);
    auto const [references, frames] = open(1000000);
    auto const shown = frames(INT64_MIN);
    EXPECT_EQ(shown->GetFrameInfo(), (Conf::FrameInfo{48, 64, 1, 1}));
    // A quarter to the right: what was at the bottom left is at the top left.
    Proc::ReadOnlyPlane const before = stored.second(0)->GetReadOnlyPlane(0);
    Proc::ReadOnlyPlane const after = shown->GetReadOnlyPlane(0);
    for (std::uint32_t x = 0; x < 48; ++x)
        ASSERT_EQ(after.data[x], before.data[(47 - x) * before.lineSize]);
    EXPECT_EQ(frames(1038999), shown);
    EXPECT_NE(frames(1040000), shown);
    EXPECT_THAT(references->GetNotes(), IsEmpty());

    SetDisplayMatrix("film.mp4", Conf::DisplayMatrix::FromRotation(30));
    auto const tilted = open(0);
    EXPECT_EQ(tilted.second(0)->GetFrameInfo(), (Conf::FrameInfo{64, 48, 1, 1}));
    EXPECT_THAT(tilted.first->GetNotes(), ElementsAre("reference \"film.mp4\": Ignored its orientation tag, "
                                                      "which is neither a mirroring nor a quarter turn."));
}

TEST_F(ReferenceTool, BadOnesAreToldAndNothingIsLeft) {
    MakeFirst();
    MakeFilm("audio.m4a", "-f lavfi -i sine=duration=0.1");
    WriteFile("text.mp4", "words, no film\n");
    MakeFilm("other.mkv", "-f lavfi -i testsrc2=size=64x48:duration=0.1");
    auto const run = [](std::string const& step) { return "run first.mkv out.mkv -e '" + step + "'"; };
    std::string const cannot = "reference: Cannot open ";
    ExpectRefusals({
        {"run first.mkv other.mkv --overwrite -e 'midequalizer reference=other.mkv'", 1,
         "Choose another output: \"other.mkv\" is the reference of a step"},
        {run("midequalizer"), 1,
         "-e \"midequalizer\": Add reference=FILE, a video or an image: midequalizer works on two inputs*"},
        {run("midequalizer planes=3 reference="), 1,
         "-e \"midequalizer planes=3 reference=\": Add reference=FILE*"},
        {run("midequalizer reference=a reference=b"), 1,
         "-e \"midequalizer reference=a reference=b\": midequalizer: \"reference\" is given twice"},
        {run("flip reference=first.mkv"), 1,
         "-e \"flip reference=first.mkv\": flip: unknown key \"reference\"; the keys are *"},
        {run("midequalizer reference=missing.mp4"), 2, cannot + "\"missing.mp4\": No such file or directory"},
        {run("midequalizer reference=text.mp4"), 2, "reference: \"text.mp4\" is not a media file*"},
        {run("midequalizer reference=audio.m4a"), 2, "reference: \"audio.m4a\" has no video"},
    });
}

TEST_F(ReferenceTool, InterruptedRunLeavesNothing) {
    // Of so many pictures a second that the run spends its time on the reference.
    for (std::string const rate : {"25", "800"})
        MakeFilm(rate + ".mp4", "-f lavfi -i testsrc2=size=320x240:duration=4:rate=" + rate +
                                    " -pix_fmt yuv420p -c:v libx264 -preset ultrafast");
    auto const result = Interrupt("run 25.mp4 out.mkv -e 'midequalizer reference=800.mp4'", 3, SIGINT);
    EXPECT_THAT(result.err, testing::Not(HasSubstr("error")));
    EXPECT_THAT(result.err, HasSubstr("Interrupted"));
}

} // namespace
} // namespace Tarsel::Tools
