#include "Tools/Tarsel/FrameText.h"

#include "Support/Failure.h"
#include "Tools/Tarsel/UsageException.h"

#include <gtest/gtest.h>

namespace Tarsel::Tools {
namespace {

TEST(FrameText, ReadsSizeFormatAndAspect) {
    FrameText const plain = ParseFrameText("1920x1080:yuv420p");
    EXPECT_EQ(plain.frame, (Conf::FrameInfo{1920, 1080, 1, 1}));
    EXPECT_EQ(plain.format, Conf::PixFmt::YUV420P);
    FrameText const wide = ParseFrameText("1x65535:pal8:16/15");
    EXPECT_EQ(wide.frame, (Conf::FrameInfo{1, 65535, 16, 15}));
    EXPECT_EQ(wide.format, Conf::PixFmt::PAL8);
}

TEST(FrameText, SaysWhichPartIsWrong) {
    std::string const size = "is not WIDTHxHEIGHT, each from 1 to 65535";
    std::string const aspect = "is not NUM/DEN, each from 1 to 2147483647";
    struct Case {
        char const* text;
        std::string reason;
    };
    for (Case const& c : {
             Case{"", "is not WIDTHxHEIGHT:FORMAT[:NUM/DEN], for example 1920x1080:yuv420p"},
             Case{"1920x1080", "is not WIDTHxHEIGHT:FORMAT[:NUM/DEN], for example 1920x1080:yuv420p"},
             Case{"1920:yuv420p", "the size \"1920\" " + size},
             Case{"0x4:yuv420p", "the size \"0x4\" " + size},
             Case{"4x65536:yuv420p", "the size \"4x65536\" " + size},
             Case{"4x4x4:yuv420p", "the size \"4x4x4\" " + size},
             Case{" 4x4:yuv420p", "the size \" 4x4\" " + size},
             Case{"4x4:yuv", "\"yuv\" is no pixel format that FFmpeg knows"},
             Case{"4x4:vaapi",
                  "frames of the pixel format \"vaapi\" do not lie in memory as effects need them"},
             Case{"4x4:rgb24:1", "the pixel aspect \"1\" " + aspect},
             Case{"4x4:rgb24:1/0", "the pixel aspect \"1/0\" " + aspect},
             Case{"4x4:rgb24:1/1:", "the pixel aspect \"1/1:\" " + aspect},
         })
        EXPECT_EQ(Tarsel::Test::TextOf<UsageException>([&] { (void)ParseFrameText(c.text); }),
                  "--frame \"" + std::string(c.text) + "\": " + c.reason);
}

TEST(FrameText, ReadsSound) {
    auto const info = ParseSampleText("48000:fltp:5.1");
    EXPECT_EQ(info, Conf::SampleInfo::Init(Conf::SampleFormats::FloatPlanar, 48000,
                                           *Conf::ChannelLayout::FromName("5.1")));
    struct Case {
        char const* text;
        std::string reason;
    };
    for (Case const& c : {
             Case{"48000:fltp", "is not RATE:FORMAT:LAYOUT, for example 48000:fltp:stereo"},
             Case{"0:fltp:stereo", "the rate \"0\" is no number from 1 to 2147483647"},
             Case{"48000:float:stereo", "\"float\" is no sample format that effects take"},
             Case{"48000:fltp:surround", "\"surround\" is no channel layout that FFmpeg knows"},
         })
        EXPECT_EQ(Tarsel::Test::TextOf<UsageException>([&] { (void)ParseSampleText(c.text); }),
                  "--audio \"" + std::string(c.text) + "\": " + c.reason);
}

} // namespace
} // namespace Tarsel::Tools
