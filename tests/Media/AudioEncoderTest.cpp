// What encoders get of sound, and which they are.

#include "Media/Codec/AudioEncoderChoice.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/MediaExceptions.h"
#include "ReadAudio.h"
#include "RunFixture.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace Tarsel::Test {
namespace {

using Conf::ChannelLayout;
using Conf::SampleFormats;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

TEST(AudioFormat, IsTheNearestThatLosesNothing) {
    using enum SampleFormats;
    struct {
        std::vector<SampleFormats> legal;
        SampleFormats wanted;
        int depth;
        SampleFormats chosen;
    } const cases[] = {
        {{}, DoublePlanar, 16, DoublePlanar},
        {{S16, S32}, S16, 16, S16},
        {{S16, S32}, S32Planar, 24, S32},
        {{S16, S32}, S32, 16, S32}, // it may hold more than the input did
        {{S16, S32}, FloatPlanar, 16, S16},
        {{S16, S32}, Float, 24, S32},
        {{S32Planar, FloatPlanar, S16Planar}, U8, 8, S16Planar},
        {{S32Planar, FloatPlanar, S16Planar}, Double, 16, FloatPlanar},
        {{S16, Float}, S32, 24, Float},
        {{S16}, S32, 24, S16},
        {{U8}, Float, 16, U8},
    };
    for (auto const& row : cases)
        EXPECT_EQ(Media::ChooseSampleFormat(row.legal, row.wanted, row.depth), row.chosen)
            << "row " << &row - cases;
}

TEST(AudioFormat, RatesAndLayoutsGoUpBeforeTheyGoDown) {
    std::vector<std::int32_t> const rates{48000, 24000, 16000};
    EXPECT_EQ(Media::ChooseSampleRate(rates, 24000), 24000);
    EXPECT_EQ(Media::ChooseSampleRate(rates, 22050), 24000);
    EXPECT_EQ(Media::ChooseSampleRate(rates, 96000), 48000);
    EXPECT_EQ(Media::ChooseSampleRate({}, 12345), 12345);
    auto const layout = [](char const* name) { return *ChannelLayout::FromName(name); };
    std::vector<ChannelLayout> const legal{layout("mono"), layout("stereo"), layout("5.1")};
    EXPECT_THAT(Media::RankLayouts(legal, layout("5.1(side)")),
                ElementsAre(layout("5.1"), layout("stereo"), layout("mono")));
    EXPECT_THAT(Media::RankLayouts(legal, layout("2.1")),
                ElementsAre(layout("5.1"), layout("stereo"), layout("mono")));
    ChannelLayout const unnamed{0, 2};
    EXPECT_THAT(Media::RankLayouts({}, unnamed), ElementsAre(unnamed, layout("stereo"), layout("mono")));
}

TEST(AudioDefaults, GiveWayToTheUsersQuality) {
    AVCodec const& aac = *avcodec_find_encoder_by_name("aac");
    EXPECT_THAT(Media::MakeAudioOptions(aac, 2, {}, Media::Quality::VisuallyLossless),
                ElementsAre(Pair("b", "192000")));
    EXPECT_THAT(Media::MakeAudioOptions(aac, 6, {}, Media::Quality::VisuallyLossless),
                ElementsAre(Pair("b", "576000")));
    EXPECT_THAT(Media::MakeAudioOptions(aac, 2, {{"b", "64k"}}, Media::Quality::VisuallyLossless), IsEmpty());
    EXPECT_THAT(Media::MakeAudioOptions(*avcodec_find_encoder_by_name("libmp3lame"), 2, {},
                                        Media::Quality::VisuallyLossless),
                ElementsAre(Pair("flags", "+qscale"), Pair("global_quality", "236")));
    EXPECT_THAT(Media::MakeAudioOptions(*avcodec_find_encoder_by_name("flac"), 2, {},
                                        Media::Quality::VisuallyLossless),
                IsEmpty());
}

class AudioEncoders : public RunFixture {};

TEST_F(AudioEncoders, MistakesAreToldBeforeAnythingIsRead) {
    Write("in.mp4", "nothing to read");
    struct {
        char const* output;
        char const* encoder;
        Media::EncoderOptions options;
        char const* text;
    } const cases[] = {
        {"out.mp4", "libmp3lam", {}, "There is no encoder \"libmp3lam\"; near names: libmp3lame"},
        {"out.mp4", "libx264", {}, "The encoder \"libx264\" is not for sound"},
        {"out.mp4", "pcm_u8", {}, "The encoder \"pcm_u8\" makes pcm_u8, which \"out.mp4\" cannot hold"},
        {"out.mp3", "aac", {}, "The encoder \"aac\" makes aac, which \"out.mp3\" cannot hold"},
        {"out.mp4", "", {{"bb", "1"}}, "The encoder \"aac\" has no option \"bb\"; near names: ab, b, bf, bt"},
        {"out.opus",
         "",
         {{"vbr", "x"}},
         "The encoder \"libopus\" cannot take vbr=x: Invalid argument; legal"},
        {"out.ogg",
         "libopus",
         {{"frame_duration", "7"}},
         "The encoder \"libopus\" does not open with frame_duration=7: Invalid argument"},
        {"out.gif", "aac", {}, "The encoder \"aac\" makes aac, which \"out.gif\" cannot hold"},
    };
    for (auto const& row : cases) {
        Media::RunOptions options = AudioOptions("in.mp4", row.output, {});
        options.audioEncoder = row.encoder;
        options.audioEncoderOptions = row.options;
        EXPECT_THAT(RunForFailure<Media::OptionsException>(options), HasSubstr(row.text));
    }
    EXPECT_THAT(List(), ElementsAre("in.mp4"));
}

// A codec stays what it was where the container takes it; elsewhere the usual one of the container.
TEST_F(AudioEncoders, UsualOnesOfContainers) {
    Make(File("in.wav"), "-f lavfi -i sine=d=0.2:r=44100 -ac 2");
    Make(File("in.ogg"), "-f lavfi -i sine=d=0.2:r=44100 -ac 2 -c:a libvorbis");
    struct {
        char const* input;
        char const* output;
        char const* encoder;
        int rate;
    } const cases[] = {
        {"in.wav", "out.mp4", "aac", 44100},         {"in.wav", "out.m4a", "aac", 44100},
        {"in.wav", "out.mkv", "pcm_s16le", 44100},   {"in.wav", "out.mov", "pcm_s16le", 44100},
        {"in.wav", "out.webm", "libopus", 48000},    {"in.wav", "out.ogg", "libvorbis", 44100},
        {"in.wav", "out.opus", "libopus", 48000},    {"in.wav", "out.mp3", "libmp3lame", 44100},
        {"in.wav", "out.aac", "aac", 44100},         {"in.wav", "out.ac3", "ac3", 44100},
        {"in.wav", "out.w64", "pcm_s16le", 44100},   {"in.wav", "out.au", "pcm_s16be", 44100},
        {"in.wav", "out.wv", "wavpack", 44100},      {"in.wav", "out.mp2", "mp2", 44100},
        {"in.wav", "out.avi", "pcm_s16le", 44100},   {"in.wav", "out.flv", "pcm_s16le", 44100},
        {"in.wav", "out.ts", "aac", 44100},          {"in.ogg", "out.mka", "libvorbis", 44100},
        {"in.ogg", "out2.webm", "libvorbis", 44100}, {"in.ogg", "out2.mp4", "aac", 44100},
        {"in.ogg", "out2.flac", "flac", 44100},      {"in.ogg", "out2.wav", "pcm_s16le", 44100},
    };
    for (auto const& row : cases) {
        SCOPED_TRACE(row.output);
        Media::RunResult const result = Media::Run(AudioOptions(row.input, row.output));
        EXPECT_THAT(result.audioEncoders, ElementsAre(row.encoder));
        AudioRecord const out = ReadAudio(File(row.output));
        EXPECT_EQ(out.rate, row.rate);
        EXPECT_EQ(out.channels, 2);
        EXPECT_NEAR(out.GetDuration(), 0.2, 0.1); // of raw files nothing tells priming and padding
        EXPECT_EQ(result.notes, row.rate == 44100
                                    ? std::vector<std::string>()
                                    : std::vector<std::string>{"Sound was converted from 44100 Hz to 48000 "
                                                               "Hz for the encoder libopus."});
    }
}

// 16 bits stay 16 in whatever a chain works, unless it says that more are wanted; what is lost is told.
TEST_F(AudioEncoders, HoldTheDepthThatIsWanted) {
    Make(File("in.wav"), "-f lavfi -i sine=d=0.1");
    Make(File("in24.wav"), "-f lavfi -i sine=d=0.1 -c:a pcm_s24le");
    struct {
        char const* input;
        SampleFormats format;
        int depth;
        char const* output;
        char const* encoder;
        char const* note;
    } const cases[] = {
        {"in.wav", SampleFormats::Double, 0, "out.wav", "pcm_s16le", ""},
        {"in.wav", SampleFormats::S32, 32, "out.wav", "pcm_s32le", ""},
        {"in.wav", SampleFormats::FloatPlanar, 32, "out.mka", "pcm_f32le", ""},
        {"in.wav", SampleFormats::Double, 64, "out.aiff", "pcm_f64be", ""},
        {"in.wav", SampleFormats::S32, 32, "out.flac", "flac",
         "Sound of 32 bits was cut to 24 for the encoder flac."},
        {"in.wav", SampleFormats::S32, 32, "out.wv", "wavpack", ""},
        {"in24.wav", SampleFormats::Double, 0, "out.wav", "pcm_s24le", ""},
        {"in24.wav", SampleFormats::S16, 16, "out.wav", "pcm_s16le", ""},
        {"in24.wav", SampleFormats::Double, 0, "out.mp3", "libmp3lame", ""},
    };
    for (auto const& row : cases) {
        SCOPED_TRACE(std::string(row.input) + " " + row.output + " " + row.encoder);
        Media::RunOptions options =
            AudioOptions(row.input, row.output, [&](Media::AudioStreamInfo const& info) {
                Media::AudioEffects chain = AudioThrough()(info);
                chain.output.format = row.format;
                chain.depth = row.depth;
                return chain;
            });
        options.overwrite = true;
        Media::RunResult const result = Media::Run(options);
        EXPECT_THAT(result.audioEncoders, ElementsAre(row.encoder));
        std::string told;
        for (std::string const& note : result.notes)
            if (note.find(" bits was cut") != std::string::npos)
                told = note;
        EXPECT_EQ(told, row.note);
    }
    Media::RunOptions options = AudioOptions("in24.wav", "named.wav");
    options.audioEncoder = "pcm_s16le";
    EXPECT_THAT(Media::Run(options).notes,
                ElementsAre("Sound of 24 bits was cut to 16 for the encoder pcm_s16le."));
}

TEST_F(AudioEncoders, OfTelephonesAreTriedWithWhatComes) {
    Make(File("in.wav"), "-f lavfi -i sine=d=0.2:r=8000");
    Make(File("in11.wav"), "-f lavfi -i sine=d=0.2:r=11025");
    struct {
        char const* input;
        char const* encoder;
        char const* output;
    } const cases[] = {{"in.wav", "g726", "out2.mka"},
                       {"in.wav", "g723_1", "out.mka"},
                       {"in.wav", "nellymoser", "out.flv"},
                       {"in11.wav", "adpcm_swf", "out2.flv"}};
    for (auto const& row : cases) {
        SCOPED_TRACE(row.encoder);
        Media::RunOptions options = AudioOptions(row.input, row.output);
        options.audioEncoder = row.encoder;
        EXPECT_THAT(Media::Run(options).audioEncoders, ElementsAre(row.encoder));
        EXPECT_GT(ReadMedia(File(row.output)).Of("audio").at(0).packets.size(), 0U);
    }
}

TEST_F(AudioEncoders, TakeTheLayoutsThatThereAre) {
    struct {
        char const* layout;
        char const* output;
        int channels;
    } const cases[] = {{"mono", "out.m4a", 1},     {"5.1", "out.m4a", 6},  {"7.1", "out.flac", 8},
                       {"5.1", "out.mp3", 2},      {"2.1", "out.mp3", 2},  {"5.1(side)", "out.opus", 6},
                       {"7.1", "out.ac3", 6},      {"quad", "out.ogg", 4}, {"6.1", "out.wav", 7},
                       {"5.0(side)", "out.mka", 5}};
    for (auto const& row : cases) {
        SCOPED_TRACE(std::string(row.layout) + " " + row.output);
        Make(File("in.wav"), std::string("-f lavfi -i anoisesrc=d=0.2:a=0.1 -c:a pcm_s16le -af "
                                         "aformat=channel_layouts=") +
                                 row.layout);
        Media::RunOptions options = AudioOptions("in.wav", row.output);
        options.overwrite = true;
        Media::RunResult const result = Media::Run(options);
        EXPECT_EQ(ReadAudio(File(row.output)).channels, row.channels);
        bool const changes = ReadAudio(File("in.wav")).channels != row.channels;
        EXPECT_EQ(result.notes.size(), changes ? 1U : 0U);
    }
}

} // namespace
} // namespace Tarsel::Test
