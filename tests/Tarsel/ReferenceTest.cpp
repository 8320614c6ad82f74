#include "Media/MediaExceptions.h"
#include "Tarsel/Tool.h"
#include "Tools/Tarsel/References.h"

#include <gmock/gmock.h>

#include <csignal>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// Films and still pictures beside the one that is worked on.
class ReferenceTool : public Tool {
protected:
    using Strings = std::vector<std::string>;

    /// Hashes of what the ffmpeg program makes of the files, in order; `filter` makes [out] of [0] and [1].
    static Strings HashPictures(Strings const& files, std::string const& filter) {
        Strings arguments{"-filter_complex_threads", "1"};
        for (std::string const& file : files)
            arguments.insert(arguments.end(), {"-i", file});
        arguments.insert(arguments.end(), {"-filter_complex", filter, "-map", "[out]"});
        return Tool::HashPictures(arguments);
    }

    /// A film without loss whose pictures differ in light.
    std::string MakeLight(std::string const& name, std::string const& source,
                          std::string const& filter) const {
        return MakeFilm(name, {"-f", "lavfi", "-i", source, "-vf", filter + ",format=yuv420p", "-fps_mode",
                               "passthrough", "-c:v", "ffv1"});
    }

    std::string MakeFirst() const { return MakeLight("first.mkv", "testsrc2=s=64x48:r=25:d=0.4", "null"); }

    ProcessResult RunPaired(std::string const& film, std::string const& reference, Strings const& more = {}) {
        Strings arguments{"run",           film,  At("out.mkv"),
                          "--overwrite",   "-e",  "midequalizer reference=" + reference,
                          "--video-codec", "ffv1"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }

    Strings HashOutput() const { return HashPictures({At("out.mkv")}, "[0]null[out]"); }

    static void ExpectSilentSuccess(ProcessResult const& result) {
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
    }
};

TEST_F(ReferenceTool, PicturesAreThoseOfTheFFmpegProgram) {
    auto const film = MakeFirst();
    std::string const fade = "fade=out:0:8,scale=80:36";
    struct Case {
        char const* name;
        std::string reference;
        std::string filter;
    };
    std::string const together = "[0][1]midequalizer[out]";
    std::string const late = MakeFilm("late.mkv", {"-i", film, "-vf", "setpts=PTS+0.5/TB", "-c:v", "ffv1"});
    for (Case const& row : {
             Case{"film", MakeLight("film.mkv", "testsrc2=s=64x48:r=25:d=0.4", fade), together},
             // The last one holds.
             Case{"shorter", MakeLight("short.mkv", "testsrc2=s=64x48:r=25:d=0.2", fade), together},
             Case{"slower", MakeLight("slow.mkv", "testsrc2=s=64x48:r=10:d=0.4", fade),
                  "[1]fps=25:round=up[b];[0][b]midequalizer[out]"},
             Case{"still", MakeLight("still.mkv", "color=0x406080:s=32x32:r=25:d=0.04", "null"), together},
             Case{"later", MakeLight("later.mkv", "testsrc2=s=64x48:r=25:d=0.4", fade + ",setpts=PTS+0.8/TB"),
                  "[1]setpts=PTS-STARTPTS[b];[0][b]midequalizer[out]"},
         }) {
        SCOPED_TRACE(row.name);
        auto const expected = HashPictures({film, row.reference}, row.filter);
        EXPECT_EQ(expected.size(), 10U);
        EXPECT_NE(expected, HashPictures({film}, "[0]null[out]"));
        ExpectSilentSuccess(RunPaired(film, row.reference));
        EXPECT_EQ(HashOutput(), expected);
        ExpectSilentSuccess(RunPaired(late, row.reference, {"--threads", "1"}));
        EXPECT_EQ(HashOutput(), expected);
    }
}

TEST_F(ReferenceTool, StillsAndOtherFormatsServe) {
    auto const film = MakeFirst();
    auto const plain = HashPictures({film}, "[0]null[out]");
    for (auto const& [name, format] :
         {std::pair("rgb.png", "rgb24"), std::pair("palette.png", "pal8"), std::pair("photo.jpg", "yuvj420p"),
          std::pair("deep.png", "rgb48be")}) {
        SCOPED_TRACE(name);
        auto const still = MakeFilm(name, {"-f", "lavfi", "-i", "color=0x203040:s=33x21", "-frames:v", "1",
                                           "-update", "1", "-pix_fmt", format});
        ExpectSilentSuccess(RunPaired(film, still));
        auto const pictures = HashOutput();
        EXPECT_EQ(pictures.size(), plain.size());
        EXPECT_NE(pictures, plain);
        // A still picture with a palette, by a film.
        if (std::string(name) == "palette.png") {
            auto const result = Run({"run", still, At("out.png"), "-e", "midequalizer reference=" + film});
            ExpectSilentSuccess(result);
            EXPECT_NE(HashPictures({At("out.png")}, "[0]format=rgb24[out]"),
                      HashPictures({still}, "[0]format=rgb24[out]"));
        }
    }
}

TEST_F(ReferenceTool, ATimeInTheFilmIsOneInTheReference) {
    auto const make = [&](std::string const& name, std::string const& filter) {
        return MakeFilm(name, {"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.4", "-vf",
                               filter + ",format=gray", "-c:v", "ffv1"});
    };
    auto const film = make("film.mkv", "setpts=PTS+0.3/TB");
    auto const reference = make("reference.mkv", "fade=out:0:8");
    auto const all = HashPictures({film, reference}, "[0]setpts=PTS-STARTPTS[a];[a][1]midequalizer[out]");
    ASSERT_EQ(all.size(), 10U);
    ExpectSilentSuccess(
        Run({"run", film, At("at.png"), "--at", "0.51", "-e", "midequalizer reference=" + reference}));
    EXPECT_THAT(HashPictures({At("at.png")}, "[0]null[out]"), ElementsAre(all[5]));
}

TEST_F(ReferenceTool, AreUprightAndInStep) {
    auto const film = MakeFilm("film.mp4", {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=0.2",
                                            "-pix_fmt", "yuv420p", "-c:v", "libx264", "-qp", "0"});
    auto const open = [&](std::int64_t start) {
        auto references = std::make_unique<References>();
        Host::SecondFrames const frames = references->Add(film);
        EXPECT_EQ(frames(0), nullptr);
        references->Open(LoadEffects(TARSEL_PLUGIN), start, {});
        return std::pair(std::move(references), frames);
    };
    auto const stored = open(0);
    SetOrientation(film, 6);
    auto const [references, frames] = open(1000000);
    auto const shown = frames(INT64_MIN);
    EXPECT_EQ(shown->GetFrameInfo(), (Conf::FrameInfo{48, 64, 1, 1}));
    // A quarter to the right: what was at the bottom left is at the top left.
    Proc::ReadOnlyPlane const before = stored.second(0)->GetReadOnlyPlane(0);
    Proc::ReadOnlyPlane const after = shown->GetReadOnlyPlane(0);
    for (std::uint32_t x = 0; x < 48; ++x)
        ASSERT_EQ(after.data[x], before.data[(47 - x) * before.lineSize]);
    EXPECT_EQ(frames(1039000 - 1), shown);
    auto const second = frames(1040000);
    EXPECT_NE(second, shown);
    EXPECT_EQ(frames(1040001), second);
    EXPECT_THAT(references->GetNotes(), IsEmpty());

    SetDisplayMatrix(film, Conf::DisplayMatrix::FromRotation(30));
    auto const tilted = open(0);
    EXPECT_EQ(tilted.second(0)->GetFrameInfo(), (Conf::FrameInfo{64, 48, 1, 1}));
    EXPECT_THAT(
        tilted.first->GetNotes(),
        ElementsAre("reference \"" + film +
                    "\": Its orientation tag is no mirror and no quarter turn: it was used as stored."));
}

TEST_F(ReferenceTool, BadOnesAreToldAndNothingIsLeft) {
    auto const film = MakeFirst();
    auto const sound = MakeFilm("sound.m4a", {"-f", "lavfi", "-i", "sine=duration=0.1"});
    auto const text = MakeFile("text.mp4", "words, no film\n");
    auto const quoted = [](std::string const& path) { return "\"" + path + "\""; };
    std::string const needs =
        "midequalizer works on two inputs: give it reference=FILE, a video or an image, "
        "for the second";
    struct Case {
        std::string step;
        int exitCode;
        std::string error;
    };
    auto const before = ListFolder();
    for (Case const& row : {
             Case{"midequalizer", 1, "-e \"midequalizer\": " + needs},
             Case{"midequalizer planes=3 reference=", 1, needs},
             Case{"midequalizer reference=a reference=b", 1, "\"reference\" is given twice"},
             Case{"midequalizer planes=16 reference=" + film, 1, "planes"},
             Case{"flip reference=" + film, 1, "flip: unknown key \"reference\"; the keys are "},
             Case{"midequalizer reference=" + At("missing.mp4"), 2,
                  "reference: Cannot open " + quoted(At("missing.mp4")) + ": No such file or directory"},
             Case{"midequalizer reference=" + At("."), 2, "reference: Cannot open " + quoted(At("."))},
             Case{"midequalizer reference=" + text, 2, "reference: Cannot open " + quoted(text)},
             Case{"midequalizer reference=" + sound, 2, "reference: " + quoted(sound) + " has no picture"},
         }) {
        auto const result = Run({"run", film, At("out.mkv"), "-e", row.step});
        EXPECT_EQ(result.exitCode, row.exitCode) << row.step;
        EXPECT_THAT(result.err, StartsWith("tarsel: error: "));
        EXPECT_THAT(result.err, HasSubstr(row.error));
        EXPECT_EQ(ListFolder(), before) << row.step;
    }
}

TEST_F(ReferenceTool, InterruptedRunLeavesNothing) {
    auto const film =
        MakeFilm("film.mp4", {"-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25:duration=4", "-pix_fmt",
                              "yuv420p", "-c:v", "libx264", "-preset", "ultrafast"});
    // Of so many pictures a second that the run spends its time on it.
    auto const reference =
        MakeFilm("busy.mp4", {"-f", "lavfi", "-i", "testsrc2=size=320x240:rate=800:duration=4", "-pix_fmt",
                              "yuv420p", "-c:v", "libx264", "-preset", "ultrafast"});
    auto const result =
        Interrupt({"run", film, At("out.mkv"), "-e", "midequalizer reference=" + reference}, 3, SIGINT);
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_THAT(result.err, Not(HasSubstr("error")));
    EXPECT_THAT(result.err, HasSubstr("the run was stopped"));
    EXPECT_THAT(ListFolder(), ElementsAre("busy.mp4", "film.mp4"));
}

TEST_F(ReferenceTool, ListAndExplainKnowThem) {
    EXPECT_EQ(Run({"list", "midequalizer"}).out,
              "midequalizer (two-input video)\n"
              "  brings light and contrast midway to those of a second picture\n"
              "  It takes its second frames from reference=FILE, a video or an image; may\n"
              "  change alpha, full range.\n"
              "    planes  sum of the planes to work on: 1 for the first, 2, 4, 8\n"
              "            integer, 0 to 15, default 15\n");
    auto const explained = Run({"explain", "-e", "flip horizontal=1", "-e",
                                "midequalizer planes=3 reference=nowhere.mp4", "--frame", "64x48:pal8"});
    EXPECT_EQ(explained.err, "");
    EXPECT_THAT(explained.out, HasSubstr("\nstep 2 (midequalizer)\n  filter: midequalizer=planes=3\n"));
}

} // namespace
} // namespace Tarsel::Tools
