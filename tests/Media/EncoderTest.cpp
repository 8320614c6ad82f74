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
using testing::IsEmpty;
using testing::Pair;

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

TEST(EncoderDefaults, GiveWayToTheUsersQuality) {
    AVCodec const& x264 = *avcodec_find_encoder_by_name("libx264");
    EXPECT_THAT(Media::ChooseDefaults(x264, {}), ElementsAre(Pair("preset", "medium"), Pair("crf", "18")));
    EXPECT_THAT(Media::ChooseDefaults(x264, {{"b", "2M"}}), ElementsAre(Pair("preset", "medium")));
    EXPECT_THAT(Media::ChooseDefaults(x264, {{"preset", "slow"}}),
                ElementsAre(Pair("preset", "medium"), Pair("crf", "18"))); // the user's comes after and wins
    AVCodec const& mpeg4 = *avcodec_find_encoder_by_name("mpeg4");
    EXPECT_THAT(Media::ChooseDefaults(mpeg4, {}),
                ElementsAre(Pair("flags", "+qscale"), Pair("global_quality", "236")));
    EXPECT_THAT(Media::ChooseDefaults(*avcodec_find_encoder_by_name("ffv1"), {}), IsEmpty());
}

TEST(TameEncoder, HoldsThoseWithThreadsAndLogsOfTheirOwn) {
    AVCodec const& x265 = *avcodec_find_encoder_by_name("libx265");
    Media::EncoderOptions const users{{"crf", "20"}, {"x265-params", "pools=7:keyint=9"}};
    EXPECT_THAT(Media::TameEncoder(x265, {}, 0), ElementsAre(Pair("x265-params", "log-level=error")));
    EXPECT_THAT(Media::TameEncoder(x265, {}, 1),
                ElementsAre(Pair("x265-params", "log-level=error:pools=none")));
    EXPECT_THAT(
        Media::TameEncoder(x265, users, 3),
        ElementsAre(Pair("crf", "20"), Pair("x265-params", "log-level=error:pools=3:pools=7:keyint=9")));
    EXPECT_EQ(Media::TameEncoder(*avcodec_find_encoder_by_name("libx264"), users, 1), users);
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
