#include "Conf/FormatCodecVideo.h"

#include <gmock/gmock.h>

namespace Tarsel::Conf {

namespace {

TEST(FormatCodecTest, VideoKeepsRateGeometryAndMatrix) {
    SP<IFormatCodecVideo> const codec =
        MakeSP<FormatCodecVideo>(PixFmt::NV12, FrameInfo{640, 480, 4, 0}, Ratio{30000, 1001});
    EXPECT_EQ((*codec)[IFormatCodecVideo::TAG_FPS].GetRatio(), (Ratio{30000, 1001}));
    EXPECT_EQ(codec->GetFrameInfo(), (FrameInfo{640, 480, 0, 1}));

    codec->InitByPixelAspect(720, 576, 32, 30);
    EXPECT_EQ(codec->GetFrameInfo(), (FrameInfo{720, 576, 32, 30}));
    codec->InitByPixelAspect(720, 576, 0, 30);
    EXPECT_EQ(codec->GetFrameInfo(), (FrameInfo{720, 576, 0, 1}));
    EXPECT_EQ(codec->GetPixelFormat(), PixFmt::NV12);

    EXPECT_FALSE(codec->ExistsDisplayMatrix());
    EXPECT_EQ(codec->GetDisplayMatrix(), DisplayMatrix::s_default);
    codec->SetDisplayMatrix(DisplayMatrix::s_default);
    EXPECT_TRUE(codec->ExistsDisplayMatrix());

    // A rate nobody gave is unknown, not missing.
    EXPECT_EQ(FormatCodecVideo()[IFormatCodecVideo::TAG_FPS].GetRatio(), Ratio{});
}

} // namespace

} // namespace Tarsel::Conf
