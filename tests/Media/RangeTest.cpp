// A range of a file against the same part of the whole: nothing else, and nothing less.

#include "Media/Analyze.h"
#include "Media/AudioReader.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "RunFixture.h"

#include <cmath>
#include <optional>

namespace Tarsel::Test {
namespace {

using Media::MediaTime;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr double s_second = 1e9;

struct Seconds {
    std::optional<double> from;
    std::optional<double> to;

    double GetOrigin() const { return from.value_or(0); }
};

class Range : public RunFixture {
protected:
    static Media::TimeRange ToRange(Seconds const& seconds) {
        Media::TimeRange range;
        if (seconds.from)
            range.from = MediaTime::Seconds(*seconds.from);
        if (seconds.to)
            range.to = MediaTime::Seconds(*seconds.to);
        return range;
    }

    /// Without loss, video and audio.
    Media::RunOptions Exact(std::string const& input, std::string const& output) const {
        Media::RunOptions options = Options(input, output);
        if (!input.ends_with(".wav")) {
            options.videoEncoder = "libx264";
            options.videoEncoderOptions = {{"qp", "0"}, {"preset", "ultrafast"}};
        }
        if (!input.ends_with(".gif"))
            options.audioEncoder = "pcm_s16le";
        options.mayLackVideo = options.mayLackAudio = true;
        return options;
    }
};

void ExpectFrames(MediaRecord const& in, MediaRecord const& out, Seconds const& range) {
    std::vector<std::uint64_t> hashes;
    std::vector<double> times;
    for (PictureRecord const& picture : in.pictures) {
        double const time = static_cast<double>(picture.time) / s_second;
        if (time >= range.from.value_or(-1) - 1e-7 && time < range.to.value_or(1e9) - 1e-7) {
            hashes.push_back(picture.hash);
            times.push_back(time - range.GetOrigin());
        }
    }
    EXPECT_EQ(out.GetHashes(), hashes);
    ASSERT_EQ(out.pictures.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_NEAR(static_cast<double>(out.pictures[i].time) / s_second, times[i], 1e-4) << i;
}

void ExpectSamples(AudioRecord const& whole, AudioRecord const& part, Seconds const& range) {
    auto const toSample = [&](double time) { return std::llround(time * whole.rate); };
    std::int64_t const start = toSample(whole.start);
    auto const count = static_cast<std::int64_t>(whole.samples.size()) / whole.channels;
    std::int64_t const first = range.from ? std::max<std::int64_t>(toSample(*range.from) - start, 0) : 0;
    std::int64_t const last =
        range.to ? std::clamp<std::int64_t>(toSample(*range.to) - start, first, count) : count;
    EXPECT_EQ(part.samples, std::vector<double>(whole.samples.begin() + first * whole.channels,
                                                whole.samples.begin() + last * whole.channels));
    EXPECT_NEAR(part.start, whole.start + static_cast<double>(first) / whole.rate - range.GetOrigin(),
                0.6 / whole.rate);
}

TEST_F(Range, IsTheSliceOfTheWhole) {
    std::string const film = "-f lavfi -i testsrc2=s=64x48:r=25:d=2 ";
    std::string const audio = "-f lavfi -i sine=d=2:r=48000,volume=0.3 -f lavfi -i anoisesrc=d=2:r=44100 ";
    std::string const both = film + "-f lavfi -i anoisesrc=d=2:r=44100:seed=1 ";
    std::string const shortGroups = s_bFrames + "-g 12 ";
    struct {
        std::string input;
        std::string arguments;
    } const films[] = {
        {"in.mp4", both + shortGroups + "-c:a aac"},
        {"open.mkv", both + shortGroups + "-x264-params open-gop=1:keyint=12 -c:a libmp3lame"},
        {"uneven.mkv",
         both + "-vf settb=1/90000,setpts=(N*N+3*N)*450 -vsync passthrough " + shortGroups + "-c:a flac"},
        {"late.mp4", film + "-itsoffset 0.71 -f lavfi -i anoisesrc=d=1:r=44100:seed=2 -map 0 -map 1 " +
                         shortGroups + "-c:a aac"},
        {"negative.mkv",
         both + shortGroups + "-c:a flac -output_ts_offset -0.24 -avoid_negative_ts disabled"},
        {"in.ts", both + shortGroups + "-c:a mp2"},
        {"in.avi", both + "-c:v mpeg4 -bf 2 -c:a pcm_s16le"},
        {"in.gif", film},
        {"in.wav", "-f lavfi -i anoisesrc=d=2:r=44100:seed=3"},
    };
    for (auto const& [input, arguments] : films) {
        Make(File(input), arguments);
        Media::Run(Exact(input, "whole.mov"));
        MediaRecord const whole = ReadMedia(File("whole.mov"));
        bool const hasAudio = !whole.Of("audio").empty();
        for (Seconds const& range : {Seconds{0.5, 1.01}, Seconds{0.96, {}}, Seconds{{}, 0.777},
                                     Seconds{1.234, 1.5}, Seconds{0, 0.1}}) {
            SCOPED_TRACE(input + testing::PrintToString(range.from) + testing::PrintToString(range.to));
            Media::RunOptions options = Exact(input, "part.mov");
            options.range = ToRange(range);
            Media::RunResult const result = Media::Run(options);
            MediaRecord const part = ReadMedia(File("part.mov"));
            ExpectFrames(whole, part, range);
            EXPECT_EQ(result.framesIn, part.pictures.size());
            if (hasAudio && !part.Of("audio").empty())
                ExpectSamples(ReadAudio(File("whole.mov")), ReadAudio(File("part.mov")), range);
        }
    }
}

// In a film of uneven frames the number says which, the time does not.
TEST_F(Range, CountsFrames) {
    Make(File("in.mp4"), s_pictures + s_audio + "-vf settb=1/90000,setpts=(N*N+3*N)*450 -vsync passthrough " +
                             s_bFrames + "-c:a aac -video_track_timescale 90000");
    MediaRecord const in = ReadMedia(File("in.mp4"));
    auto const f = MediaTime::Frames;
    std::vector<std::uint64_t> const all = in.GetHashes();
    struct {
        Media::TimeRange range;
        std::size_t first;
        std::size_t last;
    } const cases[] = {
        {{f(7), f(12), {}}, 7, 12},
        {{f(7), {}, f(3)}, 7, 10},
        {{{}, f(4), {}}, 0, 4},
        {{{}, {}, f(25)}, 0, 25},
        {{MediaTime::Seconds(static_cast<double>(in.pictures[3].time - 1000000) / s_second), {}, f(2)}, 3, 5},
        {{f(20), {}, MediaTime::Seconds(1000)}, 20, 25}};
    for (auto const& [range, first, last] : cases) {
        SCOPED_TRACE(first);
        Media::RunOptions options = Exact("in.mp4", "out.mp4");
        options.audioEncoder = "flac";
        options.range = range;
        std::vector<std::size_t> seen;
        options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
            seen.push_back(seen.size());
            return Pictures{picture};
        });
        EXPECT_EQ(Media::Run(options).notes,
                  (last == 25 && range.duration->unit == MediaTime::Unit::Microseconds
                       ? std::vector<std::string>{"The input ends at 3.28 s, before the range does."}
                       : std::vector<std::string>{}));
        EXPECT_THAT(ReadMedia(File("out.mp4")).GetHashes(),
                    testing::ElementsAreArray(all.begin() + static_cast<std::ptrdiff_t>(first),
                                              all.begin() + static_cast<std::ptrdiff_t>(last)));
        EXPECT_EQ(seen.size(), last - first); // effects see no others
        std::int64_t analyzed = Media::Analyze({File("in.mp4"), PassThrough(), {}, range, {}, {}}).frames;
        EXPECT_EQ(analyzed, static_cast<std::int64_t>(last - first));
    }
}

// A copy is one only where nothing of it needs what is cut off.
TEST_F(Range, CopiesWhatCanBeCut) {
    std::string const groups = "-g 12 -sc_threshold 0 ";
    struct {
        std::string video;
        Seconds range;
        char const* note;
    } const cases[] = {
        {s_noBFrames + groups, {0.48, 0.6}, nullptr},
        {s_noBFrames + groups, {{}, 0.6}, nullptr},
        {s_bFrames + groups, {0.48, {}}, nullptr},
        {"-c:v mjpeg ", {0.52, 0.6}, nullptr},
        {s_noBFrames + groups,
         {0.52, {}},
         "Re-encoded the video: the range begins between key frames, at 0.52 s."},
        {"-c:v libx264 -preset veryfast -x264-params open-gop=1:bframes=3:b-adapt=0 -pix_fmt yuv420p " +
             groups,
         {0.4, {}},
         "frames before and after 0.48 s depend on each other"},
        {s_bFrames + groups + "-x264-params b-adapt=0 ",
         {0.48, 0.6},
         "frames before and after 0.6 s depend"}};
    for (auto const& [video, range, note] : cases) {
        SCOPED_TRACE(video + testing::PrintToString(range.from));
        Make(File("in.mov"), s_pictures + s_audio + video + "-c:a pcm_s16le");
        Media::RunOptions options = AudioOptions("in.mov", "out.mov", {});
        options.range = ToRange(range);
        auto const [result, in, out] = Trip(options);
        EXPECT_EQ(result.audioEncoders, std::vector<std::string>{""});
        ExpectSamples(ReadAudio(File("in.mov")), ReadAudio(File("out.mov")), range);
        EXPECT_EQ(result.videoEncoder.empty(), note == nullptr);
        if (note != nullptr) {
            EXPECT_THAT(result.notes, ElementsAre(HasSubstr(note)));
            EXPECT_EQ(out.pictures.size(), result.framesOut);
            continue;
        }
        EXPECT_THAT(result.notes, IsEmpty());
        ExpectFrames(in, out, range);
    }
}

// Which says no decoding times at its beginning.
TEST_F(Range, CopiesVideoOutOfMatroska) {
    Make(File("in.mkv"), s_pictures + s_bFrames + "-g 12 -sc_threshold 0");
    Media::RunOptions options = AudioOptions("in.mkv", "out.mkv", {});
    options.range.from = MediaTime::Seconds(0.48);
    auto const [result, in, out] = Trip(options);
    EXPECT_EQ(result.videoEncoder, "");
    EXPECT_THAT(result.notes, IsEmpty());
    ExpectFrames(in, out, {0.48, {}});
}

TEST_F(Range, CutsWhatLiesBeside) {
    Write("words.srt", "1\n00:00:00,200 --> 00:00:00,500\nOne\n\n2\n00:00:00,600 --> 00:00:00,900\nTwo\n\n"
                       "3\n00:00:00,910 --> 00:00:00,950\nThree\n");
    Write("chapters.txt", ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=200\ntitle=A\n"
                          "[CHAPTER]\nTIMEBASE=1/1000\nSTART=200\nEND=400\ntitle=B\n"
                          "[CHAPTER]\nTIMEBASE=1/1000\nSTART=400\nEND=1000\ntitle=C\n");
    Write("font.ttf", "no font, but a file");
    Make(File("in.mkv"), s_pictures + s_audio + "-i " + File("words.srt").string() + " -i " +
                             File("chapters.txt").string() + " -map 0 -map 1 -map 2 -map_chapters 3 " +
                             s_bFrames + "-c:a flac -c:s srt -attach " + File("font.ttf").string() +
                             " -metadata:s:t:0 mimetype=font/ttf");
    for (std::string const output : {"out.mkv", "out.mp4"}) {
        SCOPED_TRACE(output);
        Media::RunOptions options = Exact("in.mkv", output);
        options.audioEncoder = "flac";
        options.range = {MediaTime::Seconds(0.3), MediaTime::Seconds(0.7), {}};
        auto const [result, in, out] = Trip(options);
        EXPECT_EQ(out.chapters,
                  (std::vector<ChapterRecord>{{0, 100'000'000, "B"}, {100'000'000, 400'000'000, "C"}}));
        using Times = std::vector<std::pair<std::int64_t, std::int64_t>>;
        Times shown;
        auto const subtitles = out.Of("subtitle");
        for (PacketRecord const& packet : subtitles.at(0).packets)
            if (packet.data.size() > 2) // MP4 has empty ones between
                shown.emplace_back(packet.pts, packet.duration);
        EXPECT_EQ(shown, (Times{{0, 200'000'000}, {300'000'000, 100'000'000}}));
        EXPECT_EQ(out.Of("attachment").size(), output == "out.mkv" ? 1U : 0U);
    }
}

TEST_F(Range, RefusesWhatIsNone) {
    Make(File("in.mp4"), s_pictures + s_audio + s_bFrames + "-c:a aac");
    Make(File("in.wav"), s_audio);
    Make(File("in.png"), s_pictures + "-frames:v 1");
    auto const s = MediaTime::Seconds;
    auto const f = MediaTime::Frames;
    struct {
        std::string input;
        Media::TimeRange range;
        std::string message;
        std::string output = "out.mkv";
    } const cases[] = {
        {"in.mp4", {s(1), s(0.5), {}}, "End the range after its beginning: it is from 1 s to 0.5 s"},
        {"in.mp4", {f(5), s(0.1), {}}, "The range ends at 0.1 s, before it begins at 0.2 s"},
        {"in.mp4", {s(-1), {}, {}}, "Give a time of 0 or more"},
        {"in.mp4", {s(NAN), {}, {}}, "Give a time of 0 or more"},
        {"in.mp4", {{}, {}, s(0)}, "Give a duration of more than 0"},
        {"in.mp4", {s(0), s(1), s(1)}, "the range ends at 1 s already"},
        {"in.mp4", {s(5), {}, {}}, "in.mp4\" ends at 1 s"},
        {"in.mp4", {s(0.01), s(0.03), {}}, "begins between 0.01 s and 0.03 s"},
        {"in.mp4", {f(26), {}, {}}, "it has 25 frames"},
        {"in.mp4", {{}, f(26), {}}, "it has 25 frames"},
        {"in.mp4", {f(1), {}, f(25)}, "it has 25 frames"},
        {"in.mp4", {s(0.2), {}, {}}, "is an image", "out.png"},
        {"in.png", {s(0.2), {}, {}}, "in.png\" is an image"},
        {"in.wav", {f(3), {}, {}}, "Give the range in seconds", "out.wav"},
        {"in.wav", {s(3), {}, {}}, "it ends at 1 s", "out.wav"},
    };
    for (auto const& [input, range, message, output] : cases) {
        SCOPED_TRACE(message);
        Media::RunOptions options = Options(input, output);
        options.mayLackVideo = options.mayLackAudio = true;
        options.range = range;
        EXPECT_THAT(RunForFailure<Media::OptionsException>(options), HasSubstr(message));
        EXPECT_FALSE(std::filesystem::exists(options.output));
        if (input == "in.wav") {
            EXPECT_THAT(TextOf<Media::OptionsException>([&, &file = input, &part = range] {
                            Media::AudioReader(File(file), {}, part).Next();
                        }),
                        testing::AnyOf(HasSubstr(message), HasSubstr("ends at 1 s")));
        }
    }
}

} // namespace
} // namespace Tarsel::Test
