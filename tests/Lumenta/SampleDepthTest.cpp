#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"
#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmtDescription;
using Proc::HasBitsAbove;
using Proc::IDataVideo;

/// One sample above the depth is found wherever it is, and nowhere else: not between the rows, not in the
/// other byte order, not bottom up.
TEST(SampleDepth, FindsTheOneSample) {
    struct Layout {
        std::size_t width;
        std::size_t height;
        std::size_t padding;
        std::size_t offset;
    };
    for (Layout const& layout : {Layout{1, 1, 0, 0}, {3, 2, 1, 1}, {37, 3, 7, 3}, {64, 2, 0, 0}})
        for (int depth : {9, 10, 12, 14, 15})
            for (bool isBig : {false, true})
                for (bool isBottomUp : {false, true}) {
                    std::size_t const lineSize = 2 * layout.width + layout.padding;
                    std::vector<std::uint8_t> bytes(layout.offset + lineSize * layout.height, 0xFF);
                    std::uint8_t* const first = bytes.data() + layout.offset;
                    auto const sample = [&](std::size_t x, std::size_t y) {
                        return first + y * lineSize + 2 * x;
                    };
                    auto const write = [&](std::uint8_t* to, unsigned value) {
                        to[isBig ? 0 : 1] = static_cast<std::uint8_t>(value >> 8);
                        to[isBig ? 1 : 0] = static_cast<std::uint8_t>(value);
                    };
                    for (std::size_t y = 0; y < layout.height; ++y)
                        for (std::size_t x = 0; x < layout.width; ++x)
                            write(sample(x, y), (1U << depth) - 1);
                    auto const found = [&] {
                        auto const size = static_cast<std::ptrdiff_t>(lineSize);
                        return HasBitsAbove(isBottomUp ? sample(0, layout.height - 1) : first,
                                            isBottomUp ? -size : size, layout.width, layout.height, depth,
                                            isBig ? std::endian::big : std::endian::little);
                    };
                    ASSERT_FALSE(found()) << layout.width << ' ' << depth << ' ' << isBig;
                    for (std::size_t y = 0; y < layout.height; ++y)
                        for (std::size_t x = 0; x < layout.width; ++x) {
                            write(sample(x, y), 1U << depth);
                            ASSERT_TRUE(found()) << x << ' ' << y << ' ' << depth << ' ' << isBig;
                            write(sample(x, y), 0);
                        }
                }
}

void Check(IDataVideo const& data) {
    Proc::RequireSamplesWithinDepth(data, "an effect", {"Lumenta/SampleDepthTest", "void Check()"});
}

/// A frame of samples as high as its depth allows.
SP<IDataVideo> MakeHighest(char const* name, Conf::FrameInfo const& info) {
    auto const& format = PixFmtDescription::Find(ByName(name));
    SP<IDataVideo> data = MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, format.GetFormat(), info);
    auto const upper = static_cast<std::uint8_t>(0xFF >> (16 - format.GetDepth()));
    bool const isBig = (format.GetFlags() & PixFmtDescription::BigEndian) != 0;
    for (int i = 0; i < format.GetPlaneCount(); ++i) {
        Proc::WritablePlane const plane = data->GetWritablePlane(i);
        for (std::uint32_t y = 0; y < plane.rows; ++y)
            for (std::size_t x = 0; x < plane.rowBytes; ++x)
                plane.data[y * plane.lineSize + static_cast<std::ptrdiff_t>(x)] =
                    (x % 2 == 0) == isBig ? upper : 0xFF;
    }
    return data;
}

TEST(SampleDepth, EveryPlaneOfAFrameIsLookedAt) {
    for (char const* name :
         {"yuv420p10le", "yuv420p10be", "yuva422p12le", "gbrp9le", "gray14be", "yuv444p14le"}) {
        auto const& format = PixFmtDescription::Find(ByName(name));
        SP<IDataVideo> const data = MakeHighest(name, {17, 5, 1, 1});
        EXPECT_NO_THROW(Check(*data)) << name;
        for (int i = 0; i < format.GetPlaneCount(); ++i) {
            Proc::WritablePlane const plane = data->GetWritablePlane(i);
            auto const last = static_cast<std::ptrdiff_t>(plane.rows - 1) * plane.lineSize +
                              static_cast<std::ptrdiff_t>(plane.rowBytes) - 2;
            std::swap(plane.data[last], plane.data[last + 1]);
            Failure const failure = Catch([&] { Check(*data); });
            EXPECT_EQ(failure.text, "an effect takes samples of 0 to " +
                                        std::to_string((1 << format.GetDepth()) - 1) + " in " + name +
                                        " frames; plane " + std::to_string(i) + " has higher ones");
            EXPECT_EQ(failure.file, "Lumenta/SampleDepthTest");
            EXPECT_EQ(failure.function, "void Check()");
            std::swap(plane.data[last], plane.data[last + 1]);
        }
    }
}

TEST(SampleDepth, FormatsWithoutRoomForMoreBitsPass) {
    // Their samples use all bits, or the upper ones, or are no whole numbers.
    for (char const* name : {"yuv420p", "rgba", "yuv420p16le", "gray16be", "p010le", "y210le", "x2rgb10le",
                             "rgb48le", "grayf32le", "gbrpf32be", "rgb555le", "pal8"})
        EXPECT_NO_THROW(Check(*MakeOverfullFrame(ByName(name)))) << name;
}

TEST(SampleDepth, ReadsNoMoreThanThePicture) {
    SP<IDataVideo> const data = MakeHighest("gray10le", {16, 4, 1, 1});
    Proc::WritablePlane const plane = data->GetWritablePlane(0);
    plane.data[3 * plane.lineSize + 31] = 0xFF;
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

} // namespace
} // namespace Tarsel::Test
