#include "Proc/Data/DataVideoFF.h"
#include "Core/CoreExceptions.h"
#include "Proc/Data/FactoryData.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Support/AllocationLimit.h"
#include "Support/Failure.h"
#include "Support/Planes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

namespace {

using namespace Tarsel::Test;

std::vector<std::uint8_t> Bytes(ReadOnlyPlane const& plane) {
    std::vector<std::uint8_t> bytes(plane.rowBytes * plane.rows);
    CopyPlane(plane, {bytes.data(), static_cast<std::ptrdiff_t>(plane.rowBytes), plane.rowBytes, plane.rows});
    return bytes;
}

void Fill(WritablePlane const& plane, std::uint8_t value) {
    for (std::uint32_t row = 0; row < plane.rows; ++row)
        std::memset(plane.data + std::ptrdiff_t(row) * plane.lineSize, value, plane.rowBytes);
}

TEST(DataVideoFFTest, PlanesThatAFormatDoesNotHave) {
    for (auto const& [format, index] : {std::pair{0, 3}, {0, -1}, {0, 8}, {11, 1}}) {
        DataVideoFF data({}, static_cast<Conf::PixFmt>(format), {5, 3, 1, 1});
        std::string const text =
            "A frame in pixel format " + std::to_string(format) + " has no plane " + std::to_string(index);
        EXPECT_EQ(TextOf<ProcException>([&, i = index] { data.GetReadOnlyPlane(i); }), text);
        EXPECT_EQ(TextOf<ProcException>([&, i = index] { data.GetWritablePlane(i); }), text);
    }
    EXPECT_THROW(DataVideoFF(SafeFrame(), {}).GetReadOnlyPlane(0), ProcException);
    EXPECT_THROW(DataVideoFF(*SafeFrame(), {}), ProcException);
}

TEST(DataVideoFFTest, CopiesShareUntilOneSideWrites) {
    SafeFrame const frame = MakeNoise(Conf::PixFmt::YUV420P, 33, 17);
    std::vector<std::uint8_t> const luma = PlaneBytes(*frame, 0);
    DataVideoFF data(*frame, {33, 17, 4, 3});
    data.SetTime(7);
    data.SetDuration(8);
    SP<IDataVideo> const copy = data.Copy();
    EXPECT_EQ(copy->GetFrameInfo(), data.GetFrameInfo());
    EXPECT_EQ(copy->GetReadOnlyPlane(0).data, frame->data[0]);
    Fill(copy->GetWritablePlane(0), 99);
    EXPECT_EQ(Bytes(copy->GetReadOnlyPlane(0)), std::vector<std::uint8_t>(luma.size(), 99));
    EXPECT_EQ(Bytes(copy->GetReadOnlyPlane(1)), PlaneBytes(*frame, 1));
    EXPECT_EQ(Bytes(data.GetReadOnlyPlane(0)), luma);
    EXPECT_EQ(std::pair(copy->GetTime(), copy->GetDuration()), std::pair(7L, 8L));

    // Its own by now: nothing is copied again.
    std::uint8_t const* const own = copy->GetReadOnlyPlane(2).data;
    EXPECT_EQ(copy->GetWritablePlane(2).data, own);
}

TEST(DataVideoFFTest, FailedWritesLoseNothing) {
    SafeFrame const frame = MakeNoise(Conf::PixFmt::RGB24, 320, 240);
    DataVideoFF data(*frame, {320, 240, 1, 1});
    {
        AllocationLimit const limit(20000);
        EXPECT_THROW(data.GetWritablePlane(0), Core::MemoryException);
    }
    EXPECT_EQ(Bytes(data.GetReadOnlyPlane(0)), PlaneBytes(*frame, 0));
    Fill(data.GetWritablePlane(0), 1);
    EXPECT_NE(Bytes(data.GetReadOnlyPlane(0)), PlaneBytes(*frame, 0));
}

TEST(DataVideoFFTest, PixelsThatNobodyCountsAreCopied) {
    std::vector<std::uint8_t> pixels{1, 2, 3, 4, 5, 6};
    std::vector<std::uint8_t> const before = pixels;
    DataVideoFF referenced(*MakeUncounted(pixels.data(), 3, 2), {3, 2, 1, 1});
    DataVideoFF takenOver(MakeUncounted(pixels.data(), 3, 2), {3, 2, 1, 1});
    Fill(takenOver.GetWritablePlane(0), 9);
    EXPECT_EQ(pixels, before);
    pixels.assign(6, 0);
    EXPECT_EQ(Bytes(referenced.GetReadOnlyPlane(0)), before);
}

TEST(DataVideoFFTest, PlanesStayWithinBothFrameAndGeometry) {
    DataVideoFF const small(MakeNoise(Conf::PixFmt::YUV420P, 16, 8), {640, 480, 1, 1});
    EXPECT_EQ(small.GetFrameInfo(), (Conf::FrameInfo{640, 480, 1, 1}));
    EXPECT_EQ(small.GetReadOnlyPlane(0).rowBytes, 16U);
    EXPECT_EQ(small.GetReadOnlyPlane(1).rows, 4U);
    DataVideoFF const large(MakeNoise(Conf::PixFmt::YUV420P, 16, 8), {9, 5, 1, 1});
    EXPECT_EQ(large.GetReadOnlyPlane(0).rows, 5U);
    EXPECT_EQ(large.GetReadOnlyPlane(1).rowBytes, 5U);
}

TEST(DataVideoFFTest, PixelAspectOfFrameAndGeometryAgree) {
    DataVideoFF data({}, Conf::PixFmt::GRAY8, {4, 4, 5, 0});
    EXPECT_EQ(data.GetFrameInfo(), (Conf::FrameInfo{4, 4, 0, 1}));
    for (auto const& [num, den] : {std::pair{16U, 15U}, {30U, 20U}, {0U, 3U}, {3U, 0U}}) {
        data.SetPixelAspect(num, den);
        bool const known = num != 0 && den != 0;
        EXPECT_EQ(data.GetFrameInfo(), (Conf::FrameInfo{4, 4, known ? num : 0, known ? den : 1}));
        EXPECT_EQ(GetFrameInfo(*data.GetAVFrame()), data.GetFrameInfo());
    }
    data.SetPixelAspect(4000000000U, 2000000000U); // more than FFmpeg counts
    EXPECT_EQ(data.GetAVFrame()->sample_aspect_ratio.num, 2);
    data.GetAVFrame()->sample_aspect_ratio = {-1, 2};
    EXPECT_EQ(GetFrameInfo(*data.GetAVFrame()), (Conf::FrameInfo{4, 4, 0, 1}));
}

} // namespace

} // namespace Tarsel::Proc
