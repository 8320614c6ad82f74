#include "Core/CoreExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/AVFrameWrapper.h"
#include "Support/AllocationLimit.h"
#include "Support/Failure.h"
#include "Support/Planes.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

namespace {

using namespace Tarsel::Test;

TEST(SafeFrameTest, WithoutMemory) {
    SafeFrame const picture = MakeNoise(Conf::PixFmt::YUV420P, 640, 480);
    SafeFrame shared = SafeFrame::Reference(*picture);
    struct {
        std::size_t limit;
        char const* what;
        std::size_t blockSize;
        std::function<void()> action;
    } const cases[] = {
        {20000, "buffers", 460800, [] { SafeFrame({}, Conf::PixFmt::YUV420P, 640, 480, 1, 1); }},
        {20000, "buffers", 460800, [&] { shared.MakeWritable(); }},
        {100, "struct", sizeof(AVFrame), [] { SafeFrame const frame; }}};
    for (auto const& row : cases) {
        AllocationLimit const limit(row.limit);
        try {
            row.action();
            ADD_FAILURE() << row.what;
        } catch (Core::MemoryException const& exception) {
            EXPECT_EQ(exception.what(), std::string("Unable to allocate memory for AVFrame ") + row.what);
            EXPECT_EQ(*boost::get_error_info<Core::MemoryException::TagBlockSize>(exception), row.blockSize);
        }
    }
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
                  "Cannot make a frame of " + std::to_string(width) + "x" + std::to_string(height) +
                      " pixels in pixel format " + std::to_string(format));
}

TEST(AVFrameWrapperTest, TakesFramesOnly) {
    SafeFrame const empty;
    EXPECT_EQ(TextOf<ProcException>([] { AVFrameWrapper(nullptr); }), "AVFrame pointer is null");
    EXPECT_EQ(TextOf<ProcException>([&] { AVFrameWrapper(empty.Get()); }),
              "AVFrame holds neither video nor audio");
}

} // namespace

} // namespace Tarsel::Proc
