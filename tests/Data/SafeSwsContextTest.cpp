#include "Proc/Wrappers/SafeSwsContext.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Support/Failure.h"
#include "Support/Planes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

namespace {

using namespace Tarsel::Test;

using Conf::ColorSpace;
using Conf::PixColor;
using Conf::PixFmt;

constexpr ColorSpace s_limited601{AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG};
constexpr ColorSpace s_full601{AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG};
constexpr ColorSpace s_limited709{AVCOL_SPC_BT709, AVCOL_RANGE_MPEG};
constexpr ColorSpace s_full709{AVCOL_SPC_BT709, AVCOL_RANGE_JPEG};
constexpr ColorSpace s_limited2020{AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG};

SafeFrame Scaled(AVFrame const& from, SwsCtxSide const& to) {
    SafeFrame result(to.space, to.format, to.width, to.height, 1, 1);
    SafeSwsContext({SideOf(from), to}).Scale(from, *result);
    return result;
}

/// A picture of one color and what becomes of it. Formats whose first bytes in each plane are its
/// components.
void ExpectSameColor(SwsCtxSide const& from, SwsCtxSide const& to) {
    Conf::PixFmtDescription const& fromFormat = Conf::PixFmtDescription::Find(from.format);
    Conf::PixFmtDescription const& toFormat = Conf::PixFmtDescription::Find(to.format);
    SafeSwsContext const scaler({from, to});
    for (PixColor const color : {PixColor{255, 255, 255}, {0, 0, 0}, {200, 60, 90}, {20, 140, 250}}) {
        SafeFrame source(from.space, from.format, from.width, from.height, 1, 1);
        Conf::PixComponents const values = fromFormat.MakeColor(color, from.space);
        for (int plane = 0; plane < fromFormat.GetPlaneCount(); ++plane)
            FillPlane(*source, plane, values[std::size_t(plane)]);
        SafeFrame target(to.space, to.format, to.width, to.height, 1, 1);
        scaler.Scale(*source, *target);

        Conf::PixComponents const expected = toFormat.MakeColor(color, to.space);
        for (int plane = 0; plane < toFormat.GetPlaneCount(); ++plane)
            EXPECT_NEAR(target->data[plane][0], expected[std::size_t(plane)], 2)
                << fromFormat.GetName() << " to " << toFormat.GetName() << " widths " << from.width << " and "
                << to.width << " plane " << plane << " red " << int(color.red);
    }
}

TEST(SafeSwsContextTest, TakesMatrixAndRangeOfBothSides) {
    struct {
        char const* from;
        ColorSpace fromSpace;
        char const* to;
        ColorSpace toSpace;
    } const cases[] = {
        {"yuv420p", s_limited601, "gbrp", {}},
        {"yuv420p", s_full709, "gbrp", {}},
        {"gbrp", {}, "yuv444p", s_limited2020},
        {"gbrp", {}, "yuv420p", s_full601},
        {"gbrp", {}, "yuvj420p", s_limited709},
        {"yuvj420p", {}, "yuv420p", {}},
        {"yuv420p", s_full601, "yuv420p", s_limited601},
        {"yuv420p", s_limited601, "yuv420p", s_full601},
        {"yuv444p", s_limited601, "yuv444p", s_limited709},
        {"yuv444p", {AVCOL_SPC_RGB, AVCOL_RANGE_MPEG}, "gbrp", {}},
        {"yuv444p", {AVCOL_SPC_RGB, AVCOL_RANGE_MPEG}, "yuv420p", s_limited709},
        {"yuv420p", s_full709, "yuv422p", s_limited601},
        {"yuv420p", s_full709, "nv12", s_limited601},
        {"yuv420p", s_limited601, "nv21", {}},
        {"yuv420p", s_limited601, "gray", {}},
        {"yuv420p", s_limited601, "gray", s_limited601},
        {"gbrp", {}, "gray", s_limited601},
        {"gbrp", {}, "gray", {}},
    };
    for (auto const& example : cases)
        for (auto const& [fromWidth, toWidth] : {std::pair{16U, 16U}, {16U, 30U}, {17U, 17U}})
            ExpectSameColor({fromWidth, 15, ByName(example.from), example.fromSpace},
                            {toWidth, 15, ByName(example.to), example.toSpace});
}

/// The bytes of all planes.
std::vector<std::uint8_t> AllBytes(AVFrame const& frame) {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < Conf::PixFmtDescription::Find(SideOf(frame).format).GetPlaneCount(); ++i)
        std::ranges::copy(PlaneBytes(frame, i), std::back_inserter(bytes));
    return bytes;
}

/// Tiny and odd sizes, against the same picture stored top down.
TEST(SafeSwsContextTest, PicturesStoredBottomUpGiveTheSame) {
    for (char const* from : {"yuv420p", "nv12", "rgb24", "rgba", "gray", "yuva444p", "gbrp", "yuv420p10le",
                             "pal8", "yuyv422", "rgb565le", "xyz12le"})
        for (char const* to : {"yuv420p", "rgb24", "bgra", "gray16le", "yuva420p", "gbrp16le", "nv21"})
            for (auto const& [width, height] : {std::pair{1U, 1U}, {1U, 7U}, {5U, 1U}, {33U, 17U}})
                for (std::uint32_t const outWidth : {width, 2 * width + 1}) {
                    SCOPED_TRACE(std::string(from) + " to " + to + " " + std::to_string(width));
                    SafeFrame const upright = MakeNoise(ByName(from), width, height);
                    SwsCtxSide const side{outWidth, height, ByName(to), {}};
                    auto const expected = AllBytes(*Scaled(*upright, side));
                    EXPECT_EQ(AllBytes(*Scaled(*StoreBottomUp(*upright), side)), expected);
                    SafeFrame intoBottomUp = StoreBottomUp(*MakeNoise(side.format, outWidth, height));
                    SafeSwsContext({SideOf(*upright), side}).Scale(*upright, *intoBottomUp);
                    EXPECT_EQ(AllBytes(*intoBottomUp), expected);
                }
}

TEST(SafeSwsContextTest, SameFormatAndSizeIsACopy) {
    for (PixFmt const format : Conf::PixFmtDescription::s_supportedFormats) {
        if (format == PixFmt::PAL8)
            continue;
        SafeFrame const from = MakeNoise(format, 33, 17);
        SwsCtxSide side = SideOf(*from);
        side.space = {AVCOL_SPC_BT470BG, AVCOL_RANGE_UNSPECIFIED}; // another number, the same colors
        EXPECT_EQ(AllBytes(*Scaled(*from, side)), AllBytes(*from)) << NameOf(format);
    }
}

/// Odd sizes without scaling: what the target held before does not show anywhere.
TEST(SafeSwsContextTest, EveryByteIsWritten) {
    auto const scaledInto = [](SafeSwsContext const& scaler, AVFrame const& from, PixFmt to, int before) {
        SafeFrame result({}, to, 5, 3, 1, 1);
        for (int plane = 0; plane < Conf::PixFmtDescription::Find(to).GetPlaneCount(); ++plane)
            FillPlane(*result, plane, static_cast<std::uint8_t>(before));
        scaler.Scale(from, *result);
        return AllBytes(*result);
    };
    std::vector<PixFmt> formats;
    for (PixFmt const format : Conf::PixFmtDescription::s_supportedFormats)
        if (Conf::PixFmtDescription::Find(format).GetChromaShiftX() > 0 ||
            Conf::PixFmtDescription::Find(format).IsGray())
            formats.push_back(format);
    for (PixFmt const from : formats)
        for (PixFmt const to : formats) {
            SafeFrame const source = MakeNoise(from, 5, 3);
            SafeSwsContext const scaler({SideOf(*source), {5, 3, to, {}}});
            EXPECT_EQ(scaledInto(scaler, *source, to, 0), scaledInto(scaler, *source, to, 255))
                << NameOf(from) << " to " << NameOf(to);
        }
}

TEST(SafeSwsContextTest, RefusalsNameBothSides) {
    SwsCtxSide const rgb{64, 48, PixFmt::RGB24, {}};
    std::string const isRgb = "64x48 rgb24 (matrix 2, range 0)";
    struct {
        SwsCtxSide from;
        SwsCtxSide to;
        std::string text;
    } const cases[] = {
        {{64, 48, PixFmt::YUV420P, s_limited709},
         {32, 24, PixFmt::PAL8, {}},
         "64x48 yuv420p (matrix 1, range 1) to 32x24 pal8 (matrix 2, range 0)"},
        {{0, 48, PixFmt::RGB24, {}}, rgb, "0x48 rgb24 (matrix 2, range 0) to " + isRgb},
        {rgb, {0xFFFFFFFFU, 24, PixFmt::RGB24, {}}, isRgb + " to 4294967295x24 rgb24 (matrix 2, range 0)"},
        {rgb, {32, 24, static_cast<PixFmt>(9999), {}}, isRgb + " to 32x24 format 9999 (matrix 2, range 0)"}};
    for (auto const& row : cases)
        EXPECT_EQ(TextOf<EffectException>([&] {
                      SafeSwsContext({row.from, row.to});
                  }),
                  "Cannot scale from " + row.text);
}

TEST(SafeSwsContextTest, ScalesOnlyWhatItWasMadeFor) {
    SafeFrame const from = MakeNoise(PixFmt::RGB24, 16, 8);
    SafeFrame to = MakeNoise(PixFmt::YUV420P, 16, 8);
    SafeFrame small = MakeNoise(PixFmt::YUV420P, 16, 6);
    SafeSwsContext scaler({SideOf(*from), SideOf(*to)});
    auto const refuse = [&](SafeFrame const& one, SafeFrame& other) {
        return TextOf<EffectException>([&] { scaler.Scale(*one, *other); });
    };
    std::string const isFor = ": the scaler is for 16x8 rgb24 to 16x8 yuv420p";
    EXPECT_EQ(refuse(from, small), "Cannot scale from 16x8 rgb24 to 16x6 yuv420p" + isFor);
    EXPECT_EQ(refuse(to, to), "Cannot scale from 16x8 yuv420p to 16x8 yuv420p" + isFor);
    SafeSwsContext const moved(std::move(scaler));
    EXPECT_EQ(refuse(from, to), "The scaler is empty");
    moved.Scale(*from, *to);
}

} // namespace

} // namespace Tarsel::Proc
