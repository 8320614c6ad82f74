#include "Tarsel/Tool.h"

#include <cmath>
#include <cstring>

namespace Tarsel::Tools {
namespace {

class MixTool : public Tool {
protected:
    /// Sample n of the only channel is `expression`; at 8000 Hz.
    static std::string MakeWave(std::string const& name, std::string const& expression, int samples,
                                std::string const& codec = "pcm_s16le") {
        return MakeFilm(name, "-f lavfi -i \"aevalsrc='" + expression + "':s=8000,atrim=end_sample=" +
                                  std::to_string(samples) + "\" -c:a " + codec);
    }

    /// The samples, packed.
    template <class Sample>
    static std::vector<Sample> Decode(std::string const& file, std::string const& format) {
        auto const bytes = Tool::Decode(file, "-f " + format);
        std::vector<Sample> samples(bytes.size() / sizeof(Sample));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(Sample));
        return samples;
    }
};

TEST_F(MixTool, AddsUpIntegersRoundedOnce) {
    MakeWave("a.wav", "(n-10000)/32768", 20000);
    MakeWave("b.wav", "(mod(n*37,50000)-25000)/32768", 12345);
    EXPECT_EQ(RunForNotes("mix out.wav a.wav b.wav --volume 0.5 --volume -6dB"), "");
    EXPECT_EQ(ProbeAudio("out.wav"), "pcm_s16le 8000 1 20000");
    auto const samples = Decode<std::int16_t>("out.wav", "s16le");
    ASSERT_EQ(samples.size(), 20000U);
    double const volume = std::pow(10, -0.3);
    for (int n = 0; n < 20000; ++n) {
        double const sum = 0.5 * (n - 10000) + (n < 12345 ? volume * (n * 37 % 50000 - 25000) : 0);
        ASSERT_EQ(samples[static_cast<std::size_t>(n)], std::nearbyint(sum)) << n;
    }
}

TEST_F(MixTool, ClipsOnlyTheSumAndTells) {
    MakeWave("a.wav", "0.75", 100);
    MakeWave("b.wav", "-0.5", 50);
    EXPECT_EQ(RunForNotes("mix out.wav a.wav b.wav a.wav --volume 1 --volume 2 --volume 1"),
              "tarsel: note: Clipped the mix, which reached 3.5 dB above full scale: lower the volumes by as "
              "much to avoid it.\n");
    auto const samples = Decode<std::int16_t>("out.wav", "s16le");
    EXPECT_EQ(samples.front(), 16384);
    EXPECT_EQ(samples.back(), 32767);
}

TEST_F(MixTool, TellsFactorsThatLookLikeDecibels) {
    MakeWave("a.wav", "0.01", 80);
    for (auto const& [volume, note] :
         {std::pair<std::string, std::string>("-6", "which makes the audio 15.6 dB louder and inverts it"),
          {"12", "which makes the audio 21.6 dB louder"},
          {"-0.5", "which makes the audio 6.0 dB quieter and inverts it"},
          {"4", ""},
          {"-6dB", ""}}) {
        std::string const meant =
            volume + "dB if you mean decibels: --volume " + volume + " is a factor, " + note;
        EXPECT_EQ(RunForNotes("mix out.wav a.wav a.wav --overwrite --volume 1 --volume " + volume),
                  note.empty() ? "" : "tarsel: note: Write --volume " + meant + ".\n");
    }
}

TEST_F(MixTool, KeepsTheFinestSamples) {
    struct {
        char const* codec;
        std::string output;
        std::string made;
        double error;
    } const cases[] = {
        {"pcm_u8", "1.wav", "pcm_s16le", 0x1p-7},   {"pcm_s24le", "2.wav", "pcm_s24le", 2e-7},
        {"pcm_s32le", "3.wav", "pcm_s32le", 1e-9},  {"pcm_f32le", "4.wav", "pcm_f32le", 4e-8},
        {"pcm_f64le", "5.wav", "pcm_f64le", 1e-15}, {"pcm_f32le", "6.flac", "flac", 2e-7},
        {"libmp3lame", "7.wav", "pcm_s16le", 0.02},
    };
    MakeWave("coarse.mka", "0.25", 4000, "pcm_u8");
    for (auto const& [codec, output, made, error] : cases) {
        auto const fine = MakeWave(output + ".mka", "0.123456789", 4000, codec);
        RunForNotes("mix " + output + " coarse.mka " + fine);
        EXPECT_THAT(ProbeAudio(output), testing::StartsWith(made + " 8000 1 "));
        EXPECT_NEAR(Decode<double>(output, "f64le").at(2000), 0.373456789, error) << codec;
    }
}

TEST_F(MixTool, BringsRatesAndLayoutsTogether) {
    MakeWave("slow.wav", "0.25", 8000);
    MakeFilm("film.mkv", "-f lavfi -i testsrc2=size=64x48:duration=0.5 -f lavfi -i "
                         "'aevalsrc=0.125|-0.125:s=16000:d=0.5' -c:a pcm_f32le");
    EXPECT_EQ(RunForNotes("mix out.wav slow.wav film.mkv"), "");
    EXPECT_EQ(ProbeAudio("out.wav"), "pcm_f32le 16000 2 16000");
    auto const samples = Decode<float>("out.wav", "f32le");
    ASSERT_EQ(samples.size(), 32000U);
    // One channel goes to two at 3 dB less.
    double const both = 0.25 / std::sqrt(2);
    EXPECT_NEAR(samples[8000], both + 0.125, 1e-3);
    EXPECT_NEAR(samples[8001], both - 0.125, 1e-3);
    EXPECT_NEAR(samples[24000], both, 1e-3);
    EXPECT_NEAR(samples[31999], both, 1e-2);
}

TEST_F(MixTool, RefusesWhatCannotBe) {
    MakeWave("a.wav", "0.1", 80);
    MakeWave("b.wav", "0.1", 80);
    WriteFile("old.wav", "precious");
    std::string const legal = "--volume: give a factor from -1000 to 1000, or decibels up to 60dB, not ";
    std::string const mix = "mix out.wav a.wav b.wav ";
    ExpectRefusals({
        {"mix out.wav a.wav", 1, "Name at least two INPUTs"},
        {mix + "--volume 1", 1,
         "Give one --volume per INPUT, in the same order, or none: got 1 for 2 inputs"},
        {mix + "--volume 1 --volume loud", 1, legal + "\"loud\""},
        {mix + "--volume 1 --volume 1001", 1, legal + "\"1001\""},
        {mix + "--volume nandB --volume 1", 1, legal + "\"nandB\""},
        {"mix out.wav a.wav no.wav", 2, "Cannot open \"no.wav\": No such file or directory"},
        {"mix b.wav a.wav b.wav --overwrite", 1, "Cannot write \"b.wav\": it is the input"},
        {"mix old.wav a.wav b.wav", 1, "Add --overwrite: \"old.wav\" exists already"},
    });
}

} // namespace
} // namespace Tarsel::Tools
