// Files that cannot be read or may not be written, and damaged ones.

#include "Media/Container/OutputFile.h"
#include "Media/MediaExceptions.h"
#include "RunFixture.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <thread>
#include <utility>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avio.h>
}

namespace Tarsel::Test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::MatchesRegex;

using Input = RunFixture;

TEST_F(Input, DamagedInTheMiddleIsReadOn) {
    Make(File("good.avi"), "-f lavfi -i testsrc2=s=160x120:r=25:d=2 -c:v mjpeg -q:v 3");
    std::string file = Read("good.avi");
    // Three pictures in the middle lose their headers.
    std::size_t at = file.size() / 2;
    for (int i = 0; i < 3; ++i) {
        at = file.find("00dc", at + 8);
        std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(at) + 8, 2000, '\0');
    }
    Write("in.avi", file);
    Media::RunResult const result = Media::Run(Options("in.avi", "out.mp4"));
    EXPECT_EQ(result.framesIn, 47);
    EXPECT_THAT(result.notes, Contains("Skipped 3 damaged packets."));
}

// Half of a file, all of it, and all but its last bytes: of the whole nothing is said, however its length is
// stated.
TEST_F(Input, ThatBreaksOffIsTold) {
    std::string const early = "The input is truncated: its (video ends|audio ends|video and audio end) at "
                              "[0-9.]+ s instead of [0-9.]+ s.";
    std::string const size = "The input is truncated: [0-9]+ of its [0-9]+ bytes are missing.";
    std::string const packet = "The input is truncated: its last packet is incomplete.";
    std::string const mark = "The input may be truncated: it lacks the mark that such files end with.";
    std::string const film = s_pictures + s_audio + s_bFrames;
    std::string const tone = "-f lavfi -i sine=d=2.3:r=44100 ";
    struct {
        char const* name;
        std::string arguments;
        std::string half;
        std::string end;
    } const cases[] = {
        {"in.mp4", film + "-c:a aac -movflags faststart", early, size},
        {"late.mp4", film + "-c:a aac -movflags faststart -output_ts_offset 3", early, size},
        {"small.mp4", "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -movflags faststart", early, size},
        {"in.mkv", film + "-c:a aac", early, size},
        {"late.mkv", film + "-c:a aac -output_ts_offset 3", early, size},
        {"live.mkv", film + "-c:a aac -live 1", "", ""},
        {"in.avi", s_pictures + s_audio + "-c:v mpeg4 -c:a libmp3lame -q:a 4", early, size},
        {"in.wav", tone, size, size},
        {"in.aiff", tone, early, size},
        {"in.flac", tone, early, ""},
        {"in.wv", tone, early, packet},
        {"xing.mp3", tone + "-q:a 4", early, packet},
        {"plain.mp3", tone + "-b:a 128k -write_xing 0", packet, packet},
        {"variable.mp3", tone + "-q:a 4 -write_xing 0", packet, packet},
        {"in.aac", tone, packet, packet},
        {"in.ac3", tone, packet, packet},
        {"in.m4a", tone + "-c:a aac -movflags faststart", early, size},
        {"in.ogg", "-f lavfi -i anoisesrc=d=8:r=44100", mark, mark},
        {"in.opus", "-f lavfi -i anoisesrc=d=8:r=48000", mark, mark},
        {"in.ogv", "-f lavfi -i testsrc2=s=320x240:r=25:d=2 " + s_audio, mark, mark},
        {"in.y4m", s_pictures + "-pix_fmt yuv420p", packet, packet},
        {"in.gif", s_pictures, mark, mark},
        {"in.apng", s_pictures, packet + "|" + mark, packet + "|" + mark},
        {"in.ivf", s_pictures + "-c:v libvpx", early, ""},
        {"in.ts", film + "-c:a aac", "", ""},
        {"in.jpg", "-f lavfi -i testsrc2=s=320x240:d=0.04", "The image is damaged .*", ""},
    };
    for (auto const& row : cases) {
        Make(File(row.name), row.arguments);
        std::string const whole = Read(row.name);
        std::string const extension = File(row.name).extension();
        std::pair<std::size_t, std::string> const cuts[] = {
            {whole.size(), ""}, {whole.size() / 2, row.half}, {whole.size() - 20, row.end}};
        for (auto const& [length, note] : cuts) {
            SCOPED_TRACE(row.name + (" cut to " + std::to_string(length)));
            Write("cut" + extension, whole.substr(0, length));
            Media::RunOptions options =
                AudioOptions("cut" + extension, extension == ".jpg" ? "out.png" : "out.mkv", {});
            options.makeVideoEffects = PassThrough();
            options.mayLackVideo = true;
            auto const notes = Media::Run(options).notes;
            if (length == whole.size()) {
                EXPECT_THAT(notes, testing::Each(testing::Not(testing::ContainsRegex("truncated|damaged"))));
            } else if (!note.empty()) {
                EXPECT_THAT(notes, Contains(MatchesRegex(note)));
            }
        }
    }
}

TEST_F(Input, WithNothingThatDecodesIsRefused) {
    Make(File("good.avi"), "-f lavfi -i testsrc2=s=160x120:r=25:d=0.2 -c:v mjpeg");
    std::string file = Read("good.avi");
    for (std::size_t at = file.find("00dc"); at != std::string::npos; at = file.find("00dc", at + 8))
        std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(at) + 8, 500, '\0');
    Write("in.avi", file);
    EXPECT_EQ(RunForFailure<Media::InputException>(Options("in.avi", "out.mp4")),
              "No frame of \"" + File("in.avi").string() +
                  "\" can be decoded: Invalid data found when processing input");
    EXPECT_THAT(List(), ElementsAre("good.avi", "in.avi"));
}

// Matroska states where the film ends, not how long it is.
TEST_F(Input, ProgressGoesToItsEnd) {
    Make(File("in.mkv"), s_pictures + s_noBFrames + "-output_ts_offset 5");
    Media::RunOptions options = Options("in.mkv", "out.mkv");
    options.makeVideoEffects = MakeEffects([](Picture const& picture) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return Pictures{picture};
    });
    std::vector<Media::RunProgress> told;
    options.onProgress = [&](Media::RunProgress const& progress) { told.push_back(progress); };
    EXPECT_THAT(Media::Run(options).notes, testing::IsEmpty());
    ASSERT_GT(told.size(), 3U);
    for (std::size_t i = 1; i < told.size(); ++i)
        EXPECT_GE(told[i].done, told[i - 1].done);
    Media::RunProgress const& middle = told[told.size() / 2];
    EXPECT_GT(middle.done * middle.secondsLeft, 0);
    EXPECT_EQ(told.back().done, 1);
    EXPECT_EQ(told.back().frames, 25);
}

class Output : public RunFixture {
protected:
    void SetUp() override { Make(File("in.mp4"), s_pictures + s_noBFrames); }

    std::string Cannot(std::string const& output, std::string const& reason) {
        return "Cannot write \"" + output + "\": " + reason;
    }
};

// Somebody else takes the name while the run is on.
TEST_F(Output, NeverReplacesWhatAppearedInTheMeantime) {
    Media::RunOptions options = Options("in.mp4", "out.mp4");
    options.overwrite = false;
    options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
        Write("out.mp4", "somebody else's");
        return Pictures{picture};
    });
    EXPECT_EQ(RunForFailure<Media::OutputException>(options),
              Cannot(File("out.mp4"), "another program has created it in the meantime"));
    EXPECT_EQ(Read("out.mp4"), "somebody else's");
    EXPECT_THAT(List(), ElementsAre("in.mp4", "out.mp4"));
}

TEST_F(Output, ReplacesWithinItsLinkAndKeepsTheRights) {
    Write("old.mp4", "old");
    chmod(File("old.mp4").c_str(), 0640);
    std::filesystem::create_symlink("old.mp4", File("link.mp4"));
    Media::RunOptions options = Options("in.mp4", "link.mp4");
    bool wasOld = false;
    options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
        wasOld = Read("old.mp4") == "old";
        return Pictures{picture};
    });
    Media::Run(options);
    EXPECT_TRUE(wasOld); // until the new one is complete
    EXPECT_TRUE(std::filesystem::is_symlink(File("link.mp4")));
    EXPECT_EQ(ReadMedia(File("old.mp4")).pictures.size(), 25U);
    EXPECT_EQ(std::filesystem::status(File("old.mp4")).permissions(), std::filesystem::perms{0640});
    EXPECT_THAT(List(), ElementsAre("in.mp4", "link.mp4", "old.mp4"));
}

TEST_F(Output, AFullDiskIsToldAndLeavesNothing) {
    Make(File("in.mp4"), "-f lavfi -i testsrc2=s=320x240:r=25:d=1 " + s_noBFrames);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit const small{100000, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    Media::RunOptions options = Lossless("in.mp4", "out.mkv");
    std::string const text = RunForFailure<Media::OutputException>(options);
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(text, Cannot(File("out.mkv"), "File too large"));
    EXPECT_THAT(List(), ElementsAre("in.mp4"));
}

TEST(OutputFile, HasATemporaryNameUntilItIsPublished) {
    TempFolder const folder;
    std::string const longName = std::string(248, 'n') + ".mp4";
    for (std::string const& name : {std::string("film.mp4"), longName}) {
        {
            Media::OutputFile file(folder / name, false);
            avio_w8(file.GetIO(), 'x');
            for (auto const& entry : std::filesystem::directory_iterator(folder.GetPath())) {
                EXPECT_NE(entry.path().filename(), name);
                EXPECT_EQ(entry.path().extension(), ".mp4");
            }
            file.Close();
            EXPECT_FALSE(std::filesystem::exists(folder / name));
            file.Publish();
        }
        EXPECT_EQ(std::filesystem::file_size(folder / name), 1U);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.GetPath()), {}), 1);
        std::filesystem::remove(folder / name);
    }
    { Media::OutputFile const abandoned(folder / "film.mp4", false); }
    EXPECT_TRUE(std::filesystem::is_empty(folder.GetPath()));
}

TEST(OutputFile, NobodyElseMayReadItWhoCouldNotReadTheOld) {
    TempFolder const folder;
    for (unsigned const rights : {0600U, 0640U, 0400U}) {
        WriteFile(folder / "film.mp4", "old");
        chmod((folder / "film.mp4").c_str(), rights);
        Media::OutputFile file(folder / "film.mp4", true);
        for (auto const& entry : std::filesystem::directory_iterator(folder.GetPath()))
            EXPECT_EQ(static_cast<unsigned>(entry.status().permissions()) & 077U & ~rights, 0U) << entry;
        file.Close();
        file.Publish();
        EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(folder / "film.mp4").permissions()), rights);
        std::filesystem::remove(folder / "film.mp4");
    }
}

TEST(OutputFile, KeepsTheGroupAndGivesNoOneElseItsRights) {
    TempFolder const folder;
    std::filesystem::path const path = folder / "film.mp4";
    WriteFile(path, "old");
    constexpr gid_t games = 60;
    if (chown(path.c_str(), static_cast<uid_t>(-1), games) != 0)
        GTEST_SKIP() << "Only root gives files to groups";
    chmod(path.c_str(), 06640);
    Media::OutputFile file(path, true);
    file.Close();
    file.Publish();
    struct stat made {};
    ASSERT_EQ(stat(path.c_str(), &made), 0);
    EXPECT_EQ(made.st_gid, games);
    EXPECT_EQ(made.st_mode & 07777U, 0640U);
}

TEST(OutputFile, RemovesWhatAKilledProcessLeft) {
    TempFolder const folder;
    pid_t const child = fork();
    if (child == 0) {
        Media::OutputFile const unfinished(folder / "film.mp4", false);
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(folder.List().size(), 1U);
    WriteFile(folder / ".film.tmp-precious.mp4", "mine");
    WriteFile(folder / ".film.tmp-12345678.mkv", "another's");
    Media::OutputFile const writing(folder / "film.mp4", false);
    EXPECT_EQ(folder.List().size(), 3U);
    Media::OutputFile const atOnce(folder / "film.mp4", false);
    EXPECT_EQ(folder.List().size(), 4U);
}

} // namespace
} // namespace Tarsel::Test
