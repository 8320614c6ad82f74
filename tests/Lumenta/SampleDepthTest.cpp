#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"
#include "Frames.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Proc::IDataVideo;

void Check(IDataVideo const& data) {
    Proc::RequireSamplesWithinDepth(data, "an effect", {"Lumenta/SampleDepthTest", "void Check()"});
}

TEST(SampleDepth, FormatsWithoutRoomForMoreBitsPass) {
    // Their samples use all bits, or the upper ones, or are no whole numbers.
    for (char const* name : {"yuv420p", "rgba", "yuv420p16le", "gray16be", "p010le", "y210le", "x2rgb10le",
                             "rgb48le", "grayf32le", "gbrpf32be", "rgb555le", "pal8"})
        EXPECT_NO_THROW(Check(*MakeOverfullFrame(ByName(name)))) << name;
}

TEST(SampleDepth, ReadsThePictureAndNoMore) {
    for (char const* name : {"gray10le", "gray10be", "gray14le"}) {
        SCOPED_TRACE(name);
        SP<IDataVideo> const data = MakeFrame(ByName(name), {16, 4, 1, 1});
        Proc::WritablePlane const plane = data->GetWritablePlane(0);
        std::fill_n(plane.data + 3 * plane.lineSize + 30, 2, std::uint8_t{0xFF});
        auto const shown = [&](std::uint32_t width, std::uint32_t height) {
            return MakeSP<Proc::DataVideoFF>(*data->GetAVFrame(), Conf::FrameInfo{width, height, 1, 1});
        };
        EXPECT_THROW(Check(*shown(16, 4)), Proc::EffectException);
        EXPECT_THROW(Check(*shown(1000, 1000)), Proc::EffectException);
        EXPECT_NO_THROW(Check(*shown(15, 4)));
        EXPECT_NO_THROW(Check(*shown(16, 3)));
        SP<IDataVideo> const none = shown(16, 4);
        none->GetAVFrame()->data[0] = nullptr;
        EXPECT_NO_THROW(Check(*none)); // the graph refuses it
    }
}

} // namespace
} // namespace Tarsel::Test
