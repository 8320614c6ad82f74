#include "Tarsel/Tool.h"
#include "Tools/Tarsel/Audio/Loudness.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace Tarsel::Tools {
namespace {

using testing::HasSubstr;

using MeterTool = Tool;

nlohmann::json ReadJson(ProcessResult const& result) {
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return nlohmann::json::parse(result.out);
}

TEST_F(MeterTool, ShowsPeakAndRmsOfEachChannel) {
    // A sine of 1/8, a wave that is never above 0, silence.
    MakeFilm("wave.wav",
             R"(-f lavfi -i "aevalsrc='sin(2*PI*100*t)/8|-0.5*lt(t\,0.5)|0':s=8000:d=1.25:c=2.1" )"
             "-c:a pcm_f32le");
    auto const result = Run("meter wave.wav --interval 0.5");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "wave.wav: 8000 Hz flt 2.1, levels in dBFS\n\n"
              "                         FL              FR             LFE\n"
              "       from    peak     rms    peak     rms    peak     rms\n"
              "     0:00.0   -18.1   -21.1    -6.0    -6.0    -inf    -inf\n"
              "     0:00.5   -18.1   -21.1    -inf    -inf    -inf    -inf\n"
              "     0:01.0   -18.1   -21.1    -inf    -inf    -inf    -inf\n"
              "        all   -18.1   -21.1    -6.0   -10.0    -inf    -inf\n" +
                  std::string(LoudnessMeter::IsAvailable() ? "\nLoudness (EBU R 128, ITU-R BS.1770-4)\n"
                                                             "  integrated       -22.4 LUFS\n"
                                                             "  short-term max    -inf LUFS\n"
                                                             "  momentary max    -22.2 LUFS\n"
                                                             "  range              0.0 LU\n"
                                                             "  true peak         -5.0 dBTP\n"
                                                           : ""));

    auto const json = ReadJson(Run("meter wave.wav --json --interval 0.5"));
    EXPECT_EQ(json["samples"], 10000);
    EXPECT_EQ(json["seconds"], 1.25);
    ASSERT_EQ(json["rows"].size(), 3U);
    EXPECT_EQ(json["rows"][2]["start"], 1.0);
    EXPECT_EQ(json["rows"][2]["samples"], 2000);
    auto const levels = json["whole"]["levels"];
    EXPECT_NEAR(levels[0]["peak"].get<double>(), 0.125, 1e-6);
    EXPECT_NEAR(levels[0]["peakDb"].get<double>(), 20 * std::log10(0.125), 1e-5);
    EXPECT_NEAR(levels[1]["rms"].get<double>(), std::sqrt(0.25 * 0.4), 1e-9);
    EXPECT_TRUE(levels[2]["peakDb"].is_null());

    auto const part = ReadJson(Run("meter wave.wav --json --from 0.375 --duration 0.25"));
    EXPECT_EQ(part["samples"], 2000);
    EXPECT_NEAR(part["whole"]["levels"][1]["rms"].get<double>(), std::sqrt(0.25 * 0.5), 1e-9);
}

TEST_F(MeterTool, MeasuresFilmsLayoutsWithoutANameAndNothing) {
    MakeFilm("film.mp4", "-f lavfi -i testsrc2=size=64x48:duration=1 -f lavfi -i sine=duration=1 -c:a aac");
    EXPECT_NEAR(ReadJson(Run("meter film.mp4 --json"))["whole"]["levels"][0]["rmsDb"].get<double>(), -21.1,
                0.3);
    MakeFilm("many.wav", "-f lavfi -i 'aevalsrc=0|0|0|0|0|0|0|0|0.5:s=8000:d=0.1'");
    auto const many = ReadJson(Run("meter many.wav --json"));
    EXPECT_EQ(many["channels"][8], "9");
    EXPECT_NEAR(many["whole"]["levels"][8]["peak"].get<double>(), 0.5, 1e-4);
    MakeFilm("none.wav", "-f lavfi -i anullsrc -t 0");
    auto const nothing = ReadJson(Run("meter none.wav --json"));
    EXPECT_EQ(nothing["rows"].size(), 0U);
    EXPECT_TRUE(nothing["whole"]["levels"][0]["rmsDb"].is_null());
}

/// The kinds of pixels of a picture in RGB from top to bottom: blue and light blue, red and light red,
/// others.
std::string ReadColumn(std::string const& picture, std::size_t width, std::size_t column) {
    std::string kinds;
    for (std::size_t at = 3 * column; at < picture.size(); at += 3 * width) {
        auto const red = static_cast<unsigned char>(picture[at]);
        auto const blue = static_cast<unsigned char>(picture[at + 2]);
        kinds += blue > 220 ? 'B' : blue > 150 ? 'b' : red > 220 ? 'R' : red > 150 ? 'r' : '.';
    }
    return kinds;
}

TEST_F(MeterTool, DrawsRangeAndRmsOfEachLane) {
    // Two samples a column; shorter audio than columns is stretched.
    MakeFilm("wave.wav",
             "-f lavfi -i \"aevalsrc='if(lt(n\\,16)\\,0\\,if(lt(n\\,24)\\,0.5\\,if(mod(n\\,2)\\,-0.5\\,"
             "1)))|if(mod(n\\,2)\\,-0.9\\,0)*gte(n\\,24)':s=8000,atrim=end_sample=32\" -c:a pcm_f32le");
    auto const draw = [&](std::string const& options) {
        auto const result = Run("meter wave.wav --png wave.png --overwrite " + options);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_THAT(result.out, HasSubstr("\n        all"));
        return Decode("wave.png", "-pix_fmt rgb24 -f rawvideo");
    };
    auto const picture = draw("--size 16x20");
    EXPECT_EQ(ReadColumn(picture, 16, 7), "....................");
    EXPECT_EQ(ReadColumn(picture, 16, 8), "..BBBB..............");
    EXPECT_EQ(ReadColumn(picture, 16, 12), "rRRRRRRR.......BBBbb");
    EXPECT_EQ(ReadColumn(draw("--size 64x20"), 64, 63), ".....BBB.......BBBBB");
    EXPECT_EQ(draw("").size(), 1280 * 2 * 160 * 3U);
    EXPECT_THAT(ListFolder(), testing::ElementsAre("wave.png", "wave.wav"));
}

TEST_F(MeterTool, RefusesWhatCannotBe) {
    MakeFilm("wave.wav", "-f lavfi -i sine=duration=0.1");
    WriteFile("old.png", "precious");
    ExpectRefusals({
        {"meter no.wav", 2, "Cannot open \"no.wav\": No such file or directory"},
        {"meter wave.wav --interval nan", 1,
         "--interval: give a time in seconds from 0.001 to 86400, not \"nan\"\n*"},
        {"meter wave.wav --size 20x20", 1, "Add --png FILE: --size needs it\n*"},
        {"meter wave.wav --png w.png --size 20", 1,
         "--size: give WxH, such as 1280x320, each from 16 to 8192, not \"20\""},
        {"meter wave.wav --png old.png", 1, "Add --overwrite: \"old.png\" exists already"},
        {"meter wave.wav --png wave.wav --overwrite", 1, "Cannot write \"wave.wav\": it is the input"},
        {"meter wave.wav --png w.mp4", 1,
         "Cannot write \"w.mp4\": choose the extension of an image, such as .png"},
        {"meter wave.wav --png no/w.png", 4, "Cannot write \"no/w.png\": there is no folder \"no\""},
    });
}

} // namespace
} // namespace Tarsel::Tools
