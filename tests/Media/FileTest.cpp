// Files that cannot be read or may not be written, and damaged ones.

#include "Media/Container/OutputFile.h"
#include "Media/MediaExceptions.h"
#include "RunFixture.h"

#include <csignal>
#include <cstddef>

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

class Input : public RunFixture {
protected:
    std::string Refuse(std::filesystem::path const& input) {
        Media::RunOptions options = Options("in", "out.mp4");
        options.input = input;
        std::string text = RunForFailure<Media::InputException>(options);
        EXPECT_THAT(List(), testing::Not(Contains("out.mp4")));
        return text;
    }
    std::string Cannot(std::string const& input, std::string const& reason) {
        return "Cannot open \"" + input + "\": " + reason;
    }
};

TEST_F(Input, ThatIsNoMediaFileIsRefused) {
    Write("empty.mp4", "");
    std::string text;
    for (int i = 0; i < 500; ++i)
        text += "Just a line of text.\n"; // too short, and it is not even taken for a picture in letters
    Write("text.txt", text);
    Write("noise.mp4", std::string(5000, '\x5A'));
    Make(File("sound.m4a"), s_sound + "-c:a aac");
    auto const name = [&](std::string const& file) { return File(file).string(); };
    EXPECT_EQ(Refuse(""), Cannot("", "the name is empty"));
    EXPECT_EQ(Refuse(File("no.mp4")), Cannot(name("no.mp4"), "No such file or directory"));
    EXPECT_EQ(Refuse(m_folder.GetPath()), Cannot(m_folder.GetPath(), "Is a directory"));
    EXPECT_EQ(Refuse("/dev/null"), Cannot("/dev/null", "it is not a regular file"));
    EXPECT_EQ(Refuse(File("empty.mp4")), Cannot(name("empty.mp4"), "the file is empty"));
    EXPECT_EQ(Refuse("-"), Cannot("-", "only files can be read, not streams or addresses"));
    EXPECT_EQ(Refuse("http://127.0.0.1:1/x.mp4"),
              Cannot("http://127.0.0.1:1/x.mp4", "only files can be read, not streams or addresses"));
    std::string const invalid = "Invalid data found when processing input";
    EXPECT_EQ(Refuse(File("text.txt")), Cannot(name("text.txt"), invalid));
    EXPECT_EQ(Refuse(File("noise.mp4")), Cannot(name("noise.mp4"), invalid));
    EXPECT_EQ(Refuse(File("sound.m4a")), "\"" + name("sound.m4a") + "\" has no pictures");
    if (geteuid() != 0) {
        chmod(File("sound.m4a").c_str(), 0);
        EXPECT_EQ(Refuse(File("sound.m4a")), Cannot(name("sound.m4a"), "Permission denied"));
    }
}

// Lists of other files would lead elsewhere; a film of the same name may not either.
TEST_F(Input, NeverLeadsToOtherFiles) {
    Make(File("secret.mp4"), s_pictures + s_noBFrames);
    Write("list.ffconcat", "ffconcat version 1.0\nfile secret.mp4\n");
    Refuse(File("list.ffconcat"));
    Write("list.m3u8", "#EXTM3U\n#EXTINF:1,\nsecret.mp4\n#EXT-X-ENDLIST\n");
    Refuse(File("list.m3u8"));
}

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
    EXPECT_THAT(result.notes, Contains("3 damaged packets were skipped."));
}

TEST_F(Input, CutOffIsReadAsFarAsItGoes) {
    Make(File("good.mp4"), "-f lavfi -i testsrc2=s=160x120:r=25:d=4 -movflags faststart " + s_bFrames);
    std::string const file = Read("good.mp4");
    Write("in.mp4", file.substr(0, file.size() / 2));
    Media::RunResult const result = Media::Run(Options("in.mp4", "out.mp4"));
    EXPECT_GT(result.framesOut, 20);
    EXPECT_LT(result.framesOut, 80);
    EXPECT_THAT(
        result.notes,
        Contains(MatchesRegex("The input breaks off: its pictures end at [0-9.]+ s, though it states 4 s.")));

    // The table at its end is gone: nothing can be read.
    Make(File("late.mp4"), "-f lavfi -i testsrc2=s=160x120:r=25:d=1 " + s_bFrames);
    Write("late.mp4", Read("late.mp4").substr(0, 4000));
    std::filesystem::remove(File("out.mp4"));
    EXPECT_EQ(Refuse(File("late.mp4")), Cannot(File("late.mp4"), "Invalid data found when processing input"));
}

// Half of a file, and all of it: of the whole nothing is said, however its length is stated.
TEST_F(Input, ThatBreaksOffIsTold) {
    std::string const breaksOff =
        "The input breaks off: its (pictures end|audio ends|pictures and audio end) at "
        "[0-9.]+ s, though it states [0-9.]+ s.";
    std::string const film = s_pictures + s_sound + s_bFrames;
    std::string const tone = "-f lavfi -i sine=d=2.3:r=44100 ";
    struct {
        char const* name;
        std::string arguments;
        std::string note;
    } const cases[] = {
        {"in.mp4", film + "-c:a aac -movflags faststart", breaksOff},
        {"late.mp4", film + "-c:a aac -movflags faststart -output_ts_offset 3", breaksOff},
        {"in.mkv", film + "-c:a aac", breaksOff},
        {"late.mkv", film + "-c:a aac -output_ts_offset 3", breaksOff},
        {"live.mkv", film + "-c:a aac -live 1", ""},
        {"in.avi", s_pictures + s_sound + "-c:v mpeg4 -c:a libmp3lame -q:a 4", breaksOff},
        {"in.wav", tone, "The input breaks off: its last packet is not whole."}, // it states no length
        {"in.flac", tone, breaksOff},
        {"xing.mp3", tone + "-q:a 4", breaksOff},
        {"plain.mp3", tone + "-b:a 128k -write_xing 0", ""},
        {"variable.mp3", tone + "-q:a 4 -write_xing 0", ""},
        {"in.m4a", tone + "-c:a aac -movflags faststart", breaksOff},
        {"in.ogg", "-f lavfi -i anoisesrc=d=8:r=44100", ""},
        {"in.ts", film + "-c:a aac", ""},
        {"in.jpg", "-f lavfi -i testsrc2=s=320x240:d=0.04", "The picture is damaged .*"},
    };
    for (auto const& row : cases) {
        SCOPED_TRACE(row.name);
        Make(File(row.name), row.arguments);
        std::string const whole = Read(row.name);
        std::string const extension = File(row.name).extension();
        bool const isPicture = extension == ".jpg";
        for (bool const isCut : {false, true}) {
            Write("cut" + extension, whole.substr(0, isCut ? whole.size() / 2 : whole.size()));
            Media::RunOptions options =
                AudioOptions("cut" + extension, isPicture ? "out.png" : "out.mkv", {});
            options.makeVideoEffects = PassThrough();
            options.mayLackVideo = true;
            options.overwrite = true;
            auto const notes = Media::Run(options).notes;
            if (!isCut) {
                EXPECT_THAT(notes, testing::Each(testing::Not(testing::ContainsRegex("breaks|damaged"))));
            } else if (!row.note.empty()) {
                EXPECT_THAT(notes, Contains(MatchesRegex(row.note)));
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
    EXPECT_EQ(Refuse(File("in.avi")), "No picture of \"" + File("in.avi").string() +
                                          "\" can be decoded: Invalid data found when processing input");
}

// Work on the sound alone needs no decoder for the pictures, where they can be copied.
TEST_F(Input, WithUnknownPicturesIsCopied) {
    Make(File("good.avi"), s_pictures + s_sound + "-c:v mpeg4 -c:a pcm_s16le");
    std::string file = Read("good.avi");
    for (std::size_t at = file.find("FMP4"); at != std::string::npos; at = file.find("FMP4"))
        file.replace(at, 4, "AVS2");
    Write("in.avi", file);
    std::string const text =
        "\"" + File("in.avi").string() + "\" has pictures in the codec avs2, which cannot be decoded here";
    EXPECT_EQ(Refuse(File("in.avi")), text);
    Media::RunOptions options = AudioOptions("in.avi", "out.mp4");
    options.makeVideoEffects = PassThrough();
    options.mayLackVideo = true;
    EXPECT_EQ(RunForFailure<Media::InputException>(options), text); // which MP4 cannot hold
    options.output = File("out.avi");
    Media::RunResult const result = Media::Run(options);
    EXPECT_EQ(result.framesOut, 25);
    EXPECT_THAT(result.audioEncoders, ElementsAre("pcm_s16le"));
}

// Matroska states where the film ends, not how long it is.
TEST_F(Input, ThatStartsLateEndsInTime) {
    Make(File("in.mkv"), s_pictures + s_noBFrames + "-output_ts_offset 5");
    Media::RunOptions options = Options("in.mkv", "out.mkv");
    double done = 0;
    options.onProgress = [&](Media::RunProgress const& progress) { done = progress.done; };
    EXPECT_THAT(Media::Run(options).notes, testing::IsEmpty());
    EXPECT_EQ(done, 1);
}

class Output : public RunFixture {
protected:
    void SetUp() override { Make(File("in.mp4"), s_pictures + s_noBFrames); }

    template <class E>
    std::string Refuse(std::string const& output, bool overwrite = false) {
        Media::RunOptions options = Options("in.mp4", "out.mp4");
        options.output = output.starts_with('/') ? std::filesystem::path(output) : File(output);
        options.overwrite = overwrite;
        options.makeVideoEffects = [](Media::VideoStreamInfo const&) -> std::unique_ptr<FunctionEffects> {
            ADD_FAILURE() << "the input was read";
            return nullptr;
        };
        return RunForFailure<E>(options);
    }
    std::string Cannot(std::string const& output, std::string const& reason) {
        return "Cannot write \"" + output + "\": " + reason;
    }
};

TEST_F(Output, IsRefusedBeforeAnythingIsRead) {
    using Media::OptionsException;
    using Media::OutputException;
    Write("there.mp4", "old");
    std::filesystem::create_symlink(File("in.mp4"), File("link.mp4"));
    std::filesystem::create_hard_link(File("in.mp4"), File("hard.mp4"));
    std::filesystem::create_symlink(File("nowhere"), File("dangling.mp4"));
    auto const name = [&](std::string const& file) { return File(file).string(); };
    std::string const exists = "it exists already and may not be overwritten";
    EXPECT_EQ(Refuse<OptionsException>("there.mp4"), Cannot(name("there.mp4"), exists));
    for (char const* same : {"in.mp4", "link.mp4", "hard.mp4"})
        EXPECT_EQ(Refuse<OptionsException>(same, true), Cannot(name(same), "it is the input"));
    EXPECT_EQ(Refuse<OptionsException>("dangling.mp4", true),
              Cannot(name("dangling.mp4"), "it is a link to nothing"));
    EXPECT_EQ(Refuse<OptionsException>("/dev/null", true), Cannot("/dev/null", "it is not a regular file"));
    EXPECT_EQ(Refuse<OptionsException>("out.xyz"),
              Cannot(name("out.xyz"), "no container is known by the extension \".xyz\""));
    EXPECT_EQ(Refuse<OptionsException>("out.wav"), Cannot(name("out.wav"), "\"wav\" holds no pictures"));
    EXPECT_EQ(Refuse<OptionsException>("out.m3u8"), Cannot(name("out.m3u8"), "\"hls\" is not a single file"));
    EXPECT_EQ(Refuse<OutputException>("no/out.mp4"),
              Cannot(name("no/out.mp4"), "there is no folder \"" + name("no") + "\""));
    EXPECT_EQ(Read("there.mp4"), "old");
    EXPECT_THAT(List(), ElementsAre("dangling.mp4", "hard.mp4", "in.mp4", "link.mp4", "there.mp4"));
}

// Somebody else takes the name while the run is on.
TEST_F(Output, NeverReplacesWhatAppearedInTheMeantime) {
    Media::RunOptions options = Options("in.mp4", "out.mp4");
    options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
        Write("out.mp4", "somebody else's");
        return Pictures{picture};
    });
    EXPECT_EQ(RunForFailure<Media::OutputException>(options),
              Cannot(File("out.mp4"), "it has appeared in the meantime and may not be overwritten"));
    EXPECT_EQ(Read("out.mp4"), "somebody else's");
    EXPECT_THAT(List(), ElementsAre("in.mp4", "out.mp4"));
}

TEST_F(Output, ReplacesWithinItsLinkAndKeepsTheRights) {
    Write("old.mp4", "old");
    chmod(File("old.mp4").c_str(), 0640);
    std::filesystem::create_symlink("old.mp4", File("link.mp4"));
    Media::RunOptions options = Options("in.mp4", "link.mp4");
    options.overwrite = true;
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
