#include "Conf/AudioTime.h"
#include "Conf/FFmpegFormats.h"

#include <gmock/gmock.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Conf {

void PrintTo(ChannelLayout const& layout, std::ostream* stream) {
    *stream << std::hex << "0x" << layout.mask << " of " << std::dec << int(layout.channels);
}

namespace {

TEST(AudioFormatsTest, SampleFormats) {
    for (std::uint32_t number = 0; number < 10; ++number) {
        auto const format = static_cast<SampleFormats>(number);
        SampleFmtRecord const& record = SampleFmtRecord::Find(format);
        AVSampleFormat const same = av_get_sample_fmt(std::string(record.name).c_str());
        EXPECT_EQ(SampleFormatFFMPEGFromTarsel(format), same) << number;
        EXPECT_EQ(SampleFormatTarselFromFFMPEG(same), format);
        EXPECT_EQ(SampleFmtRecord::FindByName(record.name), format);
        EXPECT_EQ(record.size, av_get_bytes_per_sample(same)) << record.name;
        EXPECT_EQ(record.planar, av_sample_fmt_is_planar(same) != 0) << record.name;
        EXPECT_EQ(SampleFormatFFMPEGFromTarsel(record.planarCounterpart), av_get_planar_sample_fmt(same));
    }
}

TEST(AudioFormatsTest, UnknownSampleFormats) {
    for (auto const number : {-1, int{AV_SAMPLE_FMT_S64}, int{AV_SAMPLE_FMT_S64P}, 4711}) {
        auto const format = static_cast<SampleFormats>(number);
        EXPECT_EQ(SampleFmtRecord::Find(format).name, "unknown") << number;
        EXPECT_EQ(SampleFormatTarselFromFFMPEG(number), SampleFormats::Unknown) << number;
        EXPECT_EQ(SampleFormatFFMPEGFromTarsel(format), -1) << number;
    }
    for (char const* name : {"", "unknown", "s64", "FLTP"})
        EXPECT_FALSE(SampleFmtRecord::FindByName(name)) << name;
}

TEST(AudioFormatsTest, ChannelLayoutsByName) {
    for (auto const& [name, layout] : {std::pair{"stereo", ChannelLayout{AV_CH_LAYOUT_STEREO, 2}},
                                       {"5.1", {AV_CH_LAYOUT_5POINT1_BACK, 6}},
                                       {"3 channels", {0, 3}},
                                       {"255 channels", {0, 255}}}) {
        EXPECT_EQ(layout.GetName(), name);
        EXPECT_EQ(ChannelLayout::FromName(name), layout) << name;
    }
    for (auto const& [name, layout] : {std::pair{"FL+FR", ChannelLayout{3, 2}},
                                       {"0x3", {3, 2}},
                                       {"2c", {3, 2}},
                                       {"FR+FL", {0, 2}},
                                       {"ambisonic 1", {0, 4}}})
        EXPECT_EQ(ChannelLayout::FromName(name), layout) << name;
    for (char const* name : {"", "stereoo", "0 channels", "0x0", "-1c", "256 channels"})
        EXPECT_FALSE(ChannelLayout::FromName(name)) << name;
    EXPECT_GT(ChannelLayout::FromMask(~std::uint64_t{0}).GetName().size(), 200U);
}

TEST(AudioFormatsTest, ChannelLayoutsToAndFromFFmpeg) {
    EXPECT_EQ(ChannelLayout::FromCount(6), (ChannelLayout{AV_CH_LAYOUT_5POINT1_BACK, 6}));
    EXPECT_EQ(ChannelLayout::FromCount(23), (ChannelLayout{0, 23}));
    EXPECT_EQ(AVChannelLayoutMaskFromTarsel({AV_CH_LAYOUT_2_1, 3}), AV_CH_LAYOUT_2_1);
    EXPECT_EQ(AVChannelLayoutMaskFromTarsel({0, 2}), AV_CH_LAYOUT_STEREO);

    AVChannelLayout many{};
    many.order = AV_CHANNEL_ORDER_UNSPEC;
    many.nb_channels = 300;
    EXPECT_EQ(TarselFromAVChannelLayout(many), ChannelLayout{});

    // Channels listed one by one, in the order that masks have too.
    AVChannelCustom channels[2]{};
    channels[0].id = AV_CHAN_FRONT_LEFT;
    channels[1].id = AV_CHAN_BACK_CENTER;
    AVChannelLayout listed{};
    listed.order = AV_CHANNEL_ORDER_CUSTOM;
    listed.nb_channels = 2;
    listed.u.map = channels;
    EXPECT_EQ(TarselFromAVChannelLayout(listed), (ChannelLayout{AV_CH_FRONT_LEFT | AV_CH_BACK_CENTER, 2}));
    channels[1].id = AV_CHAN_UNKNOWN;
    EXPECT_EQ(TarselFromAVChannelLayout(listed), (ChannelLayout{0, 2}));
}

TEST(AudioTimeTest, DoesNotDrift) {
    AudioTime time;
    EXPECT_EQ(time.GetTime(), 0);
    // A year in blocks of 3 samples would drift by hours, each rounded by itself.
    for (int i = 0; i < 1000000; ++i)
        time.AddSamples(44100, 3);
    EXPECT_EQ(time.GetTime(), 68027211); // 3,000,000 / 44,100 s = 68,027,210.88 us
    time.AddSamples(44100, 44100LL * 86400 * 365 * 1000);
    EXPECT_EQ(time.GetTime(), 68027211 + 31536000000000000);
    AudioTime later(-5);
    later.AddSamples(48000, 24);
    EXPECT_EQ(later.GetTime(), 495);
}

TEST(AudioTimeTest, KeepsPartsOfAMicrosecondWhenTheRateChanges) {
    AudioTime time;
    for (int i = 0; i < 300000; ++i)
        time.AddSamples(i % 2 == 0 ? 3 : 6, 1); // 1/3 s and 1/6 s
    EXPECT_EQ(time.GetTime(), 75000000000);
    time.AddSamples(0, 1000);
    time.AddSamples(-1, 1000);
    EXPECT_EQ(time.GetTime(), 75000000000);
}

TEST(AudioTimeTest, RoundsToTheNearest) {
    EXPECT_EQ(GetDuration(2000000, 1), 1); // half a microsecond
    EXPECT_EQ(GetDuration(2147483647, 1073), 0);
    EXPECT_EQ(GetDuration(2147483647, 1074), 1);
    EXPECT_EQ(GetDuration(44100, 1024), 23220);
    EXPECT_EQ(GetDuration(0, 1024), 0);
}

} // namespace

} // namespace Tarsel::Conf
