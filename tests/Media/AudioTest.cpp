// Sound goes in, sound comes out: every sample, at its time.

#include "Core/ThreadBudget.h"
#include "Media/MediaExceptions.h"
#include "Proc/Data/DataAudioFF.h"
#include "ReadAudio.h"
#include "RunFixture.h"

#include <cmath>
#include <stop_token>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Arguments of the ffmpeg program: half a second of noise, and a burst from 0.5 s to 0.51 s in a second.
std::string const s_noise = "-f lavfi -i anoisesrc=d=0.5:r=44100:seed=7:a=0.3 ";
std::string const s_burst = "-f lavfi -i aevalsrc=between(t\\,0.5\\,0.51)*sin(6283*t)*0.7:s=48000:d=1 ";
constexpr double s_burstMiddle = 0.505;

class Audio : public RunFixture {
protected:
    ~Audio() override { Core::ThreadBudget::Set(m_budget); }

private:
    int m_budget = Core::ThreadBudget::Get();
};

struct ExactCase : NamedCase {
    std::string input;
    std::string arguments;
    std::string output;
    std::string codec;
};

class ExactAudio : public RunFixture, public testing::WithParamInterface<ExactCase> {};

// Samples of integers count in the shortest type that holds them: 8 bits to 16 are times 256.
TEST_P(ExactAudio, KeepsEverySample) {
    ExactCase const& row = GetParam();
    Make(File("in." + row.input), s_noise + row.arguments);
    std::string const output = "out." + row.output;
    Media::RunResult const result = Media::Run(AudioOptions("in." + row.input, output));
    AudioRecord const in = ReadAudio(File("in." + row.input));
    AudioRecord const out = ReadAudio(File(output));
    EXPECT_EQ(out.codec, row.codec);
    EXPECT_EQ(out.rate, in.rate);
    EXPECT_EQ(out.channels, in.channels);
    EXPECT_EQ(out.samples, in.samples);
    EXPECT_NEAR(out.start, in.start, 1e-6);
    EXPECT_THAT(result.notes, IsEmpty());
    EXPECT_EQ(result.audioEncoders, std::vector{row.codec});
}

INSTANTIATE_TEST_SUITE_P(
    All, ExactAudio,
    testing::Values(ExactCase{{"Bytes"}, "wav", "-c:a pcm_u8", "wav", "pcm_u8"},
                    ExactCase{{"Wav"}, "wav", "-c:a pcm_s16le", "wav", "pcm_s16le"},
                    ExactCase{{"Wav24"}, "wav", "-c:a pcm_s24le", "wav", "pcm_s24le"},
                    ExactCase{{"Wav32"}, "wav", "-c:a pcm_s32le", "wav", "pcm_s32le"},
                    ExactCase{{"WavReal"}, "wav", "-c:a pcm_f32le", "wav", "pcm_f32le"},
                    ExactCase{{"WavDouble"}, "wav", "-c:a pcm_f64le", "wav", "pcm_f64le"},
                    ExactCase{{"Flac"}, "flac", "-sample_fmt s16", "flac", "flac"},
                    ExactCase{{"Flac24"}, "flac", "-sample_fmt s32", "flac", "flac"},
                    ExactCase{{"WavToFlac"}, "wav", "-c:a pcm_s16le", "flac", "flac"},
                    ExactCase{{"Wav24ToFlac"}, "wav", "-c:a pcm_s24le", "flac", "flac"},
                    ExactCase{{"Flac24ToWav"}, "flac", "-sample_fmt s32", "wav", "pcm_s24le"},
                    ExactCase{{"AiffToWav"}, "aiff", "-c:a pcm_s24be", "wav", "pcm_s24le"},
                    ExactCase{{"FlacToAiff"}, "flac", "-sample_fmt s16", "aiff", "pcm_s16le"},
                    ExactCase{{"WavToMatroska"}, "wav", "-c:a pcm_s24le", "mka", "pcm_s24le"},
                    ExactCase{{"Alac"}, "m4a", "-c:a alac", "m4a", "alac"},
                    ExactCase{{"Surround"}, "wav", "-ac 6 -c:a pcm_s16le", "flac", "flac"},
                    ExactCase{{"SevenPointOne"}, "wav", "-ac 8 -c:a pcm_s16le", "wav", "pcm_s16le"}),
    s_caseName);

// Nine channels have no names.
TEST_F(Audio, ChannelsNeedNoNames) {
    Write("noise", std::string(9000, '\x5') + "and an end");
    Make(File("in.wav"), "-f s16le -ar 8000 -ac 9 -i " + File("noise").string());
    int channels = 0;
    Media::RunOptions const options = AudioOptions("in.wav", "out.wav", MakeSound([&](Block const& block) {
                                                       channels = block->GetSampleInfo().layout.channels;
                                                       return Blocks{block};
                                                   }));
    EXPECT_THAT(Media::Run(options).notes, IsEmpty());
    EXPECT_EQ(channels, 9);
    AudioRecord const out = ReadAudio(File("out.wav"));
    EXPECT_EQ(out.layout, "9 channels");
    EXPECT_EQ(out.samples, ReadAudio(File("in.wav")).samples);
}

struct TimeCase : NamedCase {
    std::string input;
    std::string output;
    /// In seconds.
    double tolerance = 0;
    std::string encoder = {};
};

class AudioTimes : public Audio, public testing::WithParamInterface<TimeCase> {};

// Neither the encoder's priming nor a start of its own moves sound against the pictures.
TEST_P(AudioTimes, StayAsTheyWere) {
    TimeCase const& row = GetParam();
    Make(File(row.input), row.input == "sound.wav" ? s_burst
                          : row.input == "late.mkv"
                              ? "-itsoffset 0.3 " + s_burst + s_pictures + s_noBFrames + "-c:a pcm_s16le"
                              : s_burst + s_pictures + s_noBFrames + "-c:a pcm_s16le");
    Media::RunOptions options = AudioOptions(row.input, row.output);
    options.audioEncoder = row.encoder;
    Media::Run(options);
    AudioRecord const out = ReadAudio(File(row.output));
    auto const pictures = ReadMedia(File(row.output)).pictures;
    double const origin = pictures.empty() ? 0 : static_cast<double>(pictures[0].time) / 1e9;
    EXPECT_EQ(pictures.size(), row.input == "sound.wav" ? 0U : 25U);
    // Nothing but the pictures tells where a sound file begins.
    double const begin = pictures.empty() ? out.start : origin;
    EXPECT_NEAR(out.GetMiddle() - begin, s_burstMiddle + (row.input == "late.mkv" ? 0.3 : 0), row.tolerance);
}

constexpr double s_sample = 1.0 / 48000;
constexpr double s_lossy = 0.004;
/// In Matroska and WebM, Opus is read back 7.0 ms early, encoded and copied alike: measured with FFmpeg 5.1.
constexpr double s_matroskaOpus = 0.0075;

INSTANTIATE_TEST_SUITE_P(
    All, AudioTimes,
    testing::Values(TimeCase{{"Wav"}, "sound.wav", "out.wav", s_sample},
                    TimeCase{{"Flac"}, "sound.wav", "out.flac", s_sample},
                    TimeCase{{"M4a"}, "sound.wav", "out.m4a", s_lossy},
                    TimeCase{{"Mp3"}, "sound.wav", "out.mp3", s_lossy},
                    TimeCase{{"Ogg"}, "sound.wav", "out.ogg", s_lossy},
                    TimeCase{{"Opus"}, "sound.wav", "out.opus", s_lossy},
                    TimeCase{{"FilmMatroska"}, "film.mkv", "out.mkv", s_sample},
                    TimeCase{{"FilmMov"}, "film.mkv", "out.mov", s_sample},
                    TimeCase{{"FilmMp4"}, "film.mkv", "out.mp4", s_lossy},
                    TimeCase{{"FilmMatroskaAac"}, "film.mkv", "out.mkv", s_lossy, "aac"},
                    TimeCase{{"FilmMatroskaMp3"}, "film.mkv", "out.mkv", s_lossy, "libmp3lame"},
                    TimeCase{{"FilmMatroskaOpus"}, "film.mkv", "out.mkv", s_matroskaOpus, "libopus"},
                    TimeCase{{"FilmMp4Mp3"}, "film.mkv", "out.mp4", s_lossy, "libmp3lame"},
                    TimeCase{{"FilmTs"}, "film.mkv", "out.ts", s_lossy},
                    TimeCase{{"LateMatroska"}, "late.mkv", "out.mkv", 0.0005},
                    TimeCase{{"LateMov"}, "late.mkv", "out.mov", s_sample},
                    TimeCase{{"LateMp4"}, "late.mkv", "out.mp4", s_lossy},
                    TimeCase{{"LateAvi"}, "late.mkv", "out.avi", 0.0005}),
    s_caseName);

// The chain's times count, not the order in which blocks come; what it adds at the end is written.
TEST_F(Audio, EffectsMayHoldBackAndAdd) {
    Make(File("in.wav"), s_noise);
    AudioRecord const in = ReadAudio(File("in.wav"));
    auto const held = std::make_shared<std::deque<Block>>();
    Media::Run(AudioOptions("in.wav", "delay.wav",
                            MakeSound(
                                [held](Block const& block) {
                                    held->push_back(block);
                                    if (held->size() <= 5)
                                        return Blocks{};
                                    Block const first = held->front();
                                    held->pop_front();
                                    return Blocks{first};
                                },
                                [held] { return Blocks(held->begin(), held->end()); })));
    EXPECT_EQ(ReadAudio(File("delay.wav")).samples, in.samples);

    constexpr std::int64_t tail = 300000;
    Block last;
    Media::Run(AudioOptions("in.wav", "tail.wav",
                            MakeSound(
                                [&](Block const& block) {
                                    last = block;
                                    return Blocks{block};
                                },
                                [&] {
                                    Block const rest = MakeSP<Proc::DataAudioFF>(*last->GetAVFrame());
                                    rest->SetTime(last->GetTime() + tail);
                                    return Blocks{rest};
                                })));
    AudioRecord const longer = ReadAudio(File("tail.wav"));
    ASSERT_EQ(longer.samples.size(), in.samples.size() + 44100 * 3 / 10);
    EXPECT_TRUE(std::equal(in.samples.begin(), in.samples.end(), longer.samples.begin()));
    auto const count = static_cast<std::ptrdiff_t>(last->GetSampleCount());
    EXPECT_TRUE(std::equal(in.samples.end() - count, in.samples.end(), longer.samples.end() - count));
    EXPECT_EQ(longer.samples[in.samples.size()], 0); // the gap between
}

// The picture beside worked sound is copied; of two languages one is worked on and one copied.
TEST_F(Audio, StreamsGoTheirOwnWays) {
    Make(File("in.mkv"), s_pictures + s_noise + s_burst + "-map 0 -map 1 -map 2 " + s_bFrames +
                             "-c:a:0 flac -c:a:1 aac -metadata:s:a:0 language=deu -metadata:s:a:1 "
                             "language=fra -disposition:a:1 default -disposition:a:0 comment");
    std::vector<Media::AudioStreamInfo> told;
    Media::RunOptions options = AudioOptions("in.mkv", "out.mkv", [&](Media::AudioStreamInfo const& info) {
        told.push_back(info);
        return info.language == "deu" ? AudioThrough()(info) : Media::AudioEffects();
    });
    Media::RunResult const result = Media::Run(options);
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].number, 0);
    EXPECT_EQ(told[0].codec, "flac");
    EXPECT_EQ(told[0].format.rate, 44100);
    EXPECT_EQ(told[0].format.layout.GetName(), "mono");
    EXPECT_EQ(told[1].number, 1);
    EXPECT_EQ(told[1].language, "fra");
    EXPECT_THAT(result.audioEncoders, ElementsAre("flac", ""));
    EXPECT_THAT(result.notes, IsEmpty());
    MediaRecord const in = ReadMedia(File("in.mkv"));
    MediaRecord const out = ReadMedia(File("out.mkv"));
    ASSERT_EQ(out.streams.size(), 3U);
    EXPECT_EQ(out.streams[0].packets, in.streams[0].packets);
    EXPECT_EQ(ReadAudio(File("out.mkv")).samples, ReadAudio(File("in.mkv")).samples);
    ASSERT_EQ(out.streams[2].packets.size(), in.streams[2].packets.size());
    for (std::size_t i = 0; i < in.streams[2].packets.size(); ++i)
        EXPECT_EQ(out.streams[2].packets[i].data, in.streams[2].packets[i].data);
    for (std::size_t i = 1; i < 3; ++i) {
        EXPECT_EQ(out.streams[i].disposition, in.streams[i].disposition);
        EXPECT_EQ(out.streams[i].metadata.at("language"), in.streams[i].metadata.at("language"));
    }
}

// Picture and sound both worked on: by the thread that writes, or by one thread alone.
TEST_F(Audio, BesidePicturesThatAreWorkedOn) {
    Make(File("in.mkv"), s_pictures + s_noise + s_bFrames + "-c:a flac");
    for (int const budget : {1, 4}) {
        Core::ThreadBudget::Set(budget);
        Media::RunOptions options = Lossless("in.mkv", "out.mkv");
        options.overwrite = true;
        std::thread::id worker;
        options.makeAudioEffects = MakeSound([&](Block const& block) {
            worker = std::this_thread::get_id();
            return Blocks{block};
        });
        EXPECT_EQ(Media::Run(options).framesOut, 25);
        EXPECT_EQ(worker == std::this_thread::get_id(), budget == 1);
        EXPECT_EQ(ReadMedia(File("out.mkv")).pictures, ReadMedia(File("in.mkv")).pictures);
        EXPECT_EQ(ReadAudio(File("out.mkv")).samples, ReadAudio(File("in.mkv")).samples);
    }
}

TEST_F(Audio, GapsBecomeSilence) {
    Make(File("in.mkv"),
         s_noise + s_pictures + "-af aselect=lt(t\\,0.2)+gt(t\\,0.35) -c:a pcm_s16le " + s_noBFrames);
    EXPECT_THROW(ReadAudio(File("in.mkv")), std::runtime_error);
    Media::RunResult const result = Media::Run(AudioOptions("in.mkv", "out.wav"));
    AudioRecord const out = ReadAudio(File("out.wav"));
    EXPECT_NEAR(out.GetDuration(), 0.5, 0.002);
    EXPECT_THAT(std::vector(out.samples.begin() + 44100 * 3 / 10, out.samples.begin() + 44100 * 8 / 25),
                testing::Each(0));
    EXPECT_THAT(result.notes, Contains(HasSubstr("1 sound gap was filled with silence, 0.1")));
}

// One packet of 21 ms is missing, or, shortly before the end, cannot be decoded: what follows stays in its
// place.
TEST_F(Audio, LostPacketsBecomeSilence) {
    double middle = 0;
    for (char const* loss : {"", "-bsf:a noise=drop=eq(n\\,10)", "-t 0.55 -bsf:a noise=amount=eq(n\\,20)"}) {
        SCOPED_TRACE(loss);
        Make(File("in.mka"), s_burst + "-c:a aac " + loss);
        Media::RunOptions options = AudioOptions("in.mka", "out.wav");
        options.overwrite = true;
        Media::RunResult const result = Media::Run(options);
        EXPECT_EQ(testing::Value(result.notes, Contains(HasSubstr("filled with silence, 0.02"))),
                  *loss != '\0');
        double const found = ReadAudio(File("out.wav")).GetMiddle();
        middle = *loss == '\0' ? found : middle;
        EXPECT_NEAR(found, middle, 0.001);
    }
}

// Bare streams have no times of their own: FFmpeg guesses them from the rate at the beginning.
TEST_F(Audio, ChangesOfRateLoseNothing) {
    Make(File("a.aac"), s_burst + "-ar 44100");
    Make(File("b.aac"), s_burst + "-ar 22050");
    Write("in.aac", Read("a.aac") + Read("b.aac") + Read("a.aac"));
    Media::Run(AudioOptions("in.aac", "out.wav"));
    EXPECT_NEAR(ReadAudio(File("out.wav")).GetDuration(),
                2 * ReadAudio(File("a.aac")).GetDuration() + ReadAudio(File("b.aac")).GetDuration(), 0.001);
}

// No block can have such samples.
TEST_F(Audio, IntegersOf64BitsBecomeReal) {
    Make(File("real.wav"), s_noise + "-c:a pcm_f64le");
    std::vector<double> const real = ReadAudio(File("real.wav")).samples;
    for (std::string const output : {"out.wav", "out.mka"}) {
        Make(File("in.wav"), s_noise + "-c:a pcm_s64le");
        Media::RunResult const result = Media::Run(AudioOptions("in.wav", output));
        EXPECT_THAT(result.notes, ElementsAre("Samples of 64 bits were rounded to real numbers of 53."));
        AudioRecord const out = ReadAudio(File(output));
        EXPECT_EQ(out.codec, "pcm_f64le");
        EXPECT_THAT(out.samples, testing::Pointwise(testing::DoubleNear(1e-15), real));
    }
}

// A chain that gives something else than it said, and a stream that changes on its way.
TEST_F(Audio, ChangesOfFormatAreConverted) {
    Make(File("in.wav"), s_burst);
    int number = 0;
    Media::RunResult const result = Media::Run(AudioOptions(
        "in.wav", "out.wav", MakeSound([&](Block const& block) {
            auto info = block->GetSampleInfo();
            if (++number < 8)
                return Blocks{block};
            info.rate = 24000;
            info.format = Conf::SampleFormats::Float;
            auto const half =
                Proc::DataAudioFF::CreateBySampleCount(info, static_cast<int>(block->GetSampleCount() / 2));
            auto* const to = reinterpret_cast<float*>(half->GetAVFrame()->data[0]);
            auto const* const from = reinterpret_cast<std::int16_t const*>(block->GetAVFrame()->data[0]);
            for (std::int64_t i = 0; i < half->GetSampleCount(); ++i)
                to[i] = static_cast<float>(from[2 * i]) / 32768;
            half->SetTime(block->GetTime());
            return Blocks{half};
        })));
    AudioRecord const out = ReadAudio(File("out.wav"));
    EXPECT_NEAR(out.GetDuration(), 1, 0.001);
    EXPECT_NEAR(out.GetMiddle(), s_burstMiddle, 0.0002);
    EXPECT_THAT(result.notes, ElementsAre(HasSubstr("The sound changes from 48000 Hz s16 mono to 24000 Hz "
                                                    "flt mono at 0.")));
}

TEST_F(Audio, FilmsBecomeAudioFiles) {
    Make(File("cover.png"), "-f lavfi -i color=red:s=16x16 -frames:v 1");
    Make(File("in.mp4"), s_pictures + s_burst + "-i " + File("cover.png").string() +
                             " -map 0 -map 1 -map 2 -c:v:1 copy -disposition:v:1 attached_pic -c:v:0 "
                             "libx264 -c:a aac -metadata title=A -metadata artist=B");
    for (std::string const name : {"out.mp3", "out.flac", "out.m4a", "out.mka", "out.wav"}) {
        SCOPED_TRACE(name);
        Media::RunOptions options;
        options.input = File("in.mp4");
        options.output = File(name);
        Media::Run(options);
        MediaRecord const out = ReadMedia(File(name));
        bool const copied = name == "out.m4a" || name == "out.mka";
        EXPECT_EQ(out.Of("audio").size(), 1U);
        EXPECT_EQ(out.metadata.at(out.metadata.count("TITLE") != 0 ? "TITLE" : "title"), "A");
        auto const covers = out.Of("video");
        ASSERT_EQ(covers.size(), name == "out.wav" ? 0U : 1U);
        for (StreamRecord const& cover : covers)
            EXPECT_EQ(cover.packets.at(0).data, Read("cover.png"));
        if (!copied) {
            AudioRecord const sound = ReadAudio(File(name));
            EXPECT_NEAR(sound.GetMiddle() - sound.start, s_burstMiddle, s_lossy);
        }
    }
}

TEST_F(Audio, WhatAContainerCannotHoldIsEncodedAnew) {
    Make(File("in.mkv"), s_pictures + s_burst + "-map 0 -map 1 -map 1 -c:v libvpx -c:a:0 aac -c:a:1 libopus");
    Media::RunOptions options;
    options.input = File("in.mkv");
    options.output = File("out.webm");
    Media::RunResult const result = Media::Run(options);
    EXPECT_THAT(result.audioEncoders, ElementsAre("libopus", ""));
    MediaRecord const out = ReadMedia(File("out.webm"));
    EXPECT_EQ(out.streams.at(0).packets.size(), 25U);
    auto const measure = [&](std::string const& file, int number) {
        return ReadAudio(File(file), number).GetMiddle() -
               static_cast<double>(ReadMedia(File(file)).pictures.at(0).time) / 1e9;
    };
    for (int const number : {0, 1})
        EXPECT_NEAR(measure("out.webm", number), measure("in.mkv", number), s_matroskaOpus);
}

TEST_F(Audio, WhatIsWantedHasToBeThere) {
    Make(File("silent.mp4"), s_pictures + s_noBFrames);
    Make(File("sound.wav"), s_noise);
    auto const name = [&](char const* file) { return "\"" + File(file).string() + "\""; };
    using Media::InputException;
    using Media::OptionsException;
    EXPECT_EQ(RunForFailure<InputException>(AudioOptions("silent.mp4", "out.mp4")),
              name("silent.mp4") + " has no sound");
    EXPECT_EQ(RunForFailure<OptionsException>(Options("sound.wav", "out.mka")),
              "Cannot write " + name("out.mka") + ": \"matroska\" holds no pictures");
    EXPECT_EQ(RunForFailure<InputException>(Options("sound.wav", "out.mkv")),
              name("sound.wav") + " has no pictures");
    EXPECT_EQ(RunForFailure<InputException>(AudioOptions("silent.mp4", "out.wav", {})),
              name("silent.mp4") + " has no sound");
    EXPECT_EQ(RunForFailure<OptionsException>(AudioOptions("silent.mp4", "out.gif")),
              "Cannot write " + name("out.gif") + ": \"gif\" holds no sound");
    EXPECT_EQ(RunForFailure<OptionsException>(AudioOptions("silent.mp4", "out.png")),
              "Cannot write " + name("out.png") + ": a picture holds no sound");
    EXPECT_EQ(RunForFailure<OptionsException>(Options("silent.mp4", "out.mp3")),
              "Cannot write " + name("out.mp3") + ": \"mp3\" holds no pictures");
    std::string unknown = Read("sound.wav");
    unknown.replace(20, 2, "\x48\x20"); // the codec's number
    Write("unknown.wav", unknown);
    // Later releases do not count it as audio at all.
    EXPECT_THAT(
        RunForFailure<InputException>(AudioOptions("unknown.wav", "out.wav")),
        AnyOf("Cannot decode the sound of stream 0, which is in the codec sonic: Experimental feature",
              name("unknown.wav") + " has neither pictures nor sound"));
    EXPECT_THAT(List(), ElementsAre("silent.mp4", "sound.wav", "unknown.wav"));

    Media::RunOptions options = Options("sound.wav", "out.flac");
    options.makeAudioEffects = AudioThrough();
    options.mayLackVideo = true;
    Media::Run(options);
    EXPECT_EQ(ReadAudio(File("out.flac")).samples, ReadAudio(File("sound.wav")).samples);
    options = Lossless("silent.mp4", "out.mp4");
    options.makeAudioEffects = AudioThrough();
    options.mayLackAudio = true;
    EXPECT_EQ(Media::Run(options).framesOut, 25);
}

TEST_F(Audio, CanBeStopped) {
    Make(File("in.wav"), s_burst);
    for (int const budget : {1, 4}) {
        Core::ThreadBudget::Set(budget);
        std::stop_source stop;
        int blocks = 0;
        Media::RunOptions options = AudioOptions("in.wav", "out.flac", MakeSound([&](Block const& block) {
                                                     if (++blocks == 10)
                                                         stop.request_stop();
                                                     return Blocks{block};
                                                 }));
        RunForFailure<Media::InterruptedException>(options, stop.get_token());
        EXPECT_LT(blocks, 20);
        EXPECT_THAT(List(), ElementsAre("in.wav"));
    }
}

} // namespace
} // namespace Tarsel::Test
