// A film goes in, a film comes out: nothing may be lost on the way.

#include "Conf/DisplayMatrix.h"
#include "Media/MediaExceptions.h"
#include "RunFixture.h"
#include "Support/MovieTag.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/mem.h>
#include <libavutil/pixdesc.h>
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
    /// A film with B-frames, audio, subtitles, chapters and metadata.
    std::filesystem::path MakeRich(std::string const& name, std::string const& subtitles) const {
        Write("subtitles.srt", s_subtitles);
        Write("chapters.txt", s_chapters);
        return Make(File(name), s_pictures + s_audio + "-i " + File("subtitles.srt").string() + " -i " +
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
        // Matroska keeps no duration of audio; FFmpeg guesses that of the first packet, or does not.
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

// Worked on, or copied with its tag.
TEST_F(Film, AllOfAnMp4ComesOut) {
    SetOrientation(MakeRich("in.mp4", "mov_text"), 6);
    for (bool const isCopied : {false, true}) {
        Media::RunOptions options = isCopied ? Options("in.mp4", "copy.mp4") : Lossless("in.mp4", "out.mp4");
        Media::VideoStreamInfo info;
        options.makeVideoEffects = isCopied ? Media::MakeVideoEffects() : Note(info);
        auto const [result, in, out] = Trip(options);
        EXPECT_EQ(out.pictures, in.pictures);
        EXPECT_EQ(out.chapters, in.chapters);
        EXPECT_EQ(out.metadata, in.metadata);
        EXPECT_EQ(out.streams[0].hasMatrix, isCopied); // a chain has dealt with it
        EXPECT_EQ(out.streams[0].packets == in.streams[0].packets, isCopied);
        ExpectSameCopies(in, out);
        EXPECT_THAT(result.notes, IsEmpty());
        EXPECT_EQ(result.framesIn, 25);
        EXPECT_EQ(result.framesOut, 25);
        EXPECT_EQ(result.videoEncoder, isCopied ? "" : "libx264");
        if (!isCopied) {
            EXPECT_EQ(info.frame, (Conf::FrameInfo{64, 48, 1, 1}));
            EXPECT_EQ(info.frameRate, (Ratio{25, 1}));
            EXPECT_EQ(info.orientation.GetOrientation(), 6);
        }
    }
}

// With a font and a cover attached.
TEST_F(Film, AllOfAMatroskaComesOut) {
    Write("font.ttf", "no font, but a file");
    Make(File("cover.png"), "-f lavfi -i color=red:s=16x16 -frames:v 1");
    MakeRich("plain.mkv", "ass");
    Make(File("in.mkv"), "-i " + File("plain.mkv").string() + " -map 0 -c copy -attach " +
                             File("font.ttf").string() + " -metadata:s:t:0 mimetype=font/ttf -attach " +
                             File("cover.png").string() + " -metadata:s:t:1 mimetype=image/png");
    auto const [result, in, out] = Trip(Lossless("in.mkv", "out.mkv"));
    EXPECT_THAT(result.notes, IsEmpty());
    EXPECT_EQ(out.pictures, in.pictures);
    EXPECT_EQ(out.chapters, in.chapters);
    EXPECT_EQ(out.metadata, in.metadata);
    ASSERT_EQ(in.streams.size(), 6U);
    EXPECT_NE(in.streams[5].disposition & AV_DISPOSITION_ATTACHED_PIC, 0);
    ExpectSameCopies(in, out);
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
        auto const [result, in, out] = Trip(Lossless("in.mp4", name));
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

TEST_F(Film, TimesComeOutAsTheyWentIn) {
    std::string const uneven = s_pictures + "-vf settb=1/90000,setpts=(N*N+3*N)*450 -vsync passthrough ";
    std::string const late = s_audio + "-itsoffset 0.52 " + s_pictures + "-map 0 -map 1 -vsync passthrough ";
    std::string const scale = "-video_track_timescale ";
    struct {
        std::string arguments;
        std::string output = "out.mp4";
        std::string encoder = {};
    } const cases[] = {
        {"-f lavfi -i testsrc2=s=64x48:r=30000/1001:d=1 " + s_bFrames},
        {uneven + s_noBFrames + scale + "90000"},
        {uneven + s_bFrames + scale + "90000"},
        {uneven + s_bFrames + scale + "1000", "out.mkv"},
        {uneven + s_noBFrames + scale + "90000", "out.mp4", "mpeg4"}, // which counts more coarsely
        {s_pictures + s_bFrames + scale + "7000003"},
        {late + "-c:a aac " + s_bFrames},
        {"-itsoffset 0.32 " + s_audio + s_pictures + "-map 1 -map 0 -c:a aac " + s_bFrames}};
    for (auto const& row : cases) {
        SCOPED_TRACE(row.arguments + row.output);
        Make(File("in.mp4"), row.arguments);
        Media::RunOptions options = Lossless("in.mp4", row.output);
        if (!row.encoder.empty()) {
            options.videoEncoder = row.encoder;
            options.videoEncoderOptions = {{"bf", "2"}};
        }
        auto const [result, in, out] = Trip(options);
        ASSERT_GT(in.pictures.size(), 5U);
        EXPECT_EQ(out.GetTimes(), in.GetTimes());
        if (row.encoder.empty()) {
            EXPECT_EQ(out.GetHashes(), in.GetHashes());
        }
        // In MP4 a picture lasts until the next; only the last one says itself, where FFmpeg's reader finds
        // it: not in a stream that starts late.
        if (row.output == "out.mp4" && row.encoder.empty() && in.GetTimes()[0] == 0 &&
            in.pictures.back().duration > 0) {
            EXPECT_EQ(out.pictures.back().duration, in.pictures.back().duration);
        }
        ExpectSameCopies(in, out);
    }
}

// What films are made of they stay made of: format, fields, rate. AVI says no times.
TEST_F(Film, KeepsFieldsAndRate) {
    std::string const x264 = "-pix_fmt yuv420p -c:v libx264 ";
    struct {
        std::string rate;
        std::string arguments;
        std::string input;
        std::string output;
    } const cases[] = {{"25", "-c:v mpeg2video -flags +ildct+ilme -top 1", "in.mpg", "out.mpg"},
                       {"25", "-vf setfield=bff " + x264 + "-flags +ildct+ilme", "in.mp4", "out.ts"},
                       {"15", x264, "in.mp4", "out2.mpg"},
                       {"30000/1001", x264, "in.mp4", "out.h264"},
                       {"24", "-c:v libx265 -x265-params log-level=none", "in.mkv", "out.hevc"},
                       {"30000/1001", x264, "in.mkv", "out.y4m"},
                       {"25", x264 + "-bf 3", "in.avi", "out.mp4"}};
    for (auto const& row : cases) {
        SCOPED_TRACE(row.output);
        Make(File(row.input), "-f lavfi -i testsrc2=s=64x48:d=0.4:r=" + row.rate + " " + row.arguments);
        auto const [result, in, out] = Trip(Options(row.input, row.output));
        EXPECT_EQ(out.format, in.format);
        EXPECT_EQ(out.fields, in.fields);
        EXPECT_EQ(out.rate, in.rate);
        ASSERT_EQ(out.pictures.size(), in.pictures.size());
        if (row.input == "in.avi") {
            EXPECT_EQ(out.pictures.back().time - out.pictures[0].time, 360'000'000);
        }
    }
}

// Matroska may say the same time twice, MP4 may not.
TEST_F(Film, CopiedTimesThatDoNotGoUpAreMoved) {
    Make(File("plain.mkv"), s_pictures + s_audio + s_noBFrames + "-c:a aac");
    Make(File("in.mkv"),
         "-i " + File("plain.mkv").string() + " -c copy -bsf:a setts=ts=N/2*42-mod(N\\,2)*21");
    Trip const trip(Lossless("in.mkv", "out.mp4"));
    std::vector<PacketRecord> const in = trip.in.Of("audio").at(0).packets;
    std::vector<PacketRecord> const out = trip.out.Of("audio").at(0).packets;
    ASSERT_EQ(out.size(), in.size());
    for (std::size_t i = 0; i < in.size(); ++i)
        EXPECT_EQ(out[i].data, in[i].data);
    EXPECT_THAT(trip.result.notes, ElementsAre(HasSubstr("timestamps that did not increase.")));
}

// A sender's clock starts anywhere and jumps, for all streams, where recordings were joined. Gaps stay.
TEST_F(Film, BroadcastClocksStartAtZeroAndGoOn) {
    std::string const film = s_pictures + s_audio + s_bFrames + "-c:a mp2 -output_ts_offset ";
    for (auto const& [first, second, gap] :
         {std::tuple("0", "5000", 0.0), {"5000", "0", 0.0}, {"0", "9", 7.92e9}}) {
        SCOPED_TRACE(second);
        Make(File("a.ts"), film + first);
        Make(File("b.ts"), film + second);
        Write("in.ts", Read("a.ts") + Read("b.ts"));
        auto const [result, in, out] = Trip(Lossless("in.ts", "out.mp4"));
        auto const audio = out.Of("audio").at(0).packets;
        ASSERT_EQ(out.pictures.size(), 50U);
        for (std::size_t i = 1; i < out.pictures.size(); ++i)
            EXPECT_NEAR(static_cast<double>(out.pictures[i].time - out.pictures[i - 1].time),
                        4e7 + (i == 25 ? gap : 0), 2e7)
                << i;
        EXPECT_LT(out.pictures[0].time, 100000000);
        EXPECT_NEAR(static_cast<double>(audio.back().pts), 2e9 + gap, 1e8);
        EXPECT_EQ(
            testing::Value(result.notes,
                           testing::Contains("Closed 1 time jump: the input's clock is not continuous.")),
            gap == 0);
    }
}

std::vector<std::string> ListStreams(MediaRecord const& media) {
    std::vector<std::string> streams;
    for (StreamRecord const& stream : media.streams)
        streams.push_back(stream.kind + ' ' + stream.metadata.at("language"));
    return streams;
}

TEST_F(Film, KeepsTheStreamsThatAreChosen) {
    Write("words.srt", s_subtitles);
    Make(File("in.mkv"),
         s_pictures + "-f lavfi -i testsrc2=s=32x32:r=25:d=1 " + s_audio + "-i " +
             File("words.srt").string() + " -map 0 -map 1 -map 2 -map 2 -map 2 -map 3 -map 3 " + s_bFrames +
             "-c:a flac -metadata:s:v:0 language=eng -metadata:s:v:1 language=fre -metadata:s:a:0 "
             "language=eng "
             "-metadata:s:a:1 language=fre -metadata:s:a:2 language=deu -metadata:s:s:0 language=deu "
             "-metadata:s:s:1 language=fre -disposition:a:1 +default+comment -disposition:a:0 0");
    using Choice = Media::StreamChoice;
    auto const none = Choice::None();
    auto const french = Choice::Language("fra");
    struct {
        Media::StreamSelection selection;
        std::vector<std::string> kept;
        std::vector<int> worked;
    } const cases[] = {
        {{}, ListStreams(ReadMedia(File("in.mkv"))), {0, 1, 2}},
        {{{}, Choice::Number(1), none}, {"video eng", "video fre", "audio fre"}, {1}},
        {{Choice::Number(1), french, french}, {"video fre", "audio fre", "subtitle fre"}, {1}},
        {{none, Choice::Language("ger"), Choice::Number(0)}, {"audio deu", "subtitle deu"}, {2}},
        {{french, none, none}, {"video fre"}, {}}};
    for (auto const& [selection, kept, worked] : cases)
        for (bool const isCopied : {true, false}) {
            SCOPED_TRACE(testing::PrintToString(kept) + (isCopied ? " copied" : ""));
            Media::RunOptions options = AudioOptions("in.mkv", "out.mkv", {});
            options.streams = selection;
            std::vector<int> told;
            if (!isCopied) {
                options.mayLackAudio = options.mayLackVideo = true;
                options.range.from = Media::MediaTime::Frames(selection.video == none ? 0 : 3);
                if (selection.video == none)
                    options.range.from = Media::MediaTime::Seconds(0.12);
                options.makeAudioEffects = [&](Media::AudioStreamInfo const& info) {
                    told.push_back(info.number);
                    return AudioThrough()(info);
                };
            }
            auto const [result, in, out] = Trip(options);
            EXPECT_EQ(ListStreams(out), kept);
            EXPECT_EQ(told, isCopied ? std::vector<int>{} : worked);
            if (!out.pictures.empty()) {
                EXPECT_EQ(out.width, kept[0] == "video fre" ? 32 : 64);
                EXPECT_EQ(out.pictures.size(), isCopied ? 25U : 22U);
            }
            for (StreamRecord const& stream : out.streams)
                for (StreamRecord const& source : in.streams)
                    if (source.kind == stream.kind && source.metadata == stream.metadata) {
                        EXPECT_EQ(stream.disposition, source.disposition);
                    }
        }
    std::string const list = "0 (eng flac mono), 1 (fre flac mono), 2 (deu flac mono)";
    Media::RunOptions options = AudioOptions("in.mkv", "refused.mkv", {});
    options.streams.audio = Choice::Number(3);
    EXPECT_THAT(RunForFailure<Media::OptionsException>(options), HasSubstr(list + ", but none of number 3"));
    options.streams.audio = Choice::Language("spa");
    EXPECT_THAT(RunForFailure<Media::OptionsException>(options),
                HasSubstr(list + ", but none in the language spa"));
    options.streams = {none, none, {}};
    EXPECT_THAT(RunForFailure<Media::OptionsException>(options), HasSubstr("neither video nor audio"));
    options.streams = {};
    options.audioWork = {Choice::Number(1), Choice::Number(7)};
    EXPECT_THAT(RunForFailure<Media::OptionsException>(options), HasSubstr("none of number 7"));
    EXPECT_FALSE(std::filesystem::exists(File("refused.mkv")));
}

// As recordings of broadcasts and calls have them: effects and encoders get frames of one size and format.
TEST_F(Film, FramesOfOtherSizesBecomeLikeTheFirst) {
    auto const make = [&](std::string const& size, std::string const& format) {
        Make(File("part.ts"),
             "-f lavfi -i color=red:r=25:d=0.4:s=" + size + " -c:v libx264 -qp 0 -pix_fmt " + format);
        return Read("part.ts");
    };
    Write("in.ts", make("64x48", "yuv420p") + make("96x80", "yuv420p") + make("64x48", "yuv444p") +
                       make("64x48", "yuv420p"));
    Media::RunOptions options = Lossless("in.ts", "out.mkv");
    options.makeVideoEffects = MakeEffects([](Picture const& picture) {
        EXPECT_EQ(picture->GetFrameInfo(), (Conf::FrameInfo{64, 48, 1, 1}));
        EXPECT_STREQ(av_get_pix_fmt_name(static_cast<AVPixelFormat>(picture->GetAVFrame()->format)),
                     "yuv420p");
        return Pictures{picture};
    });
    auto const [result, in, out] = Trip(options);
    EXPECT_THAT(out.GetHashes(), testing::AllOf(testing::SizeIs(40), testing::Each(out.pictures[0].hash)));
    EXPECT_THAT(result.notes, testing::Contains(testing::MatchesRegex(
                                  "Scaled 20 frames to 64x48 yuv420p like the first: the video changes to "
                                  "96x80 yuv420p at 0.4.* s, and 2 times later.")));
    options.onResize = Media::OnResize::Fail;
    EXPECT_THAT(RunForFailure<Media::InputException>(options),
                testing::MatchesRegex("Allow scaling: the frames of .*in.ts\" change from 64x48 yuv420p to "
                                      "96x80 yuv420p at 0.4.* s"));
}

} // namespace
} // namespace Tarsel::Test
