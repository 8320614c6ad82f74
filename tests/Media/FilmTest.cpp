// A film goes in, a film comes out: nothing may be lost on the way.

#include "Conf/DisplayMatrix.h"
#include "Proc/Data/DataVideoFF.h"
#include "RunFixture.h"
#include "Support/Planes.h"

#include <chrono>
#include <thread>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char const* s_subtitles =
    "1\n00:00:00,200 --> 00:00:00,500\nOne\n\n2\n00:00:00,600 --> 00:00:00,900\nTwo\n";
constexpr char const* s_chapters = ";FFMETADATA1\ntitle=A film\nartist=Somebody\n"
                                   "[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=400\ntitle=Start\n"
                                   "[CHAPTER]\nTIMEBASE=1/1000\nSTART=400\nEND=1000\ntitle=End\n";

class Film : public RunFixture {
protected:
    /// A film with B-frames, sound, subtitles, chapters and metadata.
    std::filesystem::path MakeRich(std::string const& name, std::string const& subtitles) const {
        Write("subtitles.srt", s_subtitles);
        Write("chapters.txt", s_chapters);
        return Make(File(name), s_pictures + s_sound + "-i " + File("subtitles.srt").string() + " -i " +
                                    File("chapters.txt").string() +
                                    " -map 0 -map 1 -map 1 -map 2 -map_metadata 3 -map_chapters 3 " +
                                    s_bFrames +
                                    "-c:a aac -metadata:s:a:0 language=deu -metadata:s:a:1 language=fra "
                                    "-disposition:a:1 default -disposition:a:0 comment -c:s " +
                                    subtitles);
    }
};

/// All streams but the pictures that were worked on.
void ExpectSameCopies(MediaRecord const& in, MediaRecord const& out) {
    ASSERT_EQ(out.streams.size(), in.streams.size());
    for (std::size_t i = 0; i < in.streams.size(); ++i) {
        if (in.streams[i].codec == "h264")
            continue;
        SCOPED_TRACE("stream " + std::to_string(i) + ", " + in.streams[i].codec);
        StreamRecord const& from = in.streams[i];
        StreamRecord to = out.streams[i];
        // Matroska keeps no duration of sound; FFmpeg guesses that of the first packet, or does not.
        if (in.container.starts_with("matroska") && from.kind == "audio" && !to.packets.empty())
            to.packets[0].duration = from.packets[0].duration;
        EXPECT_EQ(to.kind, from.kind);
        EXPECT_EQ(to.codec, from.codec);
        EXPECT_EQ(to.packets, from.packets);
        // FFmpeg adds the bit rate to that of MP4 subtitles.
        EXPECT_TRUE(to.extradata.starts_with(from.extradata));
        EXPECT_EQ(to.disposition, from.disposition);
        EXPECT_EQ(to.metadata, from.metadata);
    }
}

TEST_F(Film, AllOfAnMp4ComesOut) {
    Remux(MakeRich("plain.mp4", "mov_text"), File("in.mp4"), TagAsTurned);
    Media::RunOptions options = Lossless("in.mp4", "out.mp4");
    Media::VideoStreamInfo info;
    options.makeVideoEffects = Note(info);
    Media::RunResult const result = Media::Run(options);
    MediaRecord const in = ReadMedia(File("in.mp4"));
    MediaRecord const out = ReadMedia(File("out.mp4"));

    EXPECT_EQ(info.frame, (Conf::FrameInfo{64, 48, 1, 1}));
    EXPECT_EQ(info.format, Conf::PixFmt::YUV420P);
    EXPECT_EQ(info.frameRate, (Ratio{25, 1}));
    EXPECT_EQ(info.codec, "h264");
    EXPECT_NE(info.orientation, Conf::DisplayMatrix::s_default);
    EXPECT_TRUE(in.streams[0].hasMatrix);
    EXPECT_FALSE(out.streams[0].hasMatrix); // the chain has dealt with it

    ASSERT_EQ(in.pictures.size(), 25U);
    EXPECT_EQ(out.pictures, in.pictures);
    EXPECT_EQ(out.chapters, in.chapters);
    EXPECT_EQ(out.metadata, in.metadata);
    ExpectSameCopies(in, out);
    EXPECT_THAT(result.notes, IsEmpty());
    EXPECT_EQ(result.framesIn, 25);
    EXPECT_EQ(result.framesOut, 25);
    EXPECT_EQ(result.videoEncoder, "libx264");
}

TEST_F(Film, AllOfAMatroskaComesOut) {
    Write("font.ttf", "no font, but a file");
    Make(File("cover.png"), "-f lavfi -i color=red:s=16x16 -frames:v 1");
    MakeRich("plain.mkv", "ass");
    Make(File("in.mkv"),
         "-i " + File("plain.mkv").string() + " -map 0 -c copy -attach " + File("font.ttf").string() +
             " -metadata:s:t:0 mimetype=application/x-truetype-font -metadata:s:t:0 filename=font.ttf" +
             " -attach " + File("cover.png").string() +
             " -metadata:s:t:1 mimetype=image/png -metadata:s:t:1 filename=cover.png");
    Media::RunResult const result = Media::Run(Lossless("in.mkv", "out.mkv"));
    MediaRecord in = ReadMedia(File("in.mkv"));
    MediaRecord out = ReadMedia(File("out.mkv"));

    EXPECT_EQ(out.pictures, in.pictures);
    EXPECT_EQ(out.chapters, in.chapters);
    EXPECT_EQ(out.metadata, in.metadata);
    ASSERT_EQ(in.streams.size(), 6U);
    EXPECT_EQ(in.streams[4].kind, "attachment");
    EXPECT_NE(in.streams[5].disposition & AV_DISPOSITION_ATTACHED_PIC, 0);
    ExpectSameCopies(in, out);
    EXPECT_THAT(result.notes, IsEmpty());
}

// Cover pictures: not what is worked on, and kept as what they are in either container.
TEST_F(Film, CoversStayCovers) {
    Make(File("cover.png"), "-f lavfi -i color=red:s=400x300 -frames:v 1");
    // As much of a film as the cover: one picture.
    Make(File("in.mp4"), "-i " + File("cover.png").string() +
                             " -f lavfi -i testsrc2=s=64x48:d=0.04 -map 0 -map 1 -c:v:0 copy " +
                             "-disposition:v:0 attached_pic -disposition:v:1 0 -c:v:1 libx264");
    for (std::string const name : {"out.mp4", "out.mkv"}) {
        SCOPED_TRACE(name);
        Media::RunResult const result = Media::Run(Lossless("in.mp4", name));
        MediaRecord const out = ReadMedia(File(name));
        EXPECT_EQ(result.videoEncoder, name == "out.mp4" ? "libx264" : "ffv1");
        EXPECT_EQ(out.metadata.count("MAJOR_BRAND"), 0U); // of the other container
        int covers = 0;
        for (StreamRecord const& stream : out.streams)
            if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
                ++covers;
                ASSERT_EQ(stream.packets.size(), 1U);
                EXPECT_EQ(stream.packets[0].data, Read("cover.png"));
            }
        EXPECT_EQ(covers, 1);
        EXPECT_EQ(out.streams.size(), 2U);
    }
}

struct TimesCase : NamedCase {
    std::string arguments;
    std::string output;
    /// FFmpeg's reader finds no duration for the last picture of a stream with a late start and no B-frames.
    bool saysLastDuration = true;
};

class FilmTimes : public RunFixture, public testing::WithParamInterface<TimesCase> {};

TEST_P(FilmTimes, ComeOutAsTheyWentIn) {
    Make(File("in.mp4"), GetParam().arguments);
    Media::Run(Lossless("in.mp4", "out." + GetParam().output));
    MediaRecord const in = ReadMedia(File("in.mp4"));
    MediaRecord const out = ReadMedia(File("out." + GetParam().output));
    ASSERT_GT(in.pictures.size(), 5U);
    EXPECT_EQ(out.GetTimes(), in.GetTimes());
    EXPECT_EQ(out.GetHashes(), in.GetHashes());
    // In MP4 a picture lasts until the next; only the last one says itself, where the encoder was told.
    if (GetParam().output == "mp4" && GetParam().saysLastDuration && in.pictures.back().duration > 0) {
        EXPECT_EQ(out.pictures.back().duration, in.pictures.back().duration);
    }
    ExpectSameCopies(in, out);
}

std::string const s_variable = "-vf settb=1/90000,setpts=(N*N+3*N)*450 -vsync passthrough ";

INSTANTIATE_TEST_SUITE_P(
    All, FilmTimes,
    testing::Values(
        TimesCase{{"Ntsc"}, "-f lavfi -i testsrc2=s=64x48:r=30000/1001:d=1 " + s_bFrames, "mp4"},
        TimesCase{
            {"VariableRate"}, s_pictures + s_variable + s_noBFrames + "-video_track_timescale 90000", "mp4"},
        TimesCase{{"VariableRateBFrames"},
                  s_pictures + s_variable + s_bFrames + "-video_track_timescale 90000",
                  "mp4"},
        TimesCase{{"VariableRateToMatroska"},
                  s_pictures + s_variable + s_bFrames + "-video_track_timescale 1000",
                  "mkv"},
        TimesCase{
            {"FinerThanMicroseconds"}, s_pictures + s_bFrames + "-video_track_timescale 7000003", "mp4"},
        TimesCase{{"PictureStartsLater"},
                  s_sound + "-itsoffset 0.52 " + s_pictures + "-map 0 -map 1 -vsync passthrough -c:a aac " +
                      s_bFrames,
                  "mp4",
                  false},
        TimesCase{{"AudioStartsLater"},
                  "-itsoffset 0.32 " + s_sound + s_pictures + "-map 1 -map 0 -c:a aac " + s_bFrames,
                  "mp4"}),
    s_caseName);

TEST_F(Film, WithoutEffectsThePictureIsCopiedWithItsTag) {
    Remux(MakeRich("plain.mp4", "mov_text"), File("in.mp4"), TagAsTurned);
    Media::RunOptions options = Options("in.mp4", "out.mp4");
    options.makeVideoEffects = {};
    Media::RunResult const result = Media::Run(options);
    MediaRecord const in = ReadMedia(File("in.mp4"));
    MediaRecord const out = ReadMedia(File("out.mp4"));
    EXPECT_TRUE(out.streams[0].hasMatrix);
    EXPECT_EQ(out.streams[0].packets, in.streams[0].packets);
    ExpectSameCopies(in, out);
    EXPECT_EQ(result.videoEncoder, "");
    EXPECT_EQ(result.framesOut, 25);
}

// AVI says no times.
TEST_F(Film, TimesThatTheInputLacksAreMade) {
    Make(File("in.avi"), s_pictures + s_bFrames);
    Media::RunOptions options = Options("in.avi", "out.mp4");
    options.makeVideoEffects = {};
    Media::Run(options);
    std::vector<PictureRecord> const pictures = ReadMedia(File("out.mp4")).pictures;
    ASSERT_EQ(pictures.size(), 25U);
    for (std::size_t i = 1; i < pictures.size(); ++i)
        EXPECT_EQ(pictures[i].time - pictures[i - 1].time, 40000000) << "picture " << i;
}

TEST_F(Film, UsualEncodersOfContainers) {
    Make(File("in.mp4"),
         "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 " + s_sound + s_bFrames + "-c:a mp2 -shortest");
    struct {
        char const* output;
        char const* encoder;
    } const cases[] = {{"out.mp4", "libx264"},  {"out.mov", "libx264"}, {"out.mkv", "libx264"},
                       {"out.m4v", "libx264"},  {"out.ts", "libx264"},  {"out.webm", "libvpx-vp9"},
                       {"out.avi", "mpeg4"},    {"out.gif", "gif"},     {"out.mpg", "mpeg2video"},
                       {"out.ogv", "libtheora"}};
    std::vector<PictureRecord> const in = ReadMedia(File("in.mp4")).pictures;
    for (auto const& row : cases) {
        SCOPED_TRACE(row.output);
        EXPECT_EQ(Media::Run(Options("in.mp4", row.output)).videoEncoder, row.encoder);
        MediaRecord const out = ReadMedia(File(row.output));
        ASSERT_EQ(out.pictures.size(), in.size());
        for (std::size_t i = 0; i < in.size(); ++i) // broadcast streams start somewhere, or say no time
            if (out.pictures[i].time != AV_NOPTS_VALUE) {
                EXPECT_EQ(out.pictures[i].time - out.pictures[0].time, in[i].time) << "picture " << i;
            }
    }
}

struct KeptCase : NamedCase {
    /// Of the ffmpeg program, for 64x48 pictures at a rate.
    std::string rate;
    std::string arguments;
    std::string input;
    std::string output;
    std::string encoder;
    std::string format;
};

class KeptCodecs : public RunFixture, public testing::WithParamInterface<KeptCase> {};

// What films are made of they stay made of: codec, depth, alpha, fields, rate.
TEST_P(KeptCodecs, AsFarAsTheContainerGoes) {
    KeptCase const& row = GetParam();
    Make(File(row.input), "-f lavfi -i testsrc2=s=64x48:d=0.4:r=" + row.rate + " " + row.arguments);
    MediaRecord const in = ReadMedia(File(row.input));
    EXPECT_EQ(Media::Run(Options(row.input, row.output)).videoEncoder, row.encoder);
    MediaRecord const out = ReadMedia(File(row.output));
    EXPECT_EQ(out.format, row.format);
    EXPECT_EQ(out.fields, in.fields);
    EXPECT_EQ(out.rate, in.rate);
    EXPECT_EQ(out.pictures.size(), in.pictures.size());
}

INSTANTIATE_TEST_SUITE_P(
    All, KeptCodecs,
    testing::Values(
        KeptCase{{"Mpeg2Fields"},
                 "25",
                 "-c:v mpeg2video -flags +ildct+ilme -top 1",
                 "in.mpg",
                 "out.mpg",
                 "mpeg2video",
                 "yuv420p"},
        KeptCase{{"H264Fields"},
                 "25",
                 "-vf setfield=bff -c:v libx264 -flags +ildct+ilme",
                 "in.mp4",
                 "out.ts",
                 "libx264",
                 "yuv420p"},
        KeptCase{{"SlowProgramStream"}, "15", "-c:v libx264", "in.mp4", "out.mpg", "mpeg2video", "yuv420p"},
        KeptCase{
            {"RateOfBareH264"}, "30000/1001", "-c:v libx264", "in.mp4", "out.h264", "libx264", "yuv420p"},
        KeptCase{{"RateOfBareHevc"},
                 "24",
                 "-c:v libx265 -x265-params log-level=none",
                 "in.mkv",
                 "out.hevc",
                 "libx265",
                 "yuv420p"},
        KeptCase{
            {"RateOfY4m"}, "30000/1001", "-c:v libx264", "in.mkv", "out.y4m", "wrapped_avframe", "yuv420p"}),
    s_caseName);

// Encoders that cannot count in the input's time base, and a container that counts in frames.
TEST_F(Film, EncodersWithCoarseTimesKeepThem) {
    Make(File("in.mp4"), s_pictures + s_variable + s_noBFrames + "-video_track_timescale 90000");
    Media::RunOptions options = Options("in.mp4", "out.mp4");
    options.videoEncoder = "mpeg4";
    options.videoEncoderOptions = {{"bf", "2"}};
    Media::Run(options);
    MediaRecord const in = ReadMedia(File("in.mp4"));
    MediaRecord const out = ReadMedia(File("out.mp4"));
    EXPECT_EQ(out.GetTimes(), in.GetTimes());
}

// Matroska may say the same time twice, MP4 may not.
TEST_F(Film, CopiedTimesThatDoNotGoUpAreMoved) {
    Make(File("plain.mkv"), s_pictures + s_sound + s_noBFrames + "-c:a aac");
    Make(File("in.mkv"),
         "-i " + File("plain.mkv").string() + " -c copy -bsf:a setts=ts=N/2*42-mod(N\\,2)*21");
    Media::RunResult const result = Media::Run(Lossless("in.mkv", "out.mp4"));
    std::vector<PacketRecord> const in = ReadMedia(File("in.mkv")).Of("audio").at(0).packets;
    std::vector<PacketRecord> const out = ReadMedia(File("out.mp4")).Of("audio").at(0).packets;
    ASSERT_EQ(out.size(), in.size());
    for (std::size_t i = 0; i < in.size(); ++i)
        EXPECT_EQ(out[i].data, in[i].data);
    EXPECT_THAT(result.notes, ElementsAre(HasSubstr("times were not after the one before and moved.")));
}

// A sender's clock starts anywhere and jumps where recordings were joined.
TEST_F(Film, BroadcastClocksStartAtZeroAndGoOn) {
    Make(File("a.ts"), s_pictures + s_sound + s_bFrames + "-c:a mp2");
    Make(File("b.ts"), s_pictures + s_sound + s_bFrames + "-c:a mp2 -output_ts_offset 5000");
    Write("in.ts", Read("a.ts") + Read("b.ts"));
    Media::RunResult const result = Media::Run(Lossless("in.ts", "out.mp4"));
    MediaRecord const out = ReadMedia(File("out.mp4"));
    ASSERT_EQ(out.pictures.size(), 50U);
    for (std::size_t i = 1; i < out.pictures.size(); ++i)
        EXPECT_NEAR(static_cast<double>(out.pictures[i].time - out.pictures[i - 1].time), 4e7, 2e7) << i;
    EXPECT_LT(out.pictures[0].time, 100000000);
    EXPECT_THAT(result.notes,
                testing::Contains("1 jump in time was closed: the input's clock is not continuous."));
}

TEST_F(Film, ProgressIsToldOnTheCallersThread) {
    Make(File("in.mp4"), s_pictures + s_noBFrames);
    Media::RunOptions options = Lossless("in.mp4", "out.mp4");
    options.makeVideoEffects = MakeEffects([](Picture const& picture) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return Pictures{picture};
    });
    std::vector<Media::RunProgress> told;
    auto const caller = std::this_thread::get_id();
    options.onProgress = [&](Media::RunProgress const& progress) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        told.push_back(progress);
    };
    Media::Run(options);
    ASSERT_GT(told.size(), 3U);
    for (std::size_t i = 1; i < told.size(); ++i)
        EXPECT_GE(told[i].done, told[i - 1].done);
    EXPECT_GT(told[told.size() / 2].done, 0);
    EXPECT_GT(told[told.size() / 2].secondsLeft, 0);
    EXPECT_EQ(told.back().done, 1);
    EXPECT_EQ(told.back().frames, 25);
}

} // namespace
} // namespace Tarsel::Test
