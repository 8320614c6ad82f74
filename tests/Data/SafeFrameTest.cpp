#include "Core/CoreExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/AVFrameWrapper.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Support/AllocationLimit.h"
#include "Support/Failure.h"
#include "Support/Planes.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <string>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

namespace {

using namespace Tarsel::Test;

void ExpectNoMemory(char const* what, std::size_t blockSize, std::function<void()> const& action) {
    try {
        action();
        ADD_FAILURE() << what;
    } catch (Core::MemoryException const& exception) {
        EXPECT_EQ(exception.what(), std::string("Unable to allocate memory for AVFrame ") + what);
        unsigned const* const size = boost::get_error_info<Core::MemoryException::TagBlockSize>(exception);
        ASSERT_NE(size, nullptr);
        EXPECT_EQ(*size, blockSize);
    }
}

TEST(SafeFrameTest, WithoutMemory) {
    SafeFrame const picture = MakeNoise(Conf::PixFmt::YUV420P, 640, 480);
    SafeFrame shared = SafeFrame::Reference(*picture);
    {
        AllocationLimit const limit(20000);
        ExpectNoMemory("buffers", 460800, [] { SafeFrame({}, Conf::PixFmt::YUV420P, 640, 480, 1, 1); });
        ExpectNoMemory("buffers", 460800, [&] { shared.MakeWritable(); });
    }
    AllocationLimit const limit(100);
    ExpectNoMemory("struct", sizeof(AVFrame), [] { SafeFrame const frame; });
}

TEST(SafeFrameTest, ImpossiblePictures) {
    struct {
        int format;
        std::uint32_t width, height;
    } const cases[] = {{-1, 64, 48},
                       {9999, 64, 48},
                       {AV_PIX_FMT_VAAPI, 64, 48},
                       {AV_PIX_FMT_RGB24, 0, 48},
                       {AV_PIX_FMT_RGB24, 64, 0},
                       {AV_PIX_FMT_RGB24, 64, 0xFFFFFFFFU},
                       {AV_PIX_FMT_RGB24, 0x7FFFFFFF, 1}};
    for (auto const& [format, width, height] : cases)
        EXPECT_EQ(TextOf<EffectException>([format = format, width = width, height = height] {
                      SafeFrame({}, static_cast<Conf::PixFmt>(format), width, height, 1, 1);
                  }),
                  "No picture of " + std::to_string(width) + "x" + std::to_string(height) +
                      " pixels in pixel format " + std::to_string(format) + " can be made");
}

TEST(SafeFrameTest, StatesWhatItWasMadeWith) {
    SafeFrame frame({AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, AVCOL_PRI_BT470M}, Conf::PixFmt::NV12, 33, 17, 64,
                    45);
    EXPECT_EQ(frame->format, AV_PIX_FMT_NV12);
    EXPECT_EQ(std::pair(frame->width, frame->height), std::pair(33, 17));
    EXPECT_EQ(std::pair(frame->sample_aspect_ratio.num, frame->sample_aspect_ratio.den), std::pair(64, 45));
    EXPECT_EQ(GetFrameColorSpace(*frame), (Conf::ColorSpace{1, 2, 4}));

    AVFrame* released = frame.Release();
    EXPECT_EQ(frame.Get(), nullptr);
    av_frame_free(&released);
}

TEST(SafeFrameTest, PixelAspect) {
    SafeFrame frame;
    for (auto const& [given, stored] : {std::pair{std::pair{4U, 2U}, std::pair{4, 2}},
                                        {{0U, 5U}, {0, 1}},
                                        {{5U, 0U}, {0, 1}},
                                        {{4000000000U, 2000000000U}, {2, 1}}}) {
        SetFramePixelAspect(*frame, given.first, given.second);
        EXPECT_EQ(std::pair(frame->sample_aspect_ratio.num, frame->sample_aspect_ratio.den), stored);
    }
}

TEST(SafeFrameTest, NullPointersAreNoFrames) {
    auto const isRefusal = testing::ThrowsMessage<ProcException>("AVFrame pointer is null");
    EXPECT_THAT([] { Details::GetAVFrameRef(static_cast<AVFrame*>(nullptr)); }, isRefusal);
    EXPECT_THAT([] { Details::GetAVFrameRef(static_cast<AVFrame const*>(nullptr)); }, isRefusal);
    EXPECT_THAT([] { AVFrameWrapper(nullptr); }, isRefusal);
    SafeFrame frame;
    EXPECT_EQ(&Details::GetAVFrameRef(frame.Get()), frame.Get());
}

TEST(AVFrameWrapperTest, ChangesItsOwnHeadOnly) {
    SafeFrame frame = MakeNoise(Conf::PixFmt::YUV420P, 64, 48);
    frame->pts = 5;
    SetFrameDuration(*frame, 6);
    AVFrameWrapper wrapper(frame.Get());
    wrapper.SetSize(60, 40);
    wrapper.SetTime(70);
    wrapper.SetDuration(80);

    EXPECT_EQ(wrapper.Get()->data[0], frame->data[0]);
    EXPECT_EQ(std::pair(wrapper.Get()->width, wrapper.Get()->height), std::pair(60, 40));
    EXPECT_EQ(std::pair(wrapper.Get()->pts, GetFrameDuration(*wrapper.Get())), std::pair(70L, 80L));
    EXPECT_EQ(std::pair(frame->width, frame->height), std::pair(64, 48));
    EXPECT_EQ(std::pair(frame->pts, GetFrameDuration(*frame)), std::pair(5L, 6L));
}

TEST(AVFrameWrapperTest, CopiesPixelsThatNobodyCounts) {
    std::array<std::uint8_t, 12> pixels{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    AVFrameWrapper wrapper(MakeUncounted(pixels.data(), 3, 4).Get());
    EXPECT_EQ(PlaneBytes(*wrapper.Get(), 0), std::vector(pixels.begin(), pixels.end()));
    pixels.fill(0);
    EXPECT_EQ(wrapper.Get()->data[0][0], 1);

    EXPECT_THAT([] { AVFrameWrapper(SafeFrame().Get()); },
                testing::ThrowsMessage<ProcException>("AVFrame holds neither a picture nor sound"));
}

} // namespace

} // namespace Tarsel::Proc
