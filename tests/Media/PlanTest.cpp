// What becomes of each stream, decided before anything is written.

#include "Media/Run/Planner.h"
#include "Proc/Data/DataVideoFF.h"
#include "RunFixture.h"
#include "Support/Planes.h"

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

/// Options of a row: "v" and "a" are effects on video and on audio, "vcodec=" and "acodec=" encoders.
struct PlanCase : NamedCase {
    std::string input;
    std::string arguments;
    std::string output;
    std::string options;
    std::string plan;
};

class Plans : public RunFixture, public testing::WithParamInterface<PlanCase> {};

TEST_P(Plans, SayWhatBecomesOfEachStream) {
    PlanCase const& row = GetParam();
    Write("text.srt", "1\n00:00:00,100 --> 00:00:00,400\nHello\n");
    Write("words.txt", ";FFMETADATA1\ntitle=The "
                       "Film\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\ntitle=Two\n");
    Make(File("cover.png"), "-f lavfi -i color=red:s=16x16 -frames:v 1");
    std::string arguments = row.arguments;
    for (std::string const name : {"text.srt", "words.txt", "cover.png"})
        while (arguments.find("@" + name) != std::string::npos)
            arguments.replace(arguments.find("@" + name), name.size() + 1, File(name).string());
    Make(File(row.input), arguments);
    Media::RunOptions options;
    options.input = File(row.input);
    options.output = File(row.output);
    std::istringstream words(row.options);
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
            FAIL() << word;
    std::vector<std::string> const before = List();
    EXPECT_EQ(PlanText(options), row.plan);
    EXPECT_EQ(List(), before); // nothing was written
}

std::string const s_tiny = "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 ";
std::string const s_tone = "-f lavfi -i sine=d=0.2:r=48000 ";
std::string const s_rich = s_tiny + s_tone +
                           "-i @text.srt -i @words.txt -map 0 -map 1 -map 1 -map 2 "
                           "-map_metadata 3 -map_chapters 3 " +
                           s_bFrames + "-c:a:0 aac -c:a:1 libopus -c:s ass ";
std::string const s_x265 = s_tiny + "-c:v libx265 -x265-params log-level=none ";

INSTANTIATE_TEST_SUITE_P(
    All, Plans,
    testing::Values(
        PlanCase{{"CopyIntoMp4"},
                 "in.mkv",
                 s_rich,
                 "out.mp4",
                 "",
                 "h264: copy | aac: copy | opus: copy | ass: convert mov_text\nSubtitles were converted from "
                 "ass to mov_text."},
        PlanCase{{"WorkIntoMp4"},
                 "in.mkv",
                 s_rich + "-attach @text.srt -metadata:s:t mimetype=text/plain",
                 "out.mp4",
                 "v a",
                 "h264: encode libx264 yuv420p | aac: encode aac 48000 Hz fltp mono | opus: encode libopus "
                 "48000 Hz flt mono | ass: convert mov_text | none: drop\nSubtitles were converted from ass "
                 "to mov_text.\nStream 4 (attachment, none) was left out: the container mp4 cannot take it."},
        PlanCase{{"CopyIntoWebm"},
                 "in.mkv",
                 s_rich,
                 "out.webm",
                 "",
                 "h264: encode libvpx-vp9 yuv420p | aac: encode libopus 48000 Hz flt mono | opus: copy | "
                 "ass: convert webvtt\nThe pictures were encoded anew: \"out.webm\" cannot hold h264.\nSound "
                 "stream 0: The sound was encoded anew: \"out.webm\" cannot hold aac.\nSubtitles were "
                 "converted from ass to webvtt."},
        PlanCase{{"CopyIntoMatroska"},
                 "in.mkv",
                 s_rich,
                 "out.mkv",
                 "",
                 "h264: copy | aac: copy | opus: copy | ass: copy"},
        PlanCase{{"WorkIntoAvi"},
                 "in.mkv",
                 s_rich,
                 "out.avi",
                 "v",
                 "h264: encode mpeg4 yuv420p | aac: copy | opus: encode libmp3lame 48000 Hz fltp mono | ass: "
                 "drop\nSound stream 1: The sound was encoded anew: \"out.avi\" cannot hold opus.\nStream 3 "
                 "(subtitle, ass) was left out: the container avi cannot take it.\nThe chapters were left "
                 "out: the container avi has no place for them."},
        PlanCase{{"WorkIntoGif"},
                 "in.mkv",
                 s_rich,
                 "out.gif",
                 "v",
                 "h264: encode gif bgr8 | aac: drop | opus: drop | ass: drop\nPictures were converted from "
                 "yuv420p to bgr8 for the encoder gif; lost: depth.\nStream 1 (audio, aac) was left out: the "
                 "container gif cannot take it.\nStream 2 (audio, opus) was left out: the container gif "
                 "cannot take it.\nStream 3 (subtitle, ass) was left out: the container gif cannot take "
                 "it.\nThe title \"The Film\" was left out: the container gif has no place for it.\nThe "
                 "chapters were left out: the container gif has no place for them."},
        PlanCase{{"CopyIntoTs"},
                 "in.mkv",
                 s_rich,
                 "out.ts",
                 "",
                 "h264: copy | aac: copy | opus: copy | ass: drop\nStream 3 (subtitle, ass) was left out: "
                 "the container mpegts cannot take it.\nThe chapters were left out: the container mpegts has "
                 "no place for them."},
        PlanCase{
            {"FilmIntoMp3"},
            "in.mkv",
            s_rich,
            "out.mp3",
            "",
            "h264: drop | aac: encode libmp3lame 48000 Hz fltp mono | opus: drop | ass: drop\nThe pictures "
            "were left out: \"out.mp3\" is a sound file.\nSound stream 0: The sound was encoded anew: "
            "\"out.mp3\" cannot hold aac.\nStream 2 (audio, opus) was left out: the container mp3 cannot "
            "take it.\nStream 3 (subtitle, ass) was left out: the container mp3 cannot take it."},
        PlanCase{{"FilmIntoWav"},
                 "in.mkv",
                 s_rich,
                 "out.wav",
                 "a",
                 "h264: drop | aac: encode pcm_s16le 48000 Hz s16 mono | opus: drop | ass: drop\nThe "
                 "pictures were left out: \"out.wav\" is a sound file.\nStream 2 (audio, opus) was left out: "
                 "the container wav cannot take it.\nStream 3 (subtitle, ass) was left out: the container "
                 "wav cannot take it.\nThe chapters were left out: the container wav has no place for them."},
        PlanCase{{"CoverIntoMp3"},
                 "in.m4a",
                 s_tone + "-i @cover.png -map 0 -map 1 -c:a aac -c:v copy "
                          "-disposition:v attached_pic",
                 "out.mp3",
                 "",
                 "aac: encode libmp3lame 48000 Hz fltp mono | png: copy\nThe sound was encoded anew: "
                 "\"out.mp3\" cannot hold aac."},
        PlanCase{{"CoverIntoM4a"},
                 "in.m4a",
                 s_tone + "-i @cover.png -map 0 -map 1 -c:a aac -c:v copy "
                          "-disposition:v attached_pic",
                 "out.m4a",
                 "v",
                 "aac: copy | png: encode png rgb24"},
        PlanCase{
            {"CoverIntoWav"},
            "in.m4a",
            s_tone + "-i @cover.png -map 0 -map 1 -c:a aac -c:v copy "
                     "-disposition:v attached_pic",
            "out.wav",
            "",
            "aac: encode pcm_s16le 48000 Hz s16 mono | png: drop\nThe sound was encoded anew: \"out.wav\" "
            "cannot hold aac.\nStream 1 (video, png) was left out: the container wav cannot take it."},
        PlanCase{{"CoverAlone"},
                 "in.m4a",
                 s_tone + "-i @cover.png -map 0 -map 1 -c:a aac -c:v copy "
                          "-disposition:v attached_pic",
                 "out.png",
                 "",
                 "aac: drop | png: copy"},
        PlanCase{{"NoTimes"},
                 "in.avi",
                 s_tiny + s_bFrames,
                 "out.mp4",
                 "",
                 "h264: encode libx264 yuv420p\nThe pictures were encoded anew: the input does not say when "
                 "they are shown."},
        PlanCase{{"OddSize"},
                 "in.mkv",
                 s_tiny + "-s 65x49 -pix_fmt yuv420p -c:v ffv1",
                 "out.mp4",
                 "v",
                 "ffv1: encode libx264 yuv444p\nThe input's pictures (ffv1) are without loss; those of "
                 "libx264 are not quite.\nPictures were converted from yuv420p to yuv444p for the encoder "
                 "libx264, which takes odd sizes only so."},
        PlanCase{{"DeepRgb"},
                 "in.mkv",
                 s_tiny + "-vf format=rgba64le,format=gbrap12le -c:v ffv1",
                 "out.mp4",
                 "v vcodec=mpeg4",
                 "ffv1: encode mpeg4 yuv420p\nPictures were converted from gbrap12le to yuv420p for the "
                 "encoder mpeg4; lost: alpha, depth, chroma resolution."},
        PlanCase{{"NamedEncoders"},
                 "in.mkv",
                 s_rich,
                 "out.mkv",
                 "vcodec=mpeg4 acodec=libmp3lame",
                 "h264: encode mpeg4 yuv420p | aac: encode libmp3lame 48000 Hz fltp mono | opus: encode "
                 "libmp3lame 48000 Hz fltp mono | ass: copy"},
        PlanCase{{"RgbImage"},
                 "in.png",
                 s_tiny + "-frames:v 1 -pix_fmt rgb24",
                 "out.mp4",
                 "v",
                 "png: encode libx264 yuv444p\nPictures were converted from rgb24 to yuv444p for the encoder "
                 "libx264."},
        PlanCase{{"ImageIntoJpeg"},
                 "in.png",
                 s_tiny + "-frames:v 1",
                 "out.jpg",
                 "",
                 "png: encode mjpeg yuv444p\nPictures were converted from rgb24 to yuv444p for the encoder "
                 "mjpeg."},
        PlanCase{{"ImageCopied"}, "in.png", s_tiny + "-frames:v 1", "out.png", "", "png: copy"},
        PlanCase{{"Mpeg2"},
                 "in.mpg",
                 s_tiny + "-c:v mpeg2video",
                 "out.mpg",
                 "v",
                 "mpeg2video: encode mpeg2video yuv420p"},
        PlanCase{{"DeepHevc"},
                 "in.mp4",
                 s_x265 + "-pix_fmt yuv420p10le",
                 "out.mkv",
                 "v",
                 "hevc: encode libx265 yuv420p10le"},
        PlanCase{{"Lossless"},
                 "in.mkv",
                 s_tiny + "-c:v ffv1 -pix_fmt yuv422p10le",
                 "out.avi",
                 "v",
                 "ffv1: encode ffv1 yuv422p10le"},
        PlanCase{{"RgbH264"},
                 "in.mp4",
                 s_tiny + "-c:v libx264rgb -pix_fmt rgb24",
                 "out.mkv",
                 "v",
                 "h264: encode libx264rgb bgr24"},
        PlanCase{{"MotionJpeg"},
                 "in.avi",
                 s_tiny + "-c:v mjpeg -pix_fmt yuvj422p",
                 "out.mkv",
                 "v",
                 "mjpeg: encode mjpeg yuv422p"},
        PlanCase{{"NotHevcInWebm"}, "in.mp4", s_x265, "out.webm", "v", "hevc: encode libvpx-vp9 yuv420p"},
        PlanCase{
            {"H263"}, "in.3gp", s_tiny + "-s 176x144 -c:v h263", "out.3gp", "v", "h263: encode h263 yuv420p"},
        PlanCase{
            {"BareH264"}, "in.mp4", s_tiny + s_noBFrames, "out.h264", "v", "h264: encode libx264 yuv420p"},
        PlanCase{
            {"Y4m"}, "in.mkv", s_tiny + s_noBFrames, "out.y4m", "v", "h264: encode wrapped_avframe yuv420p"},
        PlanCase{{"UsualOfMov"},
                 "in.mkv",
                 s_tiny + "-c:v libvpx-vp9",
                 "out.mov",
                 "v",
                 "vp9: encode libx264 yuv420p"},
        PlanCase{{"UsualOfTheora"},
                 "in.mkv",
                 s_tiny + s_noBFrames,
                 "out.ogv",
                 "v",
                 "h264: encode libtheora yuv420p"},
        PlanCase{{"UsualOfMpg"},
                 "in.mkv",
                 s_tiny + s_noBFrames,
                 "out.mpg",
                 "v",
                 "h264: encode mpeg2video yuv420p"},
        PlanCase{{"WavIntoFlac"},
                 "in.wav",
                 s_tone + "-c:a pcm_s24le",
                 "out.flac",
                 "a",
                 "pcm_s24le: encode flac 48000 Hz s32 mono"},
        PlanCase{{"FlacIntoWav"},
                 "in.flac",
                 s_tone + "-sample_fmt s32",
                 "out.wav",
                 "a",
                 "flac: encode pcm_s24le 48000 Hz s32 mono"},
        PlanCase{{"SurroundIntoMp3"},
                 "in.wav",
                 s_tone + "-ac 6 -ar 96000 -c:a pcm_s24le",
                 "out.mp3",
                 "a",
                 "pcm_s24le: encode libmp3lame 48000 Hz s32p stereo\nSound was converted from 96000 Hz to "
                 "48000 Hz and from 5.1 to stereo for the encoder libmp3lame."}),
    s_caseName);

using PlansOfRuns = RunFixture;

// Who makes effects is told whether a copy would do, and so whether the tag would be lost.
TEST_F(PlansOfRuns, MakersKnowWhatACopyWouldLack) {
    Make(File("plain.mp4"), s_tiny + s_noBFrames);
    Remux(File("plain.mp4"), File("in.mp4"), TagAsTurned);
    struct {
        char const* output;
        char const* encoder;
        char const* obstacle;
        char const* plan;
    } const cases[] = {{"out.mp4", "", "", "h264: copy"},
                       {"out.mp4", "mpeg4", "the options ask for an encoder", "h264: encode mpeg4 yuv420p"},
                       {"out.webm", "", "\"out.webm\" cannot hold h264",
                        "h264: encode libvpx-vp9 yuv420p\n"
                        "The pictures were encoded anew: \"out.webm\" cannot hold h264."}};
    for (auto const& row : cases) {
        SCOPED_TRACE(std::string(row.output) + row.encoder);
        Media::RunOptions options = Options("in.mp4", row.output);
        options.videoEncoder = row.encoder;
        Media::VideoStreamInfo info;
        options.makeVideoEffects = [&](Media::VideoStreamInfo const& told) {
            info = told;
            return nullptr;
        };
        std::string const dropped =
            "\nThe orientation tag of the pictures was dropped, since they were encoded anew.";
        EXPECT_EQ(PlanText(options), row.plan + (*row.obstacle == '\0' ? "" : dropped));
        EXPECT_EQ(info.copyObstacle, row.obstacle);
        EXPECT_EQ(info.orientation.GetOrientation(), 6);
    }
}

TEST_F(PlansOfRuns, DataIsLeftOut) {
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
TEST_F(PlansOfRuns, FollowThePicturesThatComeOut) {
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
