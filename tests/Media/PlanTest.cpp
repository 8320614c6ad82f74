// What becomes of each stream, decided before anything is written.

#include "Media/MediaExceptions.h"
#include "Media/Run.h"
#include "Proc/Data/DataVideoFF.h"
#include "RunFixture.h"
#include "Support/Planes.h"

#include <boost/algorithm/string/replace.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iomanip>
#include <sstream>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Test {
namespace {

/// "h264: encode libx264 yuv420p | aac: copy", and a line for each note; or why there is none.
std::string PlanText(Media::RunOptions const& options) try {
    Media::RunPlan const plan = Media::Plan(options);
    std::string text;
    for (std::size_t i = 0; i < plan.streams.size(); ++i) {
        Media::StreamPlan const& stream = plan.streams[i];
        text += fmt::format("{}{}: {}", i > 0 ? " | " : "", stream.codec.empty() ? "none" : stream.codec,
                            Media::GetFateName(stream.fate));
        for (std::string const& detail : {stream.encoder, stream.format})
            text += detail.empty() ? "" : " " + detail;
    }
    for (std::string const& note : plan.ListNotes())
        text += "\n" + note;
    return text;
} catch (Media::OptionsException const& refusal) {
    return fmt::format("options: {}", refusal.what());
} catch (Media::InputException const& refusal) {
    return fmt::format("input: {}", refusal.what());
} catch (Media::OutputException const& refusal) {
    return fmt::format("output: {}", refusal.what());
}

std::string const s_tiny = "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 ";
std::string const s_tone = "-f lavfi -i sine=d=0.2:r=48000 ";
std::string const s_rich = s_tiny + s_tone +
                           "-i @text.srt -i @words.txt -map 0 -map 1 -map 1 -map 2 "
                           "-map_metadata 3 -map_chapters 3 " +
                           s_bFrames + "-c:a:0 aac -c:a:1 libopus -c:s ass ";

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
    {"hevc10.mp4", s_tiny + "-c:v libx265 -x265-params log-level=none -pix_fmt yuv420p10le"},
    {"h264rgb.mp4", s_tiny + "-c:v libx264rgb -pix_fmt rgb24"},
    {"h264.mp4", s_tiny + s_noBFrames},
    {"wav24.wav", s_tone + "-c:a pcm_s24le"},
    {"flac24.flac", s_tone + "-sample_fmt s32"},
    {"surround.wav", s_tone + "-ac 6 -ar 96000 -c:a pcm_s24le"},
    {"side.wav", s_tone + "-af aformat=channel_layouts=5.1(side)"},
    {"eight.wav", s_tone + "-ac 8"},
    {"wav64.wav", s_tone + "-c:a pcm_s64le"},
    {"wav16.wav", s_tone},
    {"phone.wav", "-f lavfi -i sine=d=0.2:r=8000"},
    {"flash.wav", "-f lavfi -i sine=d=0.2:r=11025"},
    {"avs2.avi", s_tiny + s_tone + "-c:v mpeg4 -c:a pcm_s16le"},
    {"unknown.wav", s_tone},
    {"rate44.mkv", s_tiny + "-f lavfi -i sine=d=0.2:r=44100 -c:v mpeg2video -c:a pcm_s16le"},
    {"alpha.webm",
     "-f lavfi -i color=0xFF000080:s=64x48:d=0.2,format=yuva420p -c:v libvpx-vp9 -auto-alt-ref 0 "
     "-metadata:s:v alpha_mode=1"},
    {"two.mkv", s_tiny + s_tiny + "-map 0 -map 1 " + s_noBFrames},
    {"timecode.mov", s_tiny + s_bFrames + "-timecode 01:00:00:00"},
};

/// Input, output, and what works on it: "v" and "a" are effects on video and on audio, "a=s32,24" gives such
/// samples of that depth, "vcodec=" and "acodec=" are encoders. Below that its plan; "@" is the folder.
constexpr char const* s_plans = R"(rich.mkv out.mp4
  h264: copy | aac: copy | opus: copy | ass: convert mov_text
  Converted the subtitles from ass to mov_text.
attached.mkv out.mp4 v a
  h264: encode libx264 yuv420p | aac: encode aac 48000 Hz fltp mono | opus: encode libopus 48000 Hz flt mono | ass: convert mov_text | none: drop
  Converted the subtitles from ass to mov_text.
  Left out stream 4 (attachment): .mp4 cannot hold it.
rich.mkv out.webm
  h264: encode libvpx-vp9 yuv420p | aac: encode libopus 48000 Hz flt mono | opus: copy | ass: convert webvtt
  Re-encoded the video from h264 to vp9: "out.webm" cannot hold h264.
  Audio stream 0: Re-encoded the audio from aac to opus: "out.webm" cannot hold aac.
  Converted the subtitles from ass to webvtt.
rich.mkv out.mkv
  h264: copy | aac: copy | opus: copy | ass: copy
rich.mkv out.avi v
  h264: encode mpeg4 yuv420p | aac: copy | opus: encode libmp3lame 48000 Hz fltp mono | ass: drop
  Re-encoded the video from h264 to mpeg4: "out.avi" cannot hold h264.
  Audio stream 1: Re-encoded the audio from opus to mp3: "out.avi" cannot hold opus.
  Left out stream 3 (subtitle, ass): .avi cannot hold it.
  Left out the chapters: .avi has no place for them.
h264.mp4 out.mxf
  h264: encode libx264 yuv420p
  Re-encoded the video: "out.mxf" cannot hold h264 as it is encoded.
rich.mkv out.gif v
  h264: encode gif bgr8 | aac: drop | opus: drop | ass: drop
  Re-encoded the video from h264 to gif: "out.gif" cannot hold h264.
  Converted the frames from yuv420p to bgr8 for the encoder gif; lost: depth.
  Left out stream 1 (audio, aac): .gif cannot hold it.
  Left out stream 2 (audio, opus): .gif cannot hold it.
  Left out stream 3 (subtitle, ass): .gif cannot hold it.
  Left out the chapters: .gif has no place for them.
rich.mkv out.ts
  h264: copy | aac: copy | opus: copy | ass: drop
  Left out stream 3 (subtitle, ass): .ts cannot hold it.
  Left out the chapters: .ts has no place for them.
rich.mkv out.mp3
  h264: drop | aac: encode libmp3lame 48000 Hz fltp mono | opus: drop | ass: drop
  Left out the video: "out.mp3" is an audio file.
  Audio stream 0: Re-encoded the audio from aac to mp3: "out.mp3" cannot hold aac.
  Left out stream 2 (audio, opus): .mp3 cannot hold it.
  Left out stream 3 (subtitle, ass): .mp3 cannot hold it.
rich.mkv out.wav a
  h264: drop | aac: encode pcm_s16le 48000 Hz s16 mono | opus: drop | ass: drop
  Left out the video: "out.wav" is an audio file.
  Left out stream 2 (audio, opus): .wav cannot hold it.
  Left out stream 3 (subtitle, ass): .wav cannot hold it.
  Left out the chapters: .wav has no place for them.
cover.m4a out.mp3
  aac: encode libmp3lame 48000 Hz fltp mono | png: copy
  Re-encoded the audio from aac to mp3: "out.mp3" cannot hold aac.
cover.m4a out.m4a v
  aac: copy | png: encode png rgb24
cover.m4a out.wav
  aac: encode pcm_s16le 48000 Hz s16 mono | png: drop
  Re-encoded the audio from aac to pcm_s16le: "out.wav" cannot hold aac.
  Left out stream 1 (video, png): .wav cannot hold it.
cover.m4a out.png
  aac: drop | png: copy
timeless.avi out.mp4
  h264: encode libx264 yuv420p
  Re-encoded the video: the input states no frame times.
odd.mkv out.mp4 v
  ffv1: encode libx264 yuv444p
  Re-encoded the video from ffv1 to h264, which loses some quality: "out.mp4" cannot hold ffv1.
  Converted the frames from yuv420p to yuv444p for the encoder libx264, which takes odd sizes in no other format.
deep.mkv out.mp4 v vcodec=mpeg4
  ffv1: encode mpeg4 yuv420p
  Converted the frames from gbrap12le to yuv420p for the encoder mpeg4; lost: alpha, depth, chroma resolution.
rich.mkv out.mkv vcodec=mpeg4 acodec=libmp3lame
  h264: encode mpeg4 yuv420p | aac: encode libmp3lame 48000 Hz fltp mono | opus: encode libmp3lame 48000 Hz fltp mono | ass: copy
rgb.png out.mp4 v
  png: encode libx264 yuv444p
  Converted the frames from rgb24 to yuv444p for the encoder libx264.
image.png out.jpg
  png: encode mjpeg yuv444p
  Converted the frames from rgb24 to yuv444p for the encoder mjpeg.
hevc10.mp4 out.mkv v
  hevc: encode libx265 yuv420p10le
h264rgb.mp4 out.mkv v
  h264: encode libx264rgb bgr24
wav24.wav out.flac a
  pcm_s24le: encode flac 48000 Hz s32 mono
flac24.flac out.wav a
  flac: encode pcm_s24le 48000 Hz s32 mono
surround.wav out.mp3 a
  pcm_s24le: encode libmp3lame 48000 Hz s32p stereo
  Converted the audio from 96000 Hz to 48000 Hz and from 5.1 to stereo for the encoder libmp3lame.
side.wav out.opus a
  pcm_s16le: encode libopus 48000 Hz s16 5.1
eight.wav out.ac3 a
  pcm_s16le: encode ac3 48000 Hz fltp 5.1(side)
  Converted the audio from 7.1 to 5.1(side) for the encoder ac3.
wav64.wav out.mka a
  pcm_s64le: encode pcm_f64le 48000 Hz dbl mono
wav16.wav out.wav a=dbl,0
  pcm_s16le: encode pcm_s16le 48000 Hz s16 mono
wav16.wav out.wav a=s32,32
  pcm_s16le: encode pcm_s32le 48000 Hz s32 mono
wav16.wav out.aiff a=dbl,64
  pcm_s16le: encode pcm_f64be 48000 Hz dbl mono
wav16.wav out.flac a=s32,32
  pcm_s16le: encode flac 48000 Hz s32 mono
  Reduced the audio from 32 to 24 bits for the encoder flac.
wav16.wav out.wv a=s32,32
  pcm_s16le: encode wavpack 48000 Hz s32p mono
wav24.wav out.wav a=dbl,0
  pcm_s24le: encode pcm_s24le 48000 Hz s32 mono
wav24.wav out2.wav a=s16,16
  pcm_s24le: encode pcm_s16le 48000 Hz s16 mono
wav24.wav out.aiff a
  pcm_s24le: encode pcm_s24be 48000 Hz s32 mono
wav24.wav out.wav acodec=pcm_s16le
  pcm_s24le: encode pcm_s16le 48000 Hz s16 mono
  Reduced the audio from 24 to 16 bits for the encoder pcm_s16le.
phone.wav out.mka acodec=g726
  pcm_s16le: encode g726 8000 Hz s16 mono
phone.wav out.mka acodec=g723_1
  pcm_s16le: encode g723_1 8000 Hz s16 mono
phone.wav out.flv acodec=nellymoser
  pcm_s16le: encode nellymoser 8000 Hz flt mono
flash.wav out.flv acodec=adpcm_swf
  pcm_s16le: encode adpcm_swf 11025 Hz s16 mono
flash.wav out.opus a
  pcm_s16le: encode libopus 12000 Hz s16 mono
  Converted the audio from 11025 Hz to 12000 Hz for the encoder libopus.
wav16.wav out.flac v a optional
  pcm_s16le: encode flac 48000 Hz s16 mono
h264.mp4 out.mp4 v a optional
  h264: encode libx264 yuv420p
timecode.mov out.mkv
  h264: copy | none: drop
  Left out stream 1 (data): .mkv cannot hold it.
alpha.webm out.mp4
  vp9: copy
  Copied the video without its alpha: "out.mp4" cannot hold alpha beside vp9.
alpha.webm out.mp4 v
  vp9: encode libvpx-vp9 yuv420p
  Converted the frames from yuva420p to yuv420p for the encoder libvpx-vp9; lost: alpha.
alpha.webm out.mkv v
  vp9: encode libvpx-vp9 yuva420p
two.mkv out.mkv v
  h264: encode libx264 yuv420p | h264: copy
  Copied stream 1 (video) as it is: video effects apply to stream 0 alone.
rate44.mkv out.mxf
  mpeg2video: copy | pcm_s16le: encode pcm_s16le 48000 Hz s16 mono
  Re-encoded the audio: "out.mxf" holds audio of 48000 Hz only.
  Converted the audio from 44100 Hz to 48000 Hz for the encoder pcm_s16le.
wav24.wav out.mp3
  pcm_s24le: encode libmp3lame 48000 Hz s32p mono
  Re-encoded the audio from pcm_s24le to mp3, which loses some quality: "out.mp3" cannot hold pcm_s24le.
avs2.avi out.avi v a optional
  avs2: copy | pcm_s16le: encode pcm_s16le 48000 Hz s16 mono)";

/// What is refused, and why: of what is wrong with options and output nothing is read.
constexpr char const* s_refusals = R"(junk.mp4 out.mp4 vcodec=libx246
  options: There is no encoder "libx246"; did you mean libx264, libx265?
junk.mp4 out.mp4 vcodec=aac
  options: The encoder "aac" is not for video
junk.mp4 out.png vcodec=mjpeg
  options: Choose another encoder: "mjpeg" produces mjpeg, which "out.png" cannot hold
junk.mp4 out.mp4 voption=crf=high
  options: The encoder "libx264" cannot take crf=high: Invalid argument; legal: -1 or more
junk.mp4 out.mp4 voption=nal-hrd=vbrr
  options: The encoder "libx264" cannot take nal-hrd=vbrr: Invalid argument; legal: none, vbr, cbr
junk.mp4 out.mp4 voption=qmin=99
  options: The encoder "libx264" cannot take qmin=99: Numerical result out of range; legal: -1 to 69
junk.mp4 out.mp4 voption=crf=20 voption=preset=fastt
  options: The encoder "libx264" cannot be opened with crf=20 preset=fastt: Invalid argument
junk.mp4 out.mp4 vcodec=mpeg4 lossless
  options: The encoder "mpeg4" has no quality "lossless"; choose low, medium, high, visually-lossless
junk.mp4 out.mp4 acodec=libx264
  options: The encoder "libx264" is not for audio
junk.mp4 out.mp4 aoption=bb=1
  options: The encoder "aac" has no option "bb"; did you mean ab, b, bf, bt?
junk.mp4 out.ogg acodec=libopus aoption=frame_duration=7
  options: The encoder "libopus" cannot be opened with frame_duration=7: Invalid argument
junk.mp4 out.gif a
  options: Cannot write "@out.gif": .gif files hold no audio
junk.mp4 out.png a
  options: Cannot write "@out.png": an image holds no audio
junk.mp4 out.wav v
  options: Cannot write "@out.wav": .wav files hold no video
junk.mp4 out.mka v
  options: Cannot write "@out.mka": .mka files hold no video
junk.mp4 out.xyz v
  options: Cannot write "@out.xyz": no container has the extension ".xyz"
junk.mp4 out v
  options: Cannot write "@out": add an extension, such as .mp4
junk.mp4 out.m3u8 v
  options: Cannot write "@out.m3u8": the format "hls" is not a single file
junk.mp4 no/out.mp4 v
  output: Cannot write "@no/out.mp4": there is no folder "@no"
junk.mp4 there.mp4 v
  options: "@there.mp4" exists already
junk.mp4 junk.mp4 v overwrite
  options: Cannot write "@junk.mp4": it is the input
junk.mp4 link.mp4 v overwrite
  options: Cannot write "@link.mp4": it is the input
junk.mp4 hard.mp4 v overwrite
  options: Cannot write "@hard.mp4": it is the input
junk.mp4 dangling.mp4 v overwrite
  output: Cannot write "@dangling.mp4": it is a dangling link
junk.mp4 out.mp4 v at=1
  options: "@out.mp4" is a video, not an image
junk.mp4 out.png v at=-1
  options: Give a time from 0 to the end of the video, not -1 s
"" out.mp4 v
  input: Cannot open "": the name is empty
cut.ogg out.ogg a
  input: "@cut.ogg" is incomplete: it ends within its header
no.mp4 out.mp4 v
  input: Cannot open "@no.mp4": No such file or directory
/dev/null out.mp4 v
  input: "/dev/null" is empty: nothing came through the pipe
empty.mp4 out.mp4 v
  input: Cannot open "@empty.mp4": the file is empty
http://127.0.0.1:1/x.mp4 out.mp4 v
  input: Cannot open "http://127.0.0.1:1/x.mp4": only files and pipes can be read, not URLs
text.txt out.mp4 v
  input: "@text.txt" is not a media file that FFmpeg can read
junk.mp4 out.mp4 v
  input: "@junk.mp4" is not a media file that FFmpeg can read
h264.mp4 out.mp4 a
  input: "@h264.mp4" has no audio
h264.mp4 out.png v
  options: "@out.png" is an image: choose a frame of "@h264.mp4" by its time
h264.mp4 out.png v at=2.6
  options: There is no frame at 2.6 s: "@h264.mp4" ends at 0.2 s
wav24.wav out.mkv v
  input: "@wav24.wav" has no video
cover.m4a late.png v at=1
  options: "@cover.m4a" is an image
cover.m4a out.m4a voption=crf=20
  options: The encoder "png" has no option "crf"
avs2.avi out.mp4 v a optional
  input: "@avs2.avi" has video in the codec avs2, which this FFmpeg cannot decode)";

/// "a=b" or "a,b".
std::pair<std::string, std::string> Split(std::string const& text) {
    std::size_t const at = std::min(text.find_first_of("=,"), text.size());
    return {text.substr(0, at), text.substr(std::min(at + 1, text.size()))};
}

Media::MakeAudioEffects AudioThroughAs(std::pair<std::string, std::string> const& formatAndDepth) {
    return [=](Media::AudioStreamInfo const& info) {
        Media::AudioEffects effects = AudioThrough()(info);
        effects.output.format =
            static_cast<Conf::SampleFormats>(av_get_sample_fmt(formatAndDepth.first.c_str()));
        effects.depth = std::stoi(formatAndDepth.second);
        return effects;
    };
}

Media::RunOptions ReadOptions(std::istringstream& words) {
    Media::RunOptions options;
    for (std::string word; words >> word;) {
        auto const [key, value] = Split(word);
        if (word == "v")
            options.makeVideoEffects = PassThrough();
        else if (key == "a")
            options.makeAudioEffects = value.empty() ? AudioThrough() : AudioThroughAs(Split(value));
        else if (key == "vcodec")
            options.videoEncoder = value;
        else if (key == "acodec")
            options.audioEncoder = value;
        else if (key == "voption")
            options.videoEncoderOptions.push_back(Split(value));
        else if (key == "aoption")
            options.audioEncoderOptions.push_back(Split(value));
        else if (key == "at")
            options.at = std::stod(value);
        else if (word == "lossless")
            options.quality = Media::Quality::Lossless;
        else if (word == "overwrite")
            options.overwrite = true;
        else if (word == "optional")
            options.mayLackVideo = options.mayLackAudio = true;
        else
            ADD_FAILURE() << word;
    }
    return options;
}

class Plans : public RunFixture {
protected:
    /// The rows of a text of plans, with the plans that they have.
    std::string PlanAll(std::string const& text) const {
        std::string plans;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with(' '))
                continue;
            std::istringstream words(line);
            std::string input;
            std::string output;
            words >> std::quoted(input) >> output;
            Media::RunOptions options = ReadOptions(words);
            bool const isName = input.find_first_of("/-") == std::string::npos && !input.empty();
            options.input = isName ? File(input) : std::filesystem::path(input);
            options.output = File(output); // a whole path stays what it is
            std::string plan = PlanText(options);
            for (auto const& [from, to] :
                 {std::pair<std::string, std::string>("\n", "\n  "),
                  {File("").string(), "@"},
                  // Both orders of the bits are as near; releases choose differently.
                  {"rgb8", "bgr8"}})
                boost::algorithm::replace_all(plan, from, to);
            plans += (plans.empty() ? "" : "\n") + line + "\n  " + plan;
        }
        return plans;
    }
};

TEST_F(Plans, SayWhatBecomesOfEachStream) {
    Write("text.srt", "1\n00:00:00,100 --> 00:00:00,400\nHello\n");
    Write("words.txt",
          ";FFMETADATA1\ntitle=The Film\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\ntitle=Two\n");
    Make(File("cover.png"), "-f lavfi -i color=red:s=16x16 -frames:v 1");
    for (PlanInput const& input : s_inputs)
        Make(File(input.name), boost::algorithm::replace_all_copy(input.arguments, "@", File("").string()));
    std::string text;
    for (int i = 0; i < 500; ++i)
        text += "Just a line of text.\n"; // shorter, it is taken for a picture in letters
    Write("text.txt", text);
    Write("cut.ogg", std::string("OggS\0\2", 6) + std::string(20, '\0'));
    Write("empty.mp4", "");
    Write("there.mp4", "old");
    Write("junk.mp4", std::string(5000, '\x5A'));
    std::filesystem::create_symlink(File("junk.mp4"), File("link.mp4"));
    std::filesystem::create_hard_link(File("junk.mp4"), File("hard.mp4"));
    std::filesystem::create_symlink(File("nowhere"), File("dangling.mp4"));
    // Lists of other files would lead elsewhere.
    Write("list.ffconcat", "ffconcat version 1.0\nfile h264.mp4\n");
    Write("list.m3u8", "#EXTM3U\n#EXTINF:1,\nh264.mp4\n#EXT-X-ENDLIST\n");
    // Codecs that cannot be decoded.
    Write("unknown.wav", Read("unknown.wav").replace(20, 2, "\x48\x20"));
    Write("avs2.avi", boost::algorithm::replace_all_copy(Read("avs2.avi"), "FMP4", "AVS2"));
    std::vector<std::string> const before = List();
    EXPECT_EQ(PlanAll(s_plans), s_plans);
    EXPECT_EQ(PlanAll(s_refusals), s_refusals);
    for (char const* const list : {"list.ffconcat", "list.m3u8"})
        EXPECT_THAT(PlanText(Options(list, "out.mp4")), testing::StartsWith("input: "));
    // Later releases do not count it as audio at all.
    EXPECT_THAT(PlanText(AudioOptions("unknown.wav", "out.wav")),
                testing::MatchesRegex("input: (Cannot decode the audio of stream 0 .codec sonic.: "
                                      "Experimental feature|.* has neither video nor audio)"));
    EXPECT_EQ(List(), before); // nothing was written
    EXPECT_EQ(Read("there.mp4"), "old");
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
                                                         "\"h263\" cannot encode .*: "
                                                         "used libx264 instead."));
    *held = 0;
    EXPECT_EQ(Media::Run(options).framesOut, 2);
    EXPECT_EQ(ReadMedia(File("out.3gp")).pictures.size(), 2U);
}

} // namespace
} // namespace Tarsel::Test
