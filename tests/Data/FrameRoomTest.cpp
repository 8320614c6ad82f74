#include "Proc/Wrappers/FrameRoom.h"

#include "Conf/PixFmtDescription.h"
#include "Proc/Wrappers/SafeSwsContext.h"
#include "Support/PageEnd.h"
#include "Support/Planes.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace Tarsel::Proc
