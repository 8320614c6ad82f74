// Audio goes in, audio comes out: every sample, at its time.

#include "Core/ThreadBudget.h"
#include "Media/AudioReader.h"
#include "Media/MediaExceptions.h"
#include "Proc/Data/DataAudioFF.h"
#include "RunFixture.h"
#include "Support/Process.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <stop_token>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

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

// Samples of integers count in the shortest type that holds them: 8 bits to 16 are times 256.
TEST_F(Audio, EverySampleIsKept) {
    Write("noise", std::string(9000, '\x5') + "and an end");
    struct {
        std::string arguments;
        std::string input;
        std::string output;
        std::string codec;
    } const cases[] = {{"-c:a pcm_u8", "in.wav", "out.wav", "pcm_u8"},
                       {"-c:a pcm_s24le", "in.wav", "out.wav", "pcm_s24le"},
                       {"-c:a pcm_s32le", "in.wav", "out.wav", "pcm_s32le"},
                       {"-c:a pcm_f32le", "in.wav", "out.wav", "pcm_f32le"},
                       {"-c:a pcm_f64le", "in.wav", "out.wav", "pcm_f64le"},
                       {"-c:a pcm_s16le", "in.wav", "out.flac", "flac"},
                       {"-c:a pcm_s24le", "in.wav", "out.flac", "flac"},
                       {"-c:a pcm_s24le", "in.wav", "out.mka", "pcm_s24le"},
                       {"-sample_fmt s32", "in.flac", "out.wav", "pcm_s24le"},
                       {"-sample_fmt s16", "in.flac", "out.aiff", "pcm_s16le"},
                       {"-c:a pcm_s24be", "in.aiff", "out.wav", "pcm_s24le"},
                       {"-c:a alac", "in.m4a", "out.m4a", "alac"},
                       {"-ac 6 -c:a pcm_s16le", "in.wav", "out.flac", "flac"},
                       {"-ac 8 -c:a pcm_s16le", "in.wav", "out.wav", "pcm_s16le"},
                       // Nine channels have no names.
                       {"-f s16le -ar 8000 -ac 9 -i " + File("noise").string() + " -map 1", "in.wav",
                        "out.wav", "pcm_s16le"}};
    for (auto const& row : cases) {
        SCOPED_TRACE(row.arguments + " " + row.output);
        Make(File(row.input), s_noise + row.arguments);
        Media::RunOptions options = AudioOptions(row.input, row.output);
        Media::RunResult const result = Media::Run(options);
        AudioRecord const in = ReadAudio(File(row.input));
        AudioRecord const out = ReadAudio(File(row.output));
        EXPECT_EQ(out.codec, row.codec);
        EXPECT_EQ(out.rate, in.rate);
        EXPECT_EQ(out.channels, in.channels);
        EXPECT_EQ(out.samples, in.samples);
        EXPECT_NEAR(out.start, in.start, 1e-6);
        EXPECT_THAT(result.notes, IsEmpty());
        EXPECT_EQ(result.audioEncoders, std::vector{row.codec});
    }
}

// Neither the encoder's priming nor a start of its own moves audio against the pictures.
TEST_F(Audio, TimesStayAsTheyWere) {
    constexpr double sample = 1.0 / 48000;
    constexpr double lossy = 0.004;
    constexpr double millisecond = 0.0005;
    // In Matroska and WebM, Opus is read back 7.0 ms early, encoded and copied alike: measured with
    // FFmpeg 5.1.
    constexpr double opus = 0.0075;
    std::string const film = s_burst + s_pictures + s_noBFrames + "-c:a pcm_s16le";
    Make(File("audio.wav"), s_burst);
    Make(File("film.mkv"), film);
    Make(File("late.mkv"), "-itsoffset 0.3 " + film);
    struct {
        std::string input;
        std::string output;
        /// In seconds.
        double tolerance;
        std::string encoder = {};
    } const cases[] = {{"audio.wav", "out.wav", sample},
                       {"audio.wav", "out.flac", sample},
                       {"audio.wav", "out.m4a", lossy},
                       {"audio.wav", "out.mp3", lossy},
                       {"audio.wav", "out.ogg", lossy},
                       {"audio.wav", "out.opus", lossy},
                       {"film.mkv", "out.mkv", sample},
                       {"film.mkv", "out.mov", sample},
                       {"film.mkv", "out.mp4", lossy},
                       {"film.mkv", "out.ts", lossy},
                       {"film.mkv", "out.webm", opus},
                       {"film.mkv", "out.mkv", lossy, "aac"},
                       {"film.mkv", "out.mkv", lossy, "libmp3lame"},
                       {"film.mkv", "out.mkv", opus, "libopus"},
                       {"film.mkv", "out.mp4", lossy, "libmp3lame"},
                       {"late.mkv", "out.mkv", millisecond},
                       {"late.mkv", "out.mov", sample},
                       {"late.mkv", "out.mp4", lossy},
                       {"late.mkv", "out.avi", millisecond}};
    for (auto const& row : cases) {
        SCOPED_TRACE(row.input + " " + row.output + " " + row.encoder);
        // Encoded for the effects, or because the container does not hold it.
        Media::RunOptions options = AudioOptions(row.input, row.output);
        if (row.output == "out.webm")
            options.makeAudioEffects = {};
        options.audioEncoder = row.encoder;
        Media::Run(options);
        AudioRecord const out = ReadAudio(File(row.output));
        auto const pictures = ReadMedia(File(row.output)).pictures;
        EXPECT_EQ(pictures.size(), row.input == "audio.wav" ? 0U : 25U);
        // Nothing but the pictures tells where an audio file begins.
        double const begin = pictures.empty() ? out.start : static_cast<double>(pictures[0].time) / 1e9;
        EXPECT_NEAR(out.GetMiddle() - begin, s_burstMiddle + (row.input == "late.mkv" ? 0.3 : 0),
                    row.tolerance);
    }
}

TEST_F(Audio, EffectsMayHoldBackAndAdd) {
    Make(File("in.wav"), s_noise);
    AudioRecord const in = ReadAudio(File("in.wav"));
    Media::Run(AudioOptions("in.wav", "delay.wav", [](Media::AudioStreamInfo const& info) {
        return Media::AudioEffects{
            std::make_unique<FunctionStream<Proc::IDataAudio>>(HoldBack<Proc::IDataAudio>(5)), info.format};
    }));
    EXPECT_EQ(ReadAudio(File("delay.wav")).samples, in.samples);

    Block last;
    auto const keep = [&](Block const& block) {
        last = block;
        return Blocks{block};
    };
    auto const addLater = [&] {
        Block const rest = MakeSP<Proc::DataAudioFF>(*last->GetAVFrame());
        rest->SetTime(last->GetTime() + 300000);
        return Blocks{rest};
    };
    Media::Run(AudioOptions("in.wav", "tail.wav", MakeAudio(keep, addLater)));
    std::vector<double> expected = in.samples;
    expected.resize(in.samples.size() + 44100 * 3 / 10); // the gap between
    std::copy(in.samples.end() - static_cast<std::ptrdiff_t>(last->GetSampleCount()), in.samples.end(),
              expected.end() - static_cast<std::ptrdiff_t>(last->GetSampleCount()));
    EXPECT_EQ(ReadAudio(File("tail.wav")).samples, expected);
}

TEST_F(Audio, StreamsGoTheirOwnWays) {
    Make(File("in.mkv"), s_pictures + s_noise + s_burst + "-map 0 -map 1 -map 2 " + s_bFrames +
                             "-c:a:0 flac -c:a:1 aac -metadata:s:a:0 language=deu -metadata:s:a:1 "
                             "language=fra -disposition:a:1 default -disposition:a:0 comment");
    std::string told;
    Media::RunOptions options = AudioOptions("in.mkv", "out.mkv", [&](Media::AudioStreamInfo const& info) {
        told += fmt::format("{} {} {} {} {} ", info.number, info.codec, info.format.rate,
                            info.format.layout.GetName(), info.language);
        return info.language == "deu" ? AudioThrough()(info) : Media::AudioEffects();
    });
    auto const [result, in, out] = Trip(options);
    EXPECT_EQ(told, "0 flac 44100 mono deu 1 aac 48000 mono fra ");
    EXPECT_THAT(result.audioEncoders, ElementsAre("flac", ""));
    EXPECT_THAT(result.notes, IsEmpty());
    ASSERT_EQ(out.streams.size(), 3U);
    EXPECT_EQ(out.streams[0].packets, in.streams[0].packets);
    EXPECT_EQ(ReadAudio(File("out.mkv")).samples, ReadAudio(File("in.mkv")).samples);
    EXPECT_EQ(ReadAudio(File("out.mkv"), 1).samples, ReadAudio(File("in.mkv"), 1).samples);
    for (std::size_t i = 1; i < 3; ++i) {
        EXPECT_EQ(out.streams[i].disposition, in.streams[i].disposition);
        EXPECT_EQ(out.streams[i].metadata.at("language"), in.streams[i].metadata.at("language"));
    }
}

// Picture and audio both worked on: each audio stream by a thread of its own, or all by one thread alone; the
// packets lie in the same order.
TEST_F(Audio, BesidePicturesThatAreWorkedOn) {
    Make(File("in.mkv"), s_pictures + s_noise + s_burst + "-map 0 -map 1 -map 2 " + s_bFrames + "-c:a flac");
    std::string first;
    for (int const budget : {1, 4}) {
        Core::ThreadBudget::Set(budget);
        Media::RunOptions options = Lossless("in.mkv", "out.mkv");
        std::array<std::thread::id, 2> workers;
        options.makeAudioEffects = [&](Media::AudioStreamInfo const& info) {
            return MakeAudio(
                [&worker = workers.at(static_cast<std::size_t>(info.number))](Block const& block) {
                    worker = std::this_thread::get_id();
                    return Blocks{block};
                })(info);
        };
        auto const [result, in, out] = Trip(options);
        EXPECT_EQ(result.framesOut, 25);
        EXPECT_EQ(workers[0] == std::this_thread::get_id(), budget == 1);
        EXPECT_EQ(workers[0] == workers[1], budget == 1);
        EXPECT_EQ(out.pictures, in.pictures);
        for (int stream = 0; stream < 2; ++stream)
            EXPECT_EQ(ReadAudio(File("out.mkv"), stream).samples, ReadAudio(File("in.mkv"), stream).samples);
        std::string const packets = RunForOutput(
            {"ffprobe", "-v", "error", "-show_entries", "packet=stream_index,pts,size", File("out.mkv")});
        EXPECT_EQ(packets, first.empty() ? packets : first);
        first = packets;
    }
}

// One packet of 21 ms is missing, or, shortly before the end, cannot be decoded: what follows stays in its
// place.
TEST_F(Audio, LostPacketsBecomeSilence) {
    double middle = 0;
    for (char const* loss : {"", "-bsf:a noise=drop=eq(n\\,10)", "-t 0.55 -bsf:a noise=amount=eq(n\\,20)"}) {
        SCOPED_TRACE(loss);
        Make(File("in.mka"), s_burst + "-c:a aac " + loss);
        Media::RunOptions options = AudioOptions("in.mka", "out.wav");
        Media::RunResult const result = Media::Run(options);
        EXPECT_EQ(testing::Value(result.notes, Contains(HasSubstr("with silence, 0.02"))), *loss != '\0');
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

TEST_F(Audio, IntegersOf64BitsBecomeReal) {
    Make(File("real.wav"), s_noise + "-c:a pcm_f64le");
    Make(File("in.wav"), s_noise + "-c:a pcm_s64le");
    EXPECT_THAT(Media::Run(AudioOptions("in.wav", "out.wav")).notes,
                ElementsAre("Rounded 64-bit integer samples to floating-point samples, which hold 53 bits."));
    EXPECT_THAT(ReadAudio(File("out.wav")).samples,
                testing::Pointwise(testing::DoubleNear(1e-15), ReadAudio(File("real.wav")).samples));
}

TEST_F(Audio, CanBeStopped) {
    Make(File("in.wav"), s_burst);
    for (int const budget : {1, 4}) {
        Core::ThreadBudget::Set(budget);
        std::stop_source stop;
        int blocks = 0;
        Media::RunOptions options = AudioOptions("in.wav", "out.flac", MakeAudio([&](Block const& block) {
                                                     if (++blocks == 10)
                                                         stop.request_stop();
                                                     return Blocks{block};
                                                 }));
        Media::AudioReader reader(File("in.wav"), stop.get_token());
        EXPECT_NE(reader.Next(), nullptr);
        RunForFailure<Media::InterruptedException>(options, stop.get_token());
        EXPECT_THROW(reader.Next(), Media::InterruptedException);
        EXPECT_LT(blocks, 20);
        EXPECT_THAT(List(), ElementsAre("in.wav"));
    }
}

} // namespace
} // namespace Tarsel::Test
