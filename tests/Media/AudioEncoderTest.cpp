// What encoders get of audio.

#include "Media/Codec/AudioEncoderChoice.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/Codec/EncoderSettings.h"

#include <gmock/gmock.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace Tarsel::Test {
namespace {

using Conf::ChannelLayout;
using Conf::SampleFormats;
using testing::ElementsAre;

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
    struct {
        char const* encoder;
        int channels;
        Media::EncoderOptions users;
        Media::EncoderOptions made;
    } const cases[] = {{"aac", 2, {}, {{"b", "192000"}}},
                       {"aac", 6, {}, {{"b", "576000"}}},
                       {"aac", 2, {{"b", "64k"}}, {}},
                       {"libmp3lame", 2, {}, {{"flags", "+qscale"}, {"global_quality", "236"}}},
                       {"flac", 2, {}, {}}};
    for (auto const& row : cases)
        EXPECT_EQ(Media::MakeAudioOptions(*avcodec_find_encoder_by_name(row.encoder), row.channels, row.users,
                                          Media::Quality::VisuallyLossless),
                  row.made)
            << row.encoder;
}

} // namespace
} // namespace Tarsel::Test
