#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/AVFrameWrapper.h"
#include "Proc/Wrappers/FrameRoom.h"
#include "Proc/Wrappers/SafeSwsContext.h"
#include "Support/AllocationLimit.h"
#include "Support/Failure.h"
#include "Support/PageEnd.h"
#include "Support/Planes.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

using namespace Tarsel::Test;

TEST(FrameRoom, IsToldAndMade) {
    for (Conf::PixFmt const format : Conf::PixFmtDescription::s_supportedFormats)
        for (bool const bottomUp : {false, true}) {
            SCOPED_TRACE(NameOf(format));
            SafeFrame const own = MakeNoise(format, 64, 6);
            EXPECT_TRUE(HasRoomBehind(*own));
            EXPECT_TRUE(HasRoomBehind(*StoreBottomUp(*own)));
            SP<IDataVideo> const tight = AtPageEnds(*own, bottomUp);
            AVFrame const& frame = *tight->GetAVFrame();
            EXPECT_FALSE(HasRoomBehind(frame));
            SafeFrame const copy = CopyWithRoomBehind(frame);
            EXPECT_TRUE(HasRoomBehind(*copy));
            EXPECT_EQ(copy->color_range, frame.color_range);
            for (int plane = 0; plane < Conf::PixFmtDescription::Find(format).GetPlaneCount(); ++plane)
                EXPECT_EQ(PlaneBytes(*copy, plane), PlaneBytes(*own, plane));
        }
}

/// A picture that starts further in, as a crop makes it.
SafeFrame Crop(AVFrame const& frame, int columns) {
    SafeFrame cropped = SafeFrame::Reference(frame);
    cropped->width -= columns;
    cropped->data[0] += columns;
    return cropped;
}

TEST(FrameRoom, IsPartOfWhatIsRegular) {
    SafeFrame const plain = MakeNoise(Conf::PixFmt::GRAY8, 64, 48);
    SafeFrame narrow = SafeFrame::Reference(*plain);
    narrow->linesize[0] += 1; // the rows that FFmpeg adds leave room
    struct {
        char const* name;
        SafeFrame frame;
        bool isRegular;
    } cases[] = {
        {"as allocated", SafeFrame::Reference(*plain), true},
        {"palette", MakeNoise(Conf::PixFmt::PAL8, 33, 17), true},
        {"deep chroma", MakeNoise(ByName("yuv420p10le"), 33, 17), true},
        {"bottom up", StoreBottomUp(*plain), false},
        {"cropped", Crop(*plain, 3), false},
        {"odd line size", std::move(narrow), false},
    };
    for (auto& [name, frame, isRegular] : cases) {
        SCOPED_TRACE(name);
        frame->sample_aspect_ratio = {16, 11};
        EXPECT_EQ(IsRegular(*frame), isRegular);
        SafeFrame const regular = MakeRegular(*frame);
        EXPECT_EQ(regular->data[0] == frame->data[0], isRegular);
        EXPECT_TRUE(IsRegular(*regular));
        EXPECT_EQ(PlaneBytes(*regular, 0), PlaneBytes(*frame, 0));
        EXPECT_EQ(regular->sample_aspect_ratio.num, 16);
    }
}

TEST(FrameRoom, KeepsTheScalerWithinTheCallersMemory) {
    for (Conf::PixFmt const format : Conf::PixFmtDescription::s_supportedFormats) {
        SafeFrame const own = MakeNoise(format, 640, 48);
        SP<IDataVideo> const tight = AtPageEnds(*own);
        SafeSwsContext const scaler({{640, 48, format, {}}, {320, 20, Conf::PixFmt::YUV420P, {}}});
        SafeFrame expected({}, Conf::PixFmt::YUV420P, 320, 20, 1, 1);
        SafeFrame result({}, Conf::PixFmt::YUV420P, 320, 20, 1, 1);
        scaler.Scale(*own, *expected);
        scaler.Scale(*tight->GetAVFrame(), *result);
        EXPECT_EQ(PlaneBytes(*result, 0), PlaneBytes(*expected, 0)) << NameOf(format);
    }
}

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
