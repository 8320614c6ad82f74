// Names and options of encoders.

#include "Media/EncoderSettings.h"
#include "Media/MediaExceptions.h"
#include "RunFixture.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace Tarsel::Test {
namespace {

using testing::ElementsAre;

class Encoder : public RunFixture {
protected:
    /// The message for an encoder and options of the user's; the input is not even a film.
    std::string Refuse(std::string const& output, std::string const& name,
                       Media::EncoderOptions const& encoderOptions) {
        Write("in.mp4", "nothing to read");
        Media::RunOptions options = Options("in.mp4", output);
        options.videoEncoder = name;
        options.videoEncoderOptions = encoderOptions;
        std::string text = RunForFailure<Media::OptionsException>(options);
        EXPECT_THAT(List(), ElementsAre("in.mp4"));
        return text;
    }
};

TEST_F(Encoder, MistakesAreToldBeforeAnythingIsRead) {
    EXPECT_EQ(Refuse("out.mp4", "libx246", {}),
              "There is no encoder \"libx246\"; near names: libx264, libx265");
    EXPECT_EQ(Refuse("out.mp4", "nonsense", {}), "There is no encoder \"nonsense\"");
    EXPECT_EQ(Refuse("out.mp4", "aac", {}), "The encoder \"aac\" is not for pictures");
    EXPECT_EQ(Refuse("out.mp4", "gif", {}), "The encoder \"gif\" makes gif, which \"out.mp4\" cannot hold");
    EXPECT_EQ(Refuse("out.png", "mjpeg", {}),
              "The encoder \"mjpeg\" makes mjpeg, which \"out.png\" cannot hold");
    EXPECT_EQ(Refuse("out.mp4", "", {{"presset", "fast"}}),
              "The encoder \"libx264\" has no option \"presset\"; near names: preset");
    EXPECT_EQ(Refuse("out.mp4", "", {{"crf", "high"}}),
              "The encoder \"libx264\" cannot take crf=high: Invalid argument; legal: -1 or more");
    EXPECT_EQ(Refuse("out.mp4", "", {{"nal-hrd", "vbrr"}}),
              "The encoder \"libx264\" cannot take nal-hrd=vbrr: Invalid argument; legal: none, vbr, cbr");
    EXPECT_EQ(Refuse("out.mp4", "", {{"qmin", "99"}}),
              "The encoder \"libx264\" cannot take qmin=99: Numerical result out of range; legal: -1 to 69");
    // One that shows only when the encoder opens.
    EXPECT_EQ(Refuse("out.mp4", "", {{"crf", "20"}, {"preset", "fastt"}}),
              "The encoder \"libx264\" does not open with crf=20 preset=fastt: Invalid argument");
}

struct ToldCase {
    char const* encoder;
    Media::EncoderOptions users;
    Media::Quality quality;
    int threads;
    Media::EncoderOptions told;
};

TEST(PictureOptions, AreEffortQualityOwnWaysAndTheUsers) {
    using enum Media::Quality;
    ToldCase const cases[] = {
        {"libx264", {}, VisuallyLossless, 1, {{"preset", "medium"}, {"crf", "18"}}},
        {"libx264", {{"b", "2M"}}, Low, 1, {{"preset", "medium"}, {"b", "2M"}}},
        // The user's comes after and wins.
        {"libx264", {{"preset", "slow"}}, High, 1, {{"preset", "medium"}, {"crf", "20"}, {"preset", "slow"}}},
        {"libx264",
         {{"x264-params", "keyint=9:crf=30"}},
         High,
         1,
         {{"preset", "medium"}, {"x264-params", "keyint=9:crf=30"}}},
        {"mpeg4", {}, VisuallyLossless, 1, {{"flags", "+qscale"}, {"global_quality", "236"}}},
        {"ffv1", {}, VisuallyLossless, 1, {}},
        {"libx265", {}, Medium, 0, {{"x265-params", "log-level=error"}, {"crf", "28"}}},
        {"libx265",
         {{"crf", "20"}, {"x265-params", "pools=7:keyint=9"}},
         Low,
         3,
         {{"x265-params", "log-level=error:pools=3:pools=7:keyint=9"}, {"crf", "20"}}},
        {"libx265",
         {{"x265-params", "keyint=9"}},
         Lossless,
         1,
         {{"x265-params", "log-level=error:pools=none:lossless=1:keyint=9"}}},
    };
    for (ToldCase const& row : cases)
        EXPECT_EQ(Media::MakePictureOptions(*avcodec_find_encoder_by_name(row.encoder), row.users,
                                            row.quality, row.threads),
                  row.told)
            << row.encoder;
}

TEST(EncoderTimeBase, FitsTheCodec) {
    Ratio const fine{1, 90000};
    Ratio const ntsc{30000, 1001};
    EXPECT_EQ(Media::ChooseEncoderTimeBase(AV_CODEC_ID_H264, fine, ntsc), fine);
    EXPECT_EQ(Media::ChooseEncoderTimeBase(AV_CODEC_ID_MPEG4, fine, ntsc), (Ratio{1001, 30000}));
    EXPECT_EQ(Media::ChooseEncoderTimeBase(AV_CODEC_ID_MPEG4, {1, 12800}, ntsc), (Ratio{1, 12800}));
    EXPECT_EQ(Media::ChooseEncoderTimeBase(AV_CODEC_ID_MPEG2VIDEO, {1, 12800}, ntsc), (Ratio{1001, 30000}));
    EXPECT_EQ(Media::ChooseEncoderTimeBase(AV_CODEC_ID_MPEG2VIDEO, fine, {0, 1}), (Ratio{1, 25}));
}

} // namespace
} // namespace Tarsel::Test
