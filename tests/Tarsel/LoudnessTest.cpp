#include "Tools/Tarsel/Audio/Loudness.h"
#include "Proc/Data/DataAudioFF.h"
#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

#include <cmath>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Tools {
namespace {

using testing::HasSubstr;

class LoudnessTool : public Tool {
protected:
    void SetUp() override {
        if (!LoudnessMeter::IsAvailable())
            GTEST_SKIP() << "built without libebur128";
    }

    static nlohmann::json Meter(std::string const& file) {
        auto const result = Run("meter --json " + file);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        ExpectValid("meter", result.out);
        return nlohmann::json::parse(result.out)["loudness"];
    }
};

/// A sine at a level, in dBFS, for some seconds.
struct Part {
    double level;
    double seconds;
};
/// Of one channel.
using Parts = std::vector<Part>;

/// Measures sines of the same frequency and phase in all channels, at 48 kHz.
Loudness Measure(std::vector<Parts> const& channels, std::string const& layout, double frequency = 1000,
                 double phase = 0) {
    constexpr int rate = 48000;
    Conf::SampleInfo const info{Conf::SampleFormats::FloatPlanar, rate,
                                *Conf::ChannelLayout::FromName(layout)};
    LoudnessMeter meter(info);
    double time = phase;
    for (std::size_t part = 0; part < channels[0].size(); ++part) {
        auto const count = static_cast<int>(std::lround(channels[0][part].seconds * rate));
        auto const block = Proc::DataAudioFF::CreateBySampleCount(info, count);
        for (std::size_t c = 0; c < channels.size(); ++c) {
            double const peak = std::pow(10, channels[c][part].level / 20);
            auto* const samples = reinterpret_cast<float*>(block->GetAVFrame()->extended_data[c]);
            for (int i = 0; i < count; ++i)
                samples[i] = static_cast<float>(peak * std::sin(time + 2 * M_PI * frequency * i / rate));
        }
        meter.Add(*block);
    }
    return meter.Get().value();
}

/// Minimum requirements of EBU Tech 3341 (cases 1 to 6, 15 and 16) and 3342 (case 1).
TEST_F(LoudnessTool, MeasuresTheSignalsOfTheStandard) {
    Parts const one{{-23, 20}};
    Parts const three{{-36, 10}, {-23, 60}, {-36, 10}};
    Parts const four{{-72, 10}, {-36, 10}, {-23, 60}, {-36, 10}, {-72, 10}};
    Parts const five{{-26, 20}, {-20, 20.1}, {-26, 20}};
    Parts const range{{-20, 20}, {-30, 20}};
    Loudness const first = Measure({one, one}, "stereo");
    std::vector<Parts> const six{{{-28, 20}}, {{-28, 20}}, {{-24, 20}}, {{-30, 20}}, {{-30, 20}}};
    std::vector<Parts> const low{one, one, {{-90, 20}}, {{0, 20}}, {{-90, 20}}, {{-90, 20}}};
    struct {
        char const* name;
        Loudness measured;
        double Loudness::*value;
        double from;
        double to;
    } const cases[] = {
        {"1", first, &Loudness::integrated, -23.1, -22.9},
        {"1", first, &Loudness::shortTermMax, -23.1, -22.9},
        {"1", first, &Loudness::momentaryMax, -23.1, -22.9},
        {"2", Measure({{{-33, 20}}, {{-33, 20}}}, "stereo"), &Loudness::integrated, -33.1, -32.9},
        {"3", Measure({three, three}, "stereo"), &Loudness::integrated, -23.1, -22.9},
        {"4", Measure({four, four}, "stereo"), &Loudness::integrated, -23.1, -22.9},
        {"5", Measure({five, five}, "stereo"), &Loudness::integrated, -23.1, -22.9},
        {"6, surround behind", Measure(six, "5.0"), &Loudness::integrated, -23.1, -22.9},
        {"6, surround at the sides", Measure(six, "5.0(side)"), &Loudness::integrated, -23.1, -22.9},
        {"low frequencies do not count", Measure(low, "5.1"), &Loudness::integrated, -23.1, -22.9},
        {"15", Measure({{{-6.02, 1}}}, "mono", 12000), &Loudness::truePeak, -6.4, -5.8},
        {"16", Measure({{{-6.02, 1}}}, "mono", 12000, M_PI / 4), &Loudness::truePeak, -6.4, -5.8},
        {"range 1", Measure({range, range}, "stereo"), &Loudness::range, 9, 11},
    };
    for (auto const& [name, measured, value, from, to] : cases) {
        EXPECT_GE(measured.*value, from) << name;
        EXPECT_LE(measured.*value, to) << name;
    }
    EXPECT_FALSE(std::isfinite(Measure({{{-20, 0.3}}}, "mono").momentaryMax));
    EXPECT_FALSE(std::isfinite(Measure({{{-20, 2.9}}}, "mono").shortTermMax));
}

TEST_F(LoudnessTool, NormalizesEachStreamAfterItsEffects) {
    // FFmpeg's sine has a level of -18.06 dBFS in one channel, which is -21.1 LUFS.
    MakeFilm("quiet.wav", "-f lavfi -i sine=f=1000:r=48000:d=4,volume=-20dB");
    MakeFilm("loud.wav", "-f lavfi -i sine=f=1000:r=48000:d=4,volume=12dB");
    // Short clicks, which a gain alone would bring far above full scale.
    MakeFilm("clicks.wav", "-f lavfi -i \"aevalsrc='0.05*sin(2*PI*300*t)+0.9*lt(mod(n\\,24000)\\,20)*"
                           "sin(2*PI*11025*t+0.8)':s=44100:d=4\" -c:a pcm_s16le");
    MakeFilm("three.mkv", "-i quiet.wav -i clicks.wav -f lavfi -i anullsrc=d=2 -map 0 -map 1 -map 2 -c copy "
                          "-f matroska");
    auto const notes = RunForNotes("run three.mkv out.mkv --normalize -16LUFS,-2dBTP");
    EXPECT_THAT(notes, HasSubstr("Audio stream 0: raised by 25.1 dB from -41.1 to -16.0 LUFS.\n"));
    EXPECT_THAT(
        notes,
        testing::ContainsRegex(
            "Audio stream 1: raised by [0-9.]+ dB from -2[0-9.]+ to -16.[01] LUFS; limited peaks by up "
            "to [0-9.]+ dB.\n"));
    EXPECT_THAT(notes, HasSubstr("Audio stream 2: left as it is: silent"));
    for (auto const* const stream : {"0:a:0", "0:a:1"}) {
        MakeFilm("one.wav", std::string("-y -i out.mkv -c:a pcm_f32le -map ") + stream);
        auto const loudness = Meter("one.wav");
        EXPECT_NEAR(loudness["integrated"], -16, 0.15) << stream;
        EXPECT_LE(loudness["truePeak"], -2 + 0.02) << stream;
    }
    // What lies between the clicks keeps its shape, and all samples their places.
    EXPECT_EQ(ProbeAudio("clicks.wav"), "pcm_s16le 44100 1 176400");
    RunForNotes("run clicks.wav clicks2.wav --normalize -16LUFS,-2dBTP");
    EXPECT_EQ(ProbeAudio("clicks2.wav"), "pcm_s16le 44100 1 176400");

    // After the effects, whose output is what counts.
    EXPECT_THAT(RunForNotes("run loud.wav soft.flac -e 'compressor threshold=0.01 ratio=20' --normalize -23"),
                testing::ContainsRegex(
                    "Audio: (raised|lowered) by [0-9.]+ dB from -[0-9.]+ to -23.0 LUFS(; limited .*)?.\n"));
    EXPECT_NEAR(Meter("soft.flac")["integrated"], -23, 0.1);
    EXPECT_EQ(RunForNotes("run soft.flac same.flac --normalize -23"),
              "tarsel: note: Audio: left as it is, at -23.0 LUFS.\n");

    std::string const give = "--normalize: give a loudness from -70 to 0 LUFS *";
    MakeSmallFilm();
    ExpectRefusals({
        {"run loud.wav o.wav --normalize loud", 1, give},
        {"run loud.wav o.wav --normalize 3LUFS", 1, give},
        {"run loud.wav o.wav --normalize -16,", 1, give},
        {"run loud.wav o.wav --normalize -16,2dBTP", 1, give},
        {"run film.mp4 o.mp4 --normalize -16", 2, "\"film.mp4\" has no audio*"},
    });
}

} // namespace
} // namespace Tarsel::Tools
