#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

// A video that is worked on in parts, and what becomes of it when these are joined.

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

class Parts : public Tool {
protected:
    /// Options for which decoded frames tell whether all is the same.
    static constexpr char const* s_ffv1 = " --video-codec ffv1";
    static constexpr char const* s_qp0 =
        " --video-codec libx264 --video-option qp=0 --video-option bf=2 --video-option b_strategy=0 "
        "--video-option preset=ultrafast";

    /// Frames and samples with their times, in the time base of the file; then subtitles, chapters and tags.
    static std::string Look(std::string const& file) {
        return OutputOf("ffmpeg -nostdin -v error -i " + file +
                        " -map 0:v -map 0:a? -fps_mode passthrough -enc_time_base -1 -f framemd5 -") +
               OutputOf("ffprobe -v error -show_chapters -show_entries "
                        "format_tags:stream=index,codec_name,avg_frame_rate,disposition:stream_tags " +
                        file) +
               Probe(file, "packet=pts,duration,data_hash", "-select_streams s");
    }
    static std::string GetPart(int number, std::string const& extension) {
        return "part-" + std::to_string(number) + extension;
    }
    /// Works on all parts and joins them into a new "joined".
    static std::string Join(std::string const& input, std::string const& extension, int count,
                            std::string const& options) {
        std::string files;
        for (int i = 1; i <= count; ++i) {
            std::string const part = GetPart(i, extension);
            ProcessResult const result = Run("run " + input + ' ' + part + " --overwrite --part " +
                                             std::to_string(i) + '/' + std::to_string(count) + ' ' + options);
            EXPECT_EQ(result.exitCode, 0) << result.err;
            files = part + ' ' + files; // in any order
        }
        std::string const joined = "joined" + extension;
        ProcessResult const result = Run("join " + input + ' ' + joined + ' ' + files + " --overwrite");
        EXPECT_EQ(result.exitCode, 0) << result.err;
        for (int i = 1; i <= count; ++i)
            for (std::string const& file : {GetPart(i, extension), GetPart(i, extension) + ".json"})
                std::filesystem::remove(file);
        return joined;
    }
    static Json ReadJson(std::string const& file) { return Json::parse(ReadFile(file)); }
};

TEST_F(Parts, JoinedAreWhatOneRunWrites) {
    std::string const video = "-f lavfi -i testsrc2=s=64x48:r=25:d=2 ";
    std::string const audio = "-f lavfi -i anoisesrc=d=2:r=44100:seed=1 ";
    std::string const x264 = "-c:v libx264 -preset veryfast -pix_fmt yuv420p ";
    // Times, values that move, frames around, and audio that is worked on as a whole.
    std::string const silent = "-e 'negate@0.5-1.1' -e 'blur sigma=0..4@0.3-1.7' ";
    std::string const steps = silent + "-e 'echo echos=100/0.5' ";
    WriteFile("words.srt", "1\n00:00:00,100 --> 00:00:01,500\nwords\n\n");
    // Frames of another size on the way are scaled to those with which the film begins.
    std::string const mpeg = " -c:v mpeg2video -g 5 -bf 2 -q:v 2 -pix_fmt yuv420p ";
    MakeFilm("small.ts", "-f lavfi -i testsrc2=s=64x48:r=25:d=1" + mpeg);
    MakeFilm("large.ts", "-f lavfi -i testsrc2=s=96x64:r=25:d=1 -output_ts_offset 1" + mpeg);
    OutputOf("cat small.ts large.ts > sizes.ts");
    MakeFilm("whole.mp4", video + audio + x264 + "-g 25 -keyint_min 25 -c:a aac");
    struct {
        char const* input;
        std::string arguments;
        std::string output;
        std::string options;
    } const films[] = {
        {"b.mp4", video + audio + "-i words.srt " + x264 + "-g 7 -bf 3 -c:a aac -c:s mov_text", ".mp4",
         steps + s_qp0},
        {"open.mkv", video + audio + x264 + "-x264-params open-gop=1:keyint=12:bframes=3", ".mkv",
         steps + s_ffv1},
        {"every.mkv", video + "-c:v ffv1", ".mp4", silent + "-e 'deinterlace' " + s_qp0},
        {"uneven.mkv",
         video + audio + "-vf 'settb=1/90000,setpts=(N*N+3*N)*450' -fps_mode passthrough " + x264 + "-g 9",
         ".mkv", steps + s_ffv1},
        {"uneven.mp4",
         video + audio +
             "-vf 'settb=1/90000,setpts=(N*N+3*N)*450' -fps_mode passthrough -video_track_timescale 90000 " +
             x264 + "-g 9 -c:a aac",
         ".mov", steps + "--audio-codec pcm_s16le" + s_qp0},
        {"ntsc.mp4", "-f lavfi -i testsrc2=s=64x48:r=30000/1001:d=2 " + x264 + "-g 11", ".mkv",
         silent + s_ffv1},
        {"late.mp4", "-itsoffset 0.71 " + video + audio + x264 + "-g 8 -c:a aac", ".mp4", steps + s_qp0},
        {"cut.mp4", "-ss 0.41 -i whole.mp4 -c copy", ".mp4", steps + s_qp0},
        {"fields.mp4", video + audio + "-vf interlace=lowpass=0 " + x264 + "-flags +ildct+ilme -g 6 -c:a aac",
         ".mkv", "-e 'deinterlace mode=send_field' " + steps + s_ffv1},
        {"in.ts", video + audio + x264 + "-g 10 -c:a mp2", ".mkv", steps + "-e 'deinterlace' " + s_ffv1},
        {"a.mp4", video + audio + x264 + "-g 7 -bf 3 -c:a aac", ".mkv", steps + s_qp0},
        {"sizes.mkv", "-i sizes.ts -c copy", ".mkv", silent + s_ffv1},
        {"in.avi", video + audio + "-c:v mpeg4 -bf 2 -g 10", ".mkv", steps + s_ffv1},
    };
    for (auto const& [input, arguments, output, options] : films) {
        MakeFilm(input, arguments);
        RunProcess(Command(std::string("run ") + input + " one" + output + " --overwrite " + options));
        std::string const one = Look("one" + output);
        ASSERT_THAT(one, HasSubstr("#dimensions 0: 64x48"));
        // The first film in every number of parts.
        bool const isFirst = &arguments == &films[0].arguments;
        for (int const count : isFirst ? std::vector{1, 2, 3, 4, 5, 6, 7} : std::vector{2, 5})
            EXPECT_EQ(Look(Join(input, output, count, options)), one) << input << ' ' << count;
    }
}

// Each effect as its first example has it, or all of them with LUMENTA_TEST_FULL set: in parts as in the
// whole, or refused because it says so.
TEST_F(Parts, EveryEffectWorksOnPartsOrSaysWhyNot) {
    MakeFilm("film.mkv", "-f lavfi -i testsrc2=s=64x48:r=25:d=0.6 -vf noise=alls=20:allf=t,format=yuv420p "
                         "-c:v libx264 -g 6 -bf 2");
    MakeFilm("second.mp4", "-f lavfi -i testsrc2=s=64x48:r=20:d=0.6 -vf negate,format=yuv420p -c:v libx264");
    int refused = 0;
    Json const catalog = Json::parse(Run("list --json").out);
    for (Json const& effect : catalog["effects"]) {
        if (effect["kind"].get<std::string>().ends_with("audio"))
            continue;
        std::vector<std::string> examples = effect["examples"];
        std::erase_if(examples, [](auto const& each) { return each.find("-e ") == std::string::npos; });
        if (std::getenv("LUMENTA_TEST_FULL") == nullptr && examples.size() > 1)
            examples.resize(1);
        for (std::string const& example : examples) {
            std::string const options = example.substr(example.find("-e ")) + s_ffv1;
            SCOPED_TRACE(example);
            ProcessResult const first = Run("run film.mkv part-1.mkv --part 1/2 --overwrite " + options);
            Json const& traits = effect["traits"];
            bool const isRefused = !traits["frameIndependent"] && traits["looksBack"].is_null();
            EXPECT_EQ(first.exitCode, isRefused ? 1 : 0) << first.err;
            if (isRefused) {
                ++refused;
                EXPECT_THAT(first.err, HasSubstr("Apply step 1 (" + effect["id"].get<std::string>() +
                                                 ") in a run of the whole video: "));
                continue;
            }
            EXPECT_EQ(Run("run film.mkv one.mkv --overwrite " + options).exitCode, 0);
            EXPECT_EQ(Look(Join("film.mkv", ".mkv", 2, options)), Look("one.mkv"));
        }
    }
    EXPECT_GT(refused, 0);
}

TEST_F(Parts, SayWhatTheyAre) {
    MakeFilm("film.mkv", "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -pix_fmt yuv420p -c:v libx264 -g 10");
    MakeFilm("right.png", "-f lavfi -i testsrc2=s=64x48 -frames:v 1 -update 1");
    std::string const options = std::string("-e 'negate@5-' -e 'midequalizer reference=right.png' "
                                            "--normalize -16LUFS --no-subtitles") +
                                s_ffv1;
    std::vector<Json> parts;
    for (int i = 1; i <= 5; ++i) {
        std::string const part = GetPart(i, ".mkv");
        // That a step has nothing to do may be so in this part alone; that a part is empty is told.
        std::string const notes =
            RunForNotes("run film.mkv " + part + " --part " + std::to_string(i) + "/5 " + options);
        std::string const description = ReadFile(part + ".json");
        ExpectValid("part", description);
        parts.push_back(Json::parse(description));
        bool const isEmpty = parts.back()["video"].is_null();
        EXPECT_EQ(notes, isEmpty ? "tarsel: note: Part " + std::to_string(i) +
                                       " of 5 holds no frames: the video has "
                                       "too few key frames.\n"
                                 : "");
        EXPECT_EQ(isEmpty, ReadFile(part).empty());
    }
    // Key frames lie at 0, 0.4 and 0.8 s; cuts at the last one by 0.2, 0.4, 0.6 and 0.8 s.
    auto const get = [&](std::function<Json(Json const&)> const& of) {
        std::vector<Json> values;
        for (Json const& part : parts)
            values.push_back(of(part));
        return values;
    };
    EXPECT_EQ(get([](Json const& part) { return part["range"]["from"]; }),
              (std::vector<Json>{"begin", "begin", 400000, 400000, 800000}));
    EXPECT_EQ(
        get([](Json const& part) { return part["video"].is_null() ? Json(0) : part["video"]["frames"]; }),
        (std::vector<Json>{0, 10, 0, 10, 5}));
    EXPECT_EQ(parts[3]["video"]["last"]["seconds"], 0.76);
    EXPECT_EQ(parts[4]["video"]["end"]["seconds"], 1.0);
}

TEST_F(Parts, ThatAreThereStayAndOthersAreNotReplaced) {
    MakeFilm("film.mkv", "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -pix_fmt yuv420p -c:v libx264 -g 10");
    std::string const run = std::string("run film.mkv p.mkv") + s_ffv1;
    EXPECT_EQ(RunForNotes(run + " --part 1/2 -e 'blur sigma=2'"), "");
    std::string const part = ReadFile("p.mkv");
    std::string const description = ReadFile("p.mkv.json");
    for (std::string const again :
         {" --part 1/2 -e 'blur sigma=2'", " --part 1/2 -e 'blur sigma=2' --overwrite --threads 1"})
        EXPECT_EQ(RunForNotes(run + again),
                  "tarsel: note: \"p.mkv\" is part 1 of 2, complete and made with the same "
                  "settings: it stays as it is.\n");
    EXPECT_EQ(ReadFile("p.mkv"), part);
    std::string const add = "Add --overwrite: \"p.mkv\" exists already, made otherwise: ";
    ExpectRefusals({
        {"run film.mkv p.mkv --part 2/2 -e 'blur sigma=2' --video-codec ffv1", 1, add + "it is part 1 of 2"},
        {"run film.mkv p.mkv --part 1/2 -e 'blur sigma=3' --video-codec ffv1", 1,
         add + "run.chain.steps.0.settings.sigma is 2, not 3"},
        {"run film.mkv p.mkv --part 1/2 -e 'blur sigma=2'", 1, add + "run.video_codec is \"ffv1\", not null"},
    });
    WriteFile("p.mkv", part.substr(1));
    ExpectRefusals(
        {{"run film.mkv p.mkv --part 1/2 -e 'blur sigma=2' --video-codec ffv1", 1, add + "it has *"}});
    std::filesystem::remove("p.mkv.json"); // as a process leaves it that is killed between the two
    ExpectRefusals({{"run film.mkv p.mkv --part 1/2 -e 'blur sigma=2' --video-codec ffv1", 1,
                     "Add --overwrite: \"p.mkv\" exists already"}});
    EXPECT_EQ(RunForNotes(run + " --part 1/2 -e 'blur sigma=2' --overwrite"), "");
    EXPECT_EQ(Json::parse(ReadFile("p.mkv.json"))["video"], Json::parse(description)["video"]);
}

TEST_F(Parts, ThatDoNotFitAreNamed) {
    std::string const film = "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -pix_fmt yuv420p -c:v libx264 -g 10 ";
    MakeFilm("film.mkv", film);
    MakeFilm("other.mkv", film + "-crf 30");
    auto const make = [](std::string const& input, std::string const& part, std::string const& number,
                         std::string const& options) {
        EXPECT_EQ(Run("run " + input + ' ' + part + " --part " + number + " -e negate " + options).exitCode,
                  0);
    };
    std::string const ffv1 = s_ffv1;
    make("film.mkv", "a.mkv", "1/2", ffv1);
    make("film.mkv", "b.mkv", "2/2", ffv1);
    make("film.mkv", "c.mkv", "2/3", ffv1);
    make("other.mkv", "d.mkv", "2/2", ffv1);
    make("film.mkv", "e.mkv", "2/2", ffv1 + " --video-option level=3");
    make("film.mkv", "f.mkv", "2/2", ffv1);
    WriteFile("f.mkv", ReadFile("f.mkv") + "x");
    WriteFile("g.mkv", ReadFile("b.mkv"));
    Json moved = ReadJson("b.mkv.json");
    moved["range"]["from"] = 440000;
    WriteFile("g.mkv.json", moved.dump());
    WriteFile("h.mkv", ReadFile("b.mkv"));
    Json older = ReadJson("b.mkv.json");
    older["versions"]["libavcodec"] = "1.2.3";
    WriteFile("h.mkv.json", older.dump());
    WriteFile("i.mkv", ReadFile("c.mkv"));
    Json wrong = ReadJson("b.mkv.json");
    wrong["output"] = ReadJson("c.mkv.json")["output"];
    WriteFile("i.mkv.json", wrong.dump());
    std::string const join = "join film.mkv o.mkv a.mkv ";
    std::string const version = ReadJson("a.mkv.json")["versions"]["libavcodec"];
    ExpectRefusals({
        {join, 1, "Add part 2 of 2: it is missing"},
        {join + "b.mkv b.mkv", 1, "Give part 2 once: \"b.mkv\" and \"b.mkv\" both are"},
        {join + "c.mkv", 1,
         "Leave out part 2 (\"c.mkv\"), which is one of 3: part 1 (\"a.mkv\") is one of 2"},
        {join + "d.mkv", 1, "Make part 2 (\"d.mkv\") again, like part 1 (\"a.mkv\"): input.bytes is *"},
        {join + "e.mkv", 1,
         "Make part 2 (\"e.mkv\") again, like part 1 (\"a.mkv\"): run.video_options has 1 entries, not 0"},
        {join + "f.mkv", 1, "Make part 2 (\"f.mkv\") again: it has *"},
        {join + "g.mkv", 1, "Make part 2 (\"g.mkv\") again: it does not begin where the part before ends"},
        {join + "h.mkv", 1,
         "Make part 2 (\"h.mkv\") again, like part 1 (\"a.mkv\"): versions.libavcodec is \"1.2.3\", not \"" +
             version + '"'},
        {join + "i.mkv", 2, "Make \"i.mkv\" again: it holds 10 packets, not 15"},
        {"join other.mkv o.mkv a.mkv b.mkv", 1,
         "Give the video that the parts are of: \"other.mkv\" is another: *"},
        {"join film.mkv o.mp4 a.mkv b.mkv", 1,
         "Choose an output like the parts, which are .mkv files: \"o.mp4\" is none"},
        {"join film.mkv o.mkv a.mkv b.mkv.json", 1, "Give the parts alone: \"b.mkv.json\" describes one"},
        {"join film.mkv o.mkv film.mkv", 2, "Cannot read \"film.mkv.json\": No such file or directory"},
        {"join film.mkv a.mkv a.mkv b.mkv", 1, "Add --overwrite: \"a.mkv\" exists already"},
    });
    WriteFile("a.mkv.json", "{}");
    ExpectRefusals({{join, 2, "\"a.mkv.json\" does not describe a part of a video: *"}});
}

TEST_F(Parts, WhatIsOfTheWholeIsRefused) {
    MakeSmallFilm();
    MakeFilm("still.png", "-f lavfi -i testsrc2=s=64x48 -frames:v 1 -update 1");
    MakeFilm("song.wav", "-f lavfi -i sine=d=0.1");
    std::string const run = "run film.mp4 ";
    std::string const part = " --part 1/2 -e negate ";
    ExpectRefusals({
        {run + "o.mp4 -e negate --part 3", 1,
         "--part: give K/N, part K from 1 to N of N parts (at most 100000), such as 3/10, not \"3\"*"},
        {run + "o.mp4 -e negate --part 4/3", 1,
         "--part: give K/N, part K from 1 to N of N parts (at most 100000), such as 3/10, not \"4/3\"*"},
        {run + "o.mp4 --from 1" + part, 1, "Remove --from: parts are those of the whole video"},
        {run + "o.avi" + part, 1,
         "Choose another container, such as .mkv or .mp4: .avi files hold no parts of a video"},
        {run + "o.png --at 1" + part, 1,
         "Choose another container, such as .mkv or .mp4: .png files hold no parts of a video"},
        {run + "o.mp4 --part 1/2", 1, "Remove --part: The video is copied as it is"},
        {run + "o.mp4 --part 1/2 -e 'deshake enabled=0'", 1, "Remove --part: The video is copied as it is"},
        {run + "o.mp4 -e 'denoise-chroma-luma'" + part, 1,
         "Apply step 1 (denoise-chroma-luma) in a run of the whole video: each of its frames depends on all "
         "before, "
         "so it cannot work on a part"},
        {"run still.png o.mp4" + part, 1, "Remove --part: \"still.png\" is an image"},
        {"run song.wav o.mp4" + part, 2, "\"song.wav\" has no video"},
        {run + "o.mp4 --log o.mp4.json" + part, 1,
         "--log: choose another file: \"o.mp4.json\" is to hold the description of the part"},
    });
}

// What is left of a process that was killed is nothing that could be joined, and does not hinder the next.
TEST_F(Parts, OfAKilledProcessAreMadeAgain) {
    MakeFilm("film.mkv",
             "-f lavfi -i testsrc2=s=320x240:r=25:d=8 -pix_fmt yuv420p -c:v libx264 -preset ultrafast -g 10");
    std::string const run =
        std::string("run film.mkv p.mkv --part 2/2 -e 'blur sigma=20' -e 'blur sigma=21'") + s_ffv1;
    Process process(Command(run + " --threads 1"));
    while (ListFolder().size() < 3) // of the part, and of its description
        usleep(1000);
    process.Signal(SIGKILL);
    EXPECT_EQ(process.Wait().exitCode, 128 + SIGKILL);
    EXPECT_FALSE(std::filesystem::exists("p.mkv"));
    EXPECT_FALSE(std::filesystem::exists("p.mkv.json"));
    EXPECT_EQ(RunForNotes(run), "");
    EXPECT_THAT(ListFolder(), testing::ElementsAre("film.mkv", "p.mkv", "p.mkv.json"));
}

} // namespace
} // namespace Tarsel::Tools
