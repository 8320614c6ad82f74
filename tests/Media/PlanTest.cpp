// What becomes of each stream, decided before anything is written.

#include "Media/Run/Planner.h"
#include "Proc/Data/DataVideoFF.h"
#include "RunFixture.h"
#include "Support/Planes.h"

#include <boost/algorithm/string/replace.hpp>
#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <sstream>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Test {
namespace {

/// "h264: encode libx264 yuv420p | aac: copy", and a line for each note.
std::string PlanText(Media::RunOptions const& options) {
    constexpr std::array fates{"drop", "copy", "encode", "convert"};
    Media::CheckedOptions const checked = Media::CheckOptions(options);
    Media::OpenedInput input = Media::OpenInput(checked, {});
    Media::RunPlan const plan = Media::PlanRun(checked, input, [] {}).plan;
    std::string text;
    for (std::size_t i = 0; i < plan.streams.size(); ++i) {
        Media::StreamPlan const& stream = plan.streams[i];
        AVCodecID const codec = input.streams.context->streams[i]->codecpar->codec_id;
        text += fmt::format("{}{}: {}", i > 0 ? " | " : "", avcodec_get_name(codec),
                            fates.at(static_cast<std::size_t>(stream.fate)));
        for (std::string const& detail : {stream.encoder, stream.format})
            text += detail.empty() ? "" : " " + detail;
    }
    for (std::string const& note : plan.ListNotes())
        text += "\n" + note;
    return text;
}

std::string const s_tiny = "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 ";
std::string const s_tone = "-f lavfi -i sine=d=0.2:r=48000 ";
std::string const s_rich = s_tiny + s_tone +
                           "-i @text.srt -i @words.txt -map 0 -map 1 -map 1 -map 2 "
                           "-map_metadata 3 -map_chapters 3 " +
                           s_bFrames + "-c:a:0 aac -c:a:1 libopus -c:s ass ";
std::string const s_x265 = s_tiny + "-c:v libx265 -x265-params log-level=none ";

/// A file that the rows below begin with, and arguments of the ffmpeg program that make it; "@text.srt",
/// "@words.txt" and "@cover.png" are files beside it.
struct PlanInput {
    char const* name;
    std::string arguments;
};

PlanInput const s_inputs[] = {
    {"rich.mkv", s_rich},
    {"attached.mkv", s_rich + "-attach @text.srt -metadata:s:t mimetype=text/plain"},
    {"cover.m4a", s_tone + "-i @cover.png -map 0 -map 1 -c:a aac -c:v copy -disposition:v attached_pic"},
    {"timeless.avi", s_tiny + s_bFrames},
    {"odd.mkv", s_tiny + "-s 65x49 -pix_fmt yuv420p -c:v ffv1"},
    {"deep.mkv", s_tiny + "-vf format=rgba64le,format=gbrap12le -c:v ffv1"},
    {"rgb.png", s_tiny + "-frames:v 1 -pix_fmt rgb24"},
    {"image.png", s_tiny + "-frames:v 1"},
    {"mpeg2.mpg", s_tiny + "-c:v mpeg2video"},
    {"hevc10.mp4", s_x265 + "-pix_fmt yuv420p10le"},
    {"ffv1.mkv", s_tiny + "-c:v ffv1 -pix_fmt yuv422p10le"},
    {"h264rgb.mp4", s_tiny + "-c:v libx264rgb -pix_fmt rgb24"},
    {"mjpeg.avi", s_tiny + "-c:v mjpeg -pix_fmt yuvj422p"},
    {"hevc.mp4", s_x265},
    {"h263.3gp", s_tiny + "-s 176x144 -c:v h263"},
    {"h264.mp4", s_tiny + s_noBFrames},
    {"plain.mkv", s_tiny + s_noBFrames},
    {"vp9.mkv", s_tiny + "-c:v libvpx-vp9"},
    {"wav24.wav", s_tone + "-c:a pcm_s24le"},
    {"flac24.flac", s_tone + "-sample_fmt s32"},
    {"surround.wav", s_tone + "-ac 6 -ar 96000 -c:a pcm_s24le"},
};

/// Input, output, and what works on it: "v" and "a" are effects on video and on audio, "vcodec=" and
/// "acodec=" encoders. Below that its plan.
constexpr char const* s_plans = R"(rich.mkv out.mp4
  h264: copy | aac: copy | opus: copy | ass: convert mov_text
  Subtitles were converted from ass to mov_text.
attached.mkv out.mp4 v a
  h264: encode libx264 yuv420p | aac: encode aac 48000 Hz fltp mono | opus: encode libopus 48000 Hz flt mono | ass: convert mov_text | none: drop
  Subtitles were converted from ass to mov_text.
  Stream 4 (attachment, none) was left out: the container mp4 cannot take it.
rich.mkv out.webm
  h264: encode libvpx-vp9 yuv420p | aac: encode libopus 48000 Hz flt mono | opus: copy | ass: convert webvtt
  Video was re-encoded from h264 to vp9: "out.webm" cannot hold h264.
  Sound stream 0: Audio was re-encoded from aac to opus: "out.webm" cannot hold aac.
  Subtitles were converted from ass to webvtt.
rich.mkv out.mkv
  h264: copy | aac: copy | opus: copy | ass: copy
rich.mkv out.avi v
  h264: encode mpeg4 yuv420p | aac: copy | opus: encode libmp3lame 48000 Hz fltp mono | ass: drop
  Video was re-encoded from h264 to mpeg4: "out.avi" cannot hold h264.
  Sound stream 1: Audio was re-encoded from opus to mp3: "out.avi" cannot hold opus.
  Stream 3 (subtitle, ass) was left out: the container avi cannot take it.
  The chapters were left out: the container avi has no place for them.
rich.mkv out.gif v
  h264: encode gif bgr8 | aac: drop | opus: drop | ass: drop
  Video was re-encoded from h264 to gif: "out.gif" cannot hold h264.
  Pictures were converted from yuv420p to bgr8 for the encoder gif; lost: depth.
  Stream 1 (audio, aac) was left out: the container gif cannot take it.
  Stream 2 (audio, opus) was left out: the container gif cannot take it.
  Stream 3 (subtitle, ass) was left out: the container gif cannot take it.
  The title "The Film" was left out: the container gif has no place for it.
  The chapters were left out: the container gif has no place for them.
rich.mkv out.ts
  h264: copy | aac: copy | opus: copy | ass: drop
  Stream 3 (subtitle, ass) was left out: the container mpegts cannot take it.
  The chapters were left out: the container mpegts has no place for them.
rich.mkv out.mp3
  h264: drop | aac: encode libmp3lame 48000 Hz fltp mono | opus: drop | ass: drop
  The pictures were left out: "out.mp3" is a sound file.
  Sound stream 0: Audio was re-encoded from aac to mp3: "out.mp3" cannot hold aac.
  Stream 2 (audio, opus) was left out: the container mp3 cannot take it.
  Stream 3 (subtitle, ass) was left out: the container mp3 cannot take it.
rich.mkv out.wav a
  h264: drop | aac: encode pcm_s16le 48000 Hz s16 mono | opus: drop | ass: drop
  The pictures were left out: "out.wav" is a sound file.
  Stream 2 (audio, opus) was left out: the container wav cannot take it.
  Stream 3 (subtitle, ass) was left out: the container wav cannot take it.
  The chapters were left out: the container wav has no place for them.
cover.m4a out.mp3
  aac: encode libmp3lame 48000 Hz fltp mono | png: copy
  Audio was re-encoded from aac to mp3: "out.mp3" cannot hold aac.
cover.m4a out.m4a v
  aac: copy | png: encode png rgb24
cover.m4a out.wav
  aac: encode pcm_s16le 48000 Hz s16 mono | png: drop
  Audio was re-encoded from aac to pcm_s16le: "out.wav" cannot hold aac.
  Stream 1 (video, png) was left out: the container wav cannot take it.
cover.m4a out.png
  aac: drop | png: copy
timeless.avi out.mp4
  h264: encode libx264 yuv420p
  Video was re-encoded: the input does not say when they are shown.
odd.mkv out.mp4 v
  ffv1: encode libx264 yuv444p
  Video was re-encoded from ffv1 to h264, which loses a little: "out.mp4" cannot hold ffv1.
  Pictures were converted from yuv420p to yuv444p for the encoder libx264, which takes odd sizes only so.
deep.mkv out.mp4 v vcodec=mpeg4
  ffv1: encode mpeg4 yuv420p
  Pictures were converted from gbrap12le to yuv420p for the encoder mpeg4; lost: alpha, depth, chroma resolution.
rich.mkv out.mkv vcodec=mpeg4 acodec=libmp3lame
  h264: encode mpeg4 yuv420p | aac: encode libmp3lame 48000 Hz fltp mono | opus: encode libmp3lame 48000 Hz fltp mono | ass: copy
rgb.png out.mp4 v
  png: encode libx264 yuv444p
  Pictures were converted from rgb24 to yuv444p for the encoder libx264.
image.png out.jpg
  png: encode mjpeg yuv444p
  Pictures were converted from rgb24 to yuv444p for the encoder mjpeg.
image.png out.png
  png: copy
mpeg2.mpg out.mpg v
  mpeg2video: encode mpeg2video yuv420p
hevc10.mp4 out.mkv v
  hevc: encode libx265 yuv420p10le
ffv1.mkv out.avi v
  ffv1: encode ffv1 yuv422p10le
h264rgb.mp4 out.mkv v
  h264: encode libx264rgb bgr24
mjpeg.avi out.mkv v
  mjpeg: encode mjpeg yuv422p
hevc.mp4 out.webm v
  hevc: encode libvpx-vp9 yuv420p
  Video was re-encoded from hevc to vp9: "out.webm" cannot hold hevc.
h263.3gp out.3gp v
  h263: encode h263 yuv420p
h264.mp4 out.h264 v
  h264: encode libx264 yuv420p
plain.mkv out.y4m v
  h264: encode wrapped_avframe yuv420p
vp9.mkv out.mov v
  vp9: encode libx264 yuv420p
  Video was re-encoded from vp9 to h264: "out.mov" cannot hold vp9.
plain.mkv out.ogv v
  h264: encode libtheora yuv420p
  Video was re-encoded from h264 to theora: "out.ogv" cannot hold h264.
plain.mkv out.mpg v
  h264: encode mpeg2video yuv420p
  Video was re-encoded from h264 to mpeg2video: "out.mpg" cannot hold h264.
wav24.wav out.flac a
  pcm_s24le: encode flac 48000 Hz s32 mono
flac24.flac out.wav a
  flac: encode pcm_s24le 48000 Hz s32 mono
surround.wav out.mp3 a
  pcm_s24le: encode libmp3lame 48000 Hz s32p stereo
  Sound was converted from 96000 Hz to 48000 Hz and from 5.1 to stereo for the encoder libmp3lame.)";

using Plans = RunFixture;

Media::RunOptions ReadOptions(std::istringstream& words) {
    Media::RunOptions options;
    for (std::string word; words >> word;)
        if (word == "v")
            options.makeVideoEffects = PassThrough();
        else if (word == "a")
            options.makeAudioEffects = AudioThrough();
        else if (word.starts_with("vcodec="))
            options.videoEncoder = word.substr(7);
        else if (word.starts_with("acodec="))
            options.audioEncoder = word.substr(7);
        else
            ADD_FAILURE() << word;
    return options;
}

TEST_F(Plans, SayWhatBecomesOfEachStream) {
    Write("text.srt", "1\n00:00:00,100 --> 00:00:00,400\nHello\n");
    Write("words.txt",
          ";FFMETADATA1\ntitle=The Film\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\ntitle=Two\n");
    Make(File("cover.png"), "-f lavfi -i color=red:s=16x16 -frames:v 1");
    for (PlanInput const& input : s_inputs)
        Make(File(input.name), boost::algorithm::replace_all_copy(input.arguments, "@", File("").string()));
    std::vector<std::string> const before = List();

    std::string plans;
    std::istringstream lines(s_plans);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(' '))
            continue;
        std::istringstream words(line);
        std::string input;
        std::string output;
        words >> input >> output;
        Media::RunOptions options = ReadOptions(words);
        options.input = File(input);
        options.output = File(output);
        // Both orders of the bits are as near; releases choose differently.
        std::string const plan = boost::algorithm::replace_all_copy(PlanText(options), "rgb8", "bgr8");
        plans += (plans.empty() ? "" : "\n") + line + "\n  " +
                 boost::algorithm::replace_all_copy(plan, "\n", "\n  ");
    }
    EXPECT_EQ(plans, s_plans);
    EXPECT_EQ(List(), before); // nothing was written
}

// Who makes effects is told whether a copy would do, and so whether the tag would be lost.
TEST_F(Plans, MakersKnowWhatACopyWouldLack) {
    Make(File("plain.mp4"), s_tiny + s_noBFrames);
    Remux(File("plain.mp4"), File("in.mp4"), TagAsTurned);
    struct {
        char const* output;
        char const* encoder;
        char const* obstacle;
        char const* plan;
    } const cases[] = {{"out.mp4", "", "", "h264: copy"},
                       {"out.mp4", "mpeg4", "the options ask for an encoder", "h264: encode mpeg4 yuv420p"},
                       {"out.webm", "", "\"out.webm\" cannot hold h264", "h264: encode libvpx-vp9 yuv420p"}};
    for (auto const& row : cases) {
        SCOPED_TRACE(std::string(row.output) + row.encoder);
        Media::RunOptions options = Options("in.mp4", row.output);
        options.videoEncoder = row.encoder;
        Media::VideoStreamInfo info;
        options.makeVideoEffects = [&](Media::VideoStreamInfo const& told) {
            info = told;
            return nullptr;
        };
        std::string plan = row.plan;
        if (*row.obstacle != '\0')
            plan += "\nThe orientation tag was dropped, since the video was re-encoded.";
        if (*row.encoder == '\0' && *row.obstacle != '\0')
            plan += fmt::format("\nVideo was re-encoded from h264 to vp9: {}.", row.obstacle);
        EXPECT_EQ(PlanText(options), plan);
        EXPECT_EQ(info.copyObstacle, row.obstacle);
        EXPECT_EQ(info.orientation.GetOrientation(), 6);
    }
}

TEST_F(Plans, DataIsLeftOut) {
    Make(File("plain.ts"), s_tiny + s_tone + s_bFrames + "-c:a mp2");
    Remux(File("plain.ts"), File("in.ts"), [](AVFormatContext& context) {
        AVStream& data = *avformat_new_stream(&context, nullptr);
        data.codecpar->codec_type = AVMEDIA_TYPE_DATA;
        data.codecpar->codec_id = AV_CODEC_ID_SMPTE_KLV;
    });
    EXPECT_EQ(PlanText(Options("in.ts", "out.mp4")),
              "h264: encode libx264 yuv420p | mp2: copy | klv: drop\n"
              "Stream 2 (data, klv) was left out: the container mp4 cannot take it.");
}

// H.263 knows five sizes: pictures that effects made are known before anything is written, too.
TEST_F(Plans, FollowThePicturesThatComeOut) {
    Make(File("in.3gp"), "-f lavfi -i testsrc2=s=176x144:r=25:d=0.2 -c:v h263");
    Media::RunOptions options = Options("in.3gp", "out.3gp");
    auto const held = std::make_shared<int>(0);
    options.makeVideoEffects = MakeEffects([held](Picture const& picture) {
        if (++*held < 4)
            return Pictures{};
        Picture const smaller = MakeSP<Proc::DataVideoFF>(MakeNoise(Conf::PixFmt::YUV420P, 64, 48),
                                                          Conf::FrameInfo{64, 48, 1, 1});
        smaller->SetTime(picture->GetTime());
        smaller->SetDuration(picture->GetDuration());
        return Pictures{smaller};
    });
    EXPECT_THAT(PlanText(options), testing::MatchesRegex("h263: encode libx264 yuv420p\nThe encoder "
                                                         "\"h263\" does not open for .*: "
                                                         "libx264 served."));
    *held = 0;
    EXPECT_EQ(Media::Run(options).framesOut, 2);
    EXPECT_EQ(ReadMedia(File("out.3gp")).pictures.size(), 2U);
}

} // namespace
} // namespace Tarsel::Test
