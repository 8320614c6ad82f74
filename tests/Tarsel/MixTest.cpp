#include "Tarsel/Tool.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

namespace Tarsel::Tools {
namespace {

using testing::StartsWith;

class MixTool : public Tool {
protected:
    /// Sample n of the only channel is `expression`; at 8000 Hz.
    std::string MakeWave(std::string const& name, std::string const& expression, int samples,
                         std::string const& codec = "pcm_s16le") const {
        return MakeFilm(name,
                        {"-f", "lavfi", "-i",
                         "aevalsrc='" + expression + "':s=8000,atrim=end_sample=" + std::to_string(samples),
                         "-c:a", codec});
    }

    /// The samples as they are stored, packed.
    template <class Sample>
    static std::vector<Sample> Decode(std::string const& file, std::string const& format) {
        auto const bytes = RunForOutput({"ffmpeg", "-nostdin", "-v", "error", "-i", file, "-f", format, "-"});
        std::vector<Sample> samples(bytes.size() / sizeof(Sample));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(Sample));
        return samples;
    }

    static std::string Probe(std::string const& file) {
        return RunForOutput({"ffprobe", "-v", "error", "-show_entries",
                             "stream=codec_name,sample_rate,channels,duration_ts", "-of", "csv=p=0", file});
    }
};

TEST_F(MixTool, AddsUpIntegersRoundedOnce) {
    auto const a = MakeWave("a.wav", "(n-10000)/32768", 20000);
    auto const b = MakeWave("b.wav", "(mod(n*37,50000)-25000)/32768", 12345);
    auto const result = Run({"mix", At("out.wav"), a, b, "--volume", "0.5", "--volume", "-6dB"});
    ASSERT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(Probe(At("out.wav")), "pcm_s16le,8000,1,20000\n");
    auto const samples = Decode<std::int16_t>(At("out.wav"), "s16le");
    ASSERT_EQ(samples.size(), 20000U);
    double const volume = std::pow(10, -0.3);
    for (int n = 0; n < 20000; ++n) {
        double const sum = 0.5 * (n - 10000) + (n < 12345 ? volume * (n * 37 % 50000 - 25000) : 0);
        ASSERT_EQ(samples[static_cast<std::size_t>(n)], std::nearbyint(sum)) << n;
    }
}

TEST_F(MixTool, ClipsOnlyTheSumAndTells) {
    auto const a = MakeWave("a.wav", "0.75", 100);
    auto const b = MakeWave("b.wav", "-0.5", 50);
    auto const result =
        Run({"mix", At("out.wav"), a, b, a, "--volume", "1", "--volume", "2", "--volume", "1"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err,
              "tarsel: note: The mix was clipped: it reached 3.5 dB above full scale. Volumes lower "
              "by as much avoid it.\n");
    auto const samples = Decode<std::int16_t>(At("out.wav"), "s16le");
    EXPECT_EQ(samples.front(), 16384);
    EXPECT_EQ(samples.back(), 32767);
}

TEST_F(MixTool, KeepsTheFinestSamples) {
    struct Case {
        std::string codec;
        std::string output;
        std::string made;
    };
    for (Case const& c :
         {Case{"pcm_u8", "out.wav", "pcm_s16le"}, Case{"pcm_s24le", "out.wav", "pcm_s24le"},
          Case{"pcm_s32le", "out.wav", "pcm_s32le"}, Case{"pcm_f32le", "out.wav", "pcm_f32le"},
          Case{"pcm_f64le", "out.wav", "pcm_f64le"}, Case{"pcm_f32le", "out.flac", "flac"},
          Case{"libmp3lame", "out.wav", "pcm_s16le"}}) {
        auto const coarse = MakeWave("coarse.mka", "0.25", 4000, "pcm_u8");
        auto const fine = MakeWave("fine.mka", "0.123456789", 4000, c.codec);
        auto const out = At(c.output);
        ASSERT_EQ(Run({"mix", out, coarse, fine, "--overwrite"}).exitCode, 0);
        EXPECT_THAT(Probe(out), StartsWith(c.made + ",8000,1,"));
        auto const samples = Decode<double>(out, "f64le");
        double const error = c.made == "pcm_f64le"                        ? 1e-15
                             : c.codec == "pcm_f32le" && c.made != "flac" ? 4e-8
                             : c.made == "pcm_s32le"                      ? 1e-9
                             : c.codec == "libmp3lame"                    ? 0.02
                             : c.codec == "pcm_u8"                        ? 0x1p-7
                                                                          : 2e-7;
        EXPECT_NEAR(samples.at(2000), 0.373456789, error) << c.codec;
        std::filesystem::remove(At("coarse.mka"));
        std::filesystem::remove(At("fine.mka"));
    }
}

TEST_F(MixTool, BringsRatesAndLayoutsTogether) {
    auto const slow = MakeWave("slow.wav", "0.25", 8000);
    auto const film =
        MakeFilm("film.mkv", {"-f", "lavfi", "-i", "testsrc2=size=64x48:duration=0.5", "-f", "lavfi", "-i",
                              "aevalsrc=0.125|-0.125:s=16000:d=0.5", "-c:a", "pcm_f32le"});
    auto const result = Run({"mix", At("out.wav"), slow, film});
    ASSERT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(Probe(At("out.wav")), "pcm_f32le,16000,2,16000\n");
    auto const samples = Decode<float>(At("out.wav"), "f32le");
    ASSERT_EQ(samples.size(), 32000U);
    // One channel goes to two at 3 dB less.
    double const both = 0.25 / std::sqrt(2);
    EXPECT_NEAR(samples[8000], both + 0.125, 1e-3);
    EXPECT_NEAR(samples[8001], both - 0.125, 1e-3);
    EXPECT_NEAR(samples[24000], both, 1e-3);
    EXPECT_NEAR(samples[31999], both, 1e-2);
}

TEST_F(MixTool, RefusesWhatCannotBe) {
    auto const a = MakeWave("a.wav", "0.1", 80);
    auto const b = MakeWave("b.wav", "0.1", 80);
    auto const mute = MakeSmallFilm();
    auto const text = MakeFile("text.wav", "no sound");
    auto const before = ListFolder();
    auto const out = At("out.wav");
    std::string const legal = " is no volume: a factor, -1000 to 1000, or decibels, up to 60dB";
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::string error;
    };
    for (Case const& c : {
             Case{{out, a}, 1, "Name two INPUTs or more: one alone is no mix"},
             Case{{out, a, b, "--volume", "1"},
                  1,
                  "Inputs: 2, volumes: 1; there is one --volume for each input, in their order, or none"},
             Case{{out, a, b, "--volume", "1", "--volume", "loud"}, 1, "--volume \"loud\"" + legal},
             Case{{out, a, b, "--volume", "1", "--volume", "1001"}, 1, "--volume \"1001\"" + legal},
             Case{{out, a, b, "--volume", "60.1dB", "--volume", "1"}, 1, "--volume \"60.1dB\"" + legal},
             Case{{out, a, b, "--volume", "nandB", "--volume", "1"}, 1, "--volume \"nandB\"" + legal},
             Case{{out, a, b, "--audio-option", "=1"},
                  1,
                  "--audio-option \"=1\" is not KEY=VALUE, for example b=192k"},
             Case{{out, a, At("no.wav")},
                  2,
                  "Cannot open \"" + At("no.wav") + "\": No such file or directory"},
             Case{{out, mute, a}, 2, "\"" + mute + "\" has no sound"},
             Case{{out, a, text},
                  2,
                  "Cannot open \"" + text +
                      "\": Invalid data found when processing input\n"
                      "  FFmpeg: Invalid data found when processing input (-1094995529)"},
             Case{{b, a, b, "--overwrite"}, 1, "Cannot write \"" + b + "\": it is the input"},
             Case{{text, a, b},
                  1,
                  "Cannot write \"" + text + "\": it exists already and may not be overwritten"},
             Case{{At("out.xyz"), a, b},
                  1,
                  "Cannot write \"" + At("out.xyz") + "\": no container is known by the extension \".xyz\""},
             Case{{At("no/out.wav"), a, b},
                  4,
                  "Cannot write \"" + At("no/out.wav") + "\": there is no folder \"" + At("no") + "\""},
         }) {
        std::vector<std::string> arguments{"mix"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        auto const result = Run(arguments);
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_EQ(result.err, "tarsel: error: " + c.error + "\n");
    }
    EXPECT_EQ(ListFolder(), before);
}

} // namespace
} // namespace Tarsel::Tools
