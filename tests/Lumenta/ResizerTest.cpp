#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Effects/EffectImageResizer.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Support/Arithmetic.h"
#include "Support/TextRows.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::FrameInfo;
using Conf::PixColor;
using Conf::PixFmt;
using Conf::PixFmtDescription;
using Proc::IDataVideo;

SP<Proc::EffectImageResizer> MakeResizer(std::string const& settings) {
    Proc::SettingsResizer options;
    options.Deserialize(settings);
    auto resizer = MakeSP<Proc::EffectImageResizer>();
    resizer->SetSettings(options);
    return resizer;
}

SP<IDataVideo> Resize(SP<IDataVideo> const& data, std::string const& settings) {
    return Apply(*MakeResizer(settings), data);
}

/// "<format> <settings> => <description> @ <size and pixel aspect> -> <the same of what comes out>"; the
/// description as Describe tells it after the frame's own size, nothing where the frame passes untouched.
constexpr char const* s_geometries = R"(
# One side follows from the other.
rgb24 width=320 => 320x180, bicubic @ 640x360 1:1 -> 320x180 1:1
rgb24 height=100 => 178x100, bicubic @ 640x360 0:1 -> 178x100 0:1
rgb24 width=100 => 100x178, bicubic @ 360x640 1:1 -> 100x178 1:1
rgb24 width=7 => 7x7, bicubic @ 1x1 1:1 -> 7x7 1:1
rgb24 width=20 => 20x1, bicubic @ 500x1 1:1 -> 20x1 1:1
yuv420p height=100 => 178x100, bicubic @ 640x360 1:1 -> 178x100 1:1
yuv420p width=101 => 100x56, bicubic, rounded to whole chroma samples @ 640x360 1:1 -> 100x56 1:1
yuv420p width=1:height=2 => 2x2, bicubic, rounded to whole chroma samples @ 1x1 1:1 -> 2x2 1:1
yuv422p height=241 => 322x241, bicubic @ 641x481 1:1 -> 322x241 1:1
yuv410p width=30 => 28x28, bicubic, rounded to whole chroma samples @ 64x64 1:1 -> 28x28 1:1
# Pixels that are not square.
yuv420p width=1024 => 1024x768, bicubic, pixel aspect 1:1 @ 720x576 16:15 -> 1024x768 1:1
yuv420p height=576 => 768x576, bicubic, pixel aspect 1:1 @ 720x576 16:15 -> 768x576 1:1
yuv420p width=1920:height=1080:fit=inside => 1920x1080, bicubic, pixel aspect 1:1 @ 720x576 64:45 -> 1920x1080 1:1
yuv420p width=1920:height=1080:fit=pad => 1440x1080, bicubic, padded to 1920x1080, pixel aspect 1:1 @ 720x576 16:15 -> 1920x1080 1:1
yuv420p width=640:height=640:fit=crop => 640x640, bicubic, cropped to 540x576, pixel aspect 1:1 @ 720x576 16:15 -> 640x640 1:1
# Stretched.
rgb24 width=1024:height=768 => 1024x768, bicubic, pixel aspect 1:1 @ 720x576 16:15 -> 1024x768 1:1
rgb24 width=640:height=240 => 640x240, bicubic, pixel aspect 1:2 @ 640x480 1:1 -> 640x240 1:2
rgb24 width=640:height=240 => 640x240, bicubic @ 640x480 0:1 -> 640x240 0:1
rgb24 width=1:height=5 => 1x5, bicubic, pixel aspect 2147483647:1 @ 3x5 4294967295:1 -> 1x5 2147483647:1
# Inside.
rgb24 width=320:height=320:fit=inside => 320x180, bicubic @ 640x360 1:1 -> 320x180 1:1
rgb24 width=320:height=320:fit=inside => 180x320, bicubic @ 360x640 1:1 -> 180x320 1:1
yuv420p width=99:height=99:fit=inside => 98x32, bicubic, rounded to whole chroma samples @ 333x111 1:1 -> 98x32 1:1
rgb24 width=4:height=9:fit=inside => 4x4, bicubic @ 1x1 1:1 -> 4x4 1:1
rgb24 width=10:height=10:fit=inside => 10x1, bicubic @ 1000x1 1:1 -> 10x1 1:1
# Framed.
rgb24 width=320:height=320:fit=pad => 320x180, bicubic, padded to 320x320 @ 640x360 1:1 -> 320x320 1:1
rgb24 width=321:height=320:fit=pad => 180x320, bicubic, padded to 321x320 @ 360x640 1:1 -> 321x320 1:1
rgb24 width=320:height=180:fit=pad => 320x180, bicubic @ 640x360 1:1 -> 320x180 1:1
yuv420p width=51:height=51:fit=pad => 16x50, bicubic, padded to 50x50, rounded to whole chroma samples @ 33x99 1:1 -> 50x50 1:1
# Cut off.
rgb24 width=90:height=90:fit=crop => 90x90, bicubic, cropped to 360x360 @ 640x360 1:1 -> 90x90 1:1
rgb24 width=100:height=50:fit=crop => 100x50, bicubic, cropped to 361x181 @ 361x640 1:1 -> 100x50 1:1
yuv420p width=90:height=90:fit=crop => 90x90, bicubic, cropped to 362x361 @ 641x361 1:1 -> 90x90 1:1
rgb24 width=30:height=10:fit=crop => 30x10, bicubic @ 1x1 1:1 -> 30x10 1:1
rgb24 width=10:height=10:fit=crop => 10x10, bicubic, cropped to 2x2 @ 5000x2 1:1 -> 10x10 1:1
# The size that the frame has.
rgb24 => @ 640x360 1:1 -> 640x360 1:1
rgb24 width=640 => @ 640x360 1:1 -> 640x360 1:1
yuv420p width=641:height=361:fit=pad => @ 641x361 7:5 -> 641x361 7:5
yuv420p width=641:height=361 => @ 640x360 1:1 -> 640x360 1:1
pal8 width=10:fit=crop => @ 10x10 1:1 -> 10x10 1:1
# Values that cannot be mixed.
pal8 width=5:algorithm=area => 5x5, area, as rgba @ 10x10 1:1 -> 5x5 1:1
xyz12be width=5:algorithm=neighbor => 5x5, neighbor, as rgb48le @ 10x10 1:1 -> 5x5 1:1
)";

FrameInfo ToInfo(std::string const& text) {
    std::istringstream stream(text);
    FrameInfo info{};
    char separator = 0;
    stream >> info.width >> separator >> info.height >> info.aspectNum >> separator >> info.aspectDen;
    return info;
}

TEST(Resizer, MakesTheSizeItTells) {
    for (TextRow const& row : ReadTextRows(s_geometries)) {
        SCOPED_TRACE(row.classId + ' ' + row.options + ' ' + row.remark);
        auto const resizer = MakeResizer(row.options);
        PixFmt const format = ByName(row.classId.c_str());
        FrameInfo const from = ToInfo(row.remark);
        FrameInfo const to = ToInfo(row.remark.substr(row.remark.find("->") + 3));
        std::string const size = row.remark.substr(0, row.remark.find(' '));
        bool const passes = row.text.empty();
        EXPECT_EQ(Describe(*resizer, format, from), passes ? "" : size + " -> " + row.text);
        auto const codec = Ask(*resizer, format, from);
        EXPECT_EQ(codec->GetFrameInfo(), to);

        SP<IDataVideo> const frame = MakeFrame(format, from);
        SP<IDataVideo> const data = Apply(*resizer, frame);
        EXPECT_EQ(data == frame, passes);
        EXPECT_EQ(data->GetFrameInfo(), to);
        EXPECT_EQ(data->GetAVFrame()->width, static_cast<int>(to.width));
        EXPECT_EQ(data->GetPixelFormat(), codec->GetPixelFormat());
    }
}

TEST(Resizer, RefusesSidesThatAreTooLong) {
    auto const resizer = MakeResizer("width=16384");
    SP<IDataVideo> const frame = MakeFrame(PixFmt::RGB24, {2, 1000, 1, 1});
    SP<IDataVideo> data = frame;
    Failure const failure = Catch([&] { resizer->Process(data); });
    EXPECT_EQ(failure.text, "2x1000 pixels would become 16384x8192000; a side may have 1 to 16384");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/Picture/ResizePlan");
    EXPECT_EQ(data, frame);
    EXPECT_EQ(Catch([&] { Ask(*resizer, PixFmt::RGB24, frame->GetFrameInfo()); }).text, failure.text);
    EXPECT_EQ(Catch([&] { Describe(*resizer, PixFmt::RGB24, frame->GetFrameInfo()); }).text, failure.text);
    // The least and the most proportions there can be.
    FrameInfo const extreme{4294967295U, 1, 4294967295U, 1};
    EXPECT_EQ(Catch([&] { Ask(*MakeResizer("height=2"), PixFmt::YUV420P, extreme); }).text,
              "4294967295x1 pixels would become 536870912x2; a side may have 1 to 16384");
    EXPECT_EQ(Ask(*MakeResizer("width=2"), PixFmt::YUV420P, extreme)->GetFrameInfo(),
              (FrameInfo{2, 2, 1, 1}));
    EXPECT_EQ(Catch([&] {
                  Resize(MakeLiar({8, 48, 1, 1}), "width=2");
              }).text,
              "Frame has only 8x48 pixels of the 64x48 it is said to have");
}

/// Every format, up and down, framed and cut: one color stays that color, nothing is read or written
/// beside the picture (the sanitizers see to that), and the query tells what comes out.
TEST(Resizer, ResizesEveryFormat) {
    PixColor const color{200, 90, 40, 255};
    std::vector<PixFmt> formats = PixFmtDescription::s_supportedFormats;
    // Files hold them (1-bit PNG), though no host asks for them.
    formats.insert(formats.end(), {ByName("monow"), ByName("monob")});
    for (PixFmt const format : formats) {
        auto const& description = PixFmtDescription::Find(format);
        bool const isPainted = format != PixFmt::PAL8 && PixFmtDescription::IsSupported(format);
        for (FrameInfo const info : {FrameInfo{33, 17, 1, 1}, {1, 1, 1, 1}})
            for (char const* settings :
                 {"width=70:height=40", "width=13:height=11:algorithm=area", "width=3:height=1",
                  "width=40:height=60:fit=pad:background=#c85a28", "width=20:height=21:fit=crop"}) {
                SCOPED_TRACE(description.GetName() + ' ' + std::to_string(info.width) + ' ' + settings);
                SP<IDataVideo> const frame =
                    isPainted ? PaintFrame(format, {}, info, [&](auto, auto) { return color; })
                              : MakeFrame(format, info);
                SP<IDataVideo> const result = Resize(frame, settings);
                auto const codec = Ask(*MakeResizer(settings), format, info);
                EXPECT_EQ(result->GetPixelFormat(), codec->GetPixelFormat());
                EXPECT_EQ(result->GetFrameInfo(), codec->GetFrameInfo());
                EXPECT_TRUE(PixFmtDescription::IsSupported(result->GetPixelFormat()));
                EXPECT_EQ(GetPixels(*Resize(StoreBottomUp(*frame), settings)), GetPixels(*result));
                if (!isPainted)
                    continue;
                PixColor const shown = ReadColors(*frame)[0];
                int const step = description.GetDepth() >= 8 ? 2 : description.GetDepth() > 4 ? 20 : 256;
                for (PixColor const& pixel : ReadColors(*result))
                    ASSERT_LE(Difference(pixel, shown, true), step + s_scalerSlack)
                        << int{pixel.red} << ' ' << int{pixel.green} << ' ' << int{pixel.blue};
            }
    }
}

/// Colors that are transparent lend nothing to those that are not.
TEST(Resizer, MakesNoFringesOfTransparentColors) {
    for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
        auto const& description = PixFmtDescription::Find(format);
        if (!description.HasAlpha() || format == PixFmt::PAL8)
            continue;
        // Where chroma is subsampled it is red a bit further, lest black lies in a sample with red.
        std::uint32_t const edge = description.GetChromaShiftX() > 0 ? 20 : 15;
        SP<IDataVideo> const frame = PaintFrame(format, {}, {32, 16, 1, 1}, [&](auto x, auto) -> PixColor {
            return {static_cast<std::uint8_t>(x < edge ? 255 : 0), 0, 0,
                    static_cast<std::uint8_t>(x < 15 ? 255 : 0)};
        });
        int const colors = description.GetName().starts_with("ya") ? 1 : 3;
        for (char const* settings :
             {"width=50:height=23", "width=9:height=5", "width=11:height=16:algorithm=lanczos",
              "width=64:height=16:algorithm=bilinear"}) {
            SCOPED_TRACE(description.GetName() + ' ' + settings);
            SP<IDataVideo> const result = Resize(frame, settings);
            std::uint32_t const width = result->GetFrameInfo().width;
            auto const alpha = ReadShares(*result, colors);
            EXPECT_NEAR(alpha.front(), 1, 0.01);
            EXPECT_NEAR(alpha.back(), 0, 0.01);
            EXPECT_TRUE(std::ranges::any_of(alpha, [](double share) { return share > 0.1 && share < 0.9; }));
            for (int i = 0; i < colors; ++i) {
                auto const samples = ReadShares(*result, i);
                double const opaque = ReadShares(*frame, i).front();
                std::uint32_t const across = description.GetPlanWidth(i, width);
                for (std::uint32_t at = 0; at < samples.size(); ++at) {
                    // A sample's leftmost pixel is the most opaque one.
                    std::uint32_t const x = at % across * (across < width ? 2 : 1);
                    if (alpha[x] > 0.05) {
                        ASSERT_NEAR(samples[at], opaque, 0.015) << "component " << i << " column " << x;
                    }
                }
            }
        }
    }
}

TEST(Resizer, KeepsAllBitsOfDeepRgb) {
    SP<IDataVideo> const flat = MakeFrame(ByName("gbrp16le"));
    constexpr std::uint16_t shades[]{0x1235, 0xFFFE, 1};
    for (int i = 0; i < 3; ++i) {
        Proc::WritablePlane const plane = flat->GetWritablePlane(i);
        for (std::uint32_t y = 0; y < plane.rows; ++y)
            std::fill_n(reinterpret_cast<std::uint16_t*>(plane.data + y * plane.lineSize), s_small.width,
                        shades[i]);
    }
    for (char const* const algorithm : {"neighbor", "bilinear", "bicubic", "lanczos"}) {
        SCOPED_TRACE(algorithm);
        SP<IDataVideo> const result = Resize(flat, std::string("width=40:height=70:algorithm=") + algorithm);
        constexpr int components[]{1, 2, 0}; // G, B, R as R, G, B
        for (int i = 0; i < 3; ++i)
            for (std::uint32_t const sample : ReadSamples(*result, components[i]))
                ASSERT_EQ(sample, shades[i]);
    }
}

TEST(Resizer, BarsAreOfTheBackground) {
    struct {
        char const* format;
        Conf::ColorSpace space;
        std::vector<std::uint32_t> bar;
    } const rows[] = {
        {"rgb24", {}, {200, 30, 90}},
        {"rgba", {}, {200, 30, 90, 128}},
        {"yuva444p", {6, 1, 2}, {91, 129, 198, 128}},
        {"yuv420p", {1, 1, 2}, {77, 137, 200}},
        {"yuvj420p", {6, 0, 2}, {88, 129, 208}},
        {"yuv420p10be", {6, 1, 2}, {364, 516, 792}},
        {"yuv444p10le", {6, 2, 2}, {353, 516, 833}},
        {"gray", {6, 2, 2}, {88}},
        {"gray16le", {6, 1, 2}, {91 * 256}},
        {"gbrpf32le", {}, {0x3F48C8C9, 0x3DF0F0F1, 0x3EB4B4B5}},
    };
    for (auto const& row : rows) {
        SP<IDataVideo> const frame =
            PaintFrame(ByName(row.format), row.space, {40, 20, 1, 1}, [](auto, auto) -> PixColor {
                return {255, 255, 255, 255};
            });
        auto const resizer = MakeResizer("width=20:height=20:fit=pad:background=#c81e5a80");
        for (int time = 0; time < 2; ++time) { // bars are kept from the first
            SP<IDataVideo> data = frame;
            resizer->Process(data);
            for (std::size_t i = 0; i < row.bar.size(); ++i) {
                auto const samples = ReadSamples(*data, static_cast<int>(i));
                EXPECT_EQ(samples.front(), row.bar[i]) << row.format << " component " << i;
                EXPECT_EQ(samples.back(), row.bar[i]) << row.format << " component " << i;
            }
            bool const isSubsampled = PixFmtDescription::Find(data->GetPixelFormat()).GetChromaShiftY() > 0;
            std::uint32_t const top = isSubsampled ? 4 : 5;
            auto const luma = ReadSamples(*data, 0);
            for (std::uint32_t y = 0; y < 20; ++y)
                EXPECT_EQ(luma[20 * y + 10] == row.bar[0], y < top || y >= top + 10)
                    << row.format << " row " << y;
        }
    }
}

/// What is left, where nothing has to be scaled, is the middle bit for bit.
TEST(Resizer, CutsOffEvenly) {
    for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
        auto const& description = PixFmtDescription::Find(format);
        if (format == PixFmt::PAL8 || description.GetName().starts_with("xyz"))
            continue;
        for (FrameInfo const info : {FrameInfo{96, 32, 1, 1}, FrameInfo{32, 98, 1, 1}}) {
            SP<IDataVideo> const frame = MakeFrame(format, info);
            SP<IDataVideo> const result = Resize(frame, "width=32:height=32:fit=crop");
            std::uint32_t const left = info.width == 96 ? 32 : 0;
            // 33 from the top, or the beginning of its chroma sample.
            std::uint32_t const top =
                info.height == 98 ? 33U >> description.GetChromaShiftY() << description.GetChromaShiftY() : 0;
            for (int i = 0; i < (description.GetName().starts_with("gray") ? 1 : 2); ++i) {
                auto const whole = ReadSamples(*frame, i);
                auto const part = ReadSamples(*result, i);
                std::uint32_t const width = description.GetPlanWidth(i, 32);
                for (std::uint32_t at = 0; at < part.size(); ++at) {
                    std::uint32_t const x = description.GetPlanWidth(i, left) + at % width;
                    std::uint32_t const y = description.GetPlanHeight(i, top) + at / width;
                    ASSERT_EQ(part[at], whole[y * description.GetPlanWidth(i, info.width) + x])
                        << description.GetName() << " component " << i << " at " << at;
                }
            }
        }
    }
}

TEST(Resizer, KeepsColorSpaceAndDropsWhatSpeaksOfOldPlaces) {
    SP<IDataVideo> const frame = MakeFrame(PixFmt::YUV420P, {64, 48, 1, 1});
    AVFrame& in = *frame->GetAVFrame();
    int mark = 0;
    in.opaque = &mark;
    in.colorspace = AVCOL_SPC_BT709;
    in.color_range = AVCOL_RANGE_JPEG;
    in.color_trc = AVCOL_TRC_BT709;
    av_frame_new_side_data(&in, AV_FRAME_DATA_A53_CC, 3);
    av_frame_new_side_data(&in, AV_FRAME_DATA_REGIONS_OF_INTEREST, 40);
    SP<IDataVideo> const result = Resize(frame, "width=32");
    AVFrame const& out = *result->GetAVFrame();
    EXPECT_EQ(result->GetColorSpace(), frame->GetColorSpace());
    EXPECT_EQ(out.color_trc, AVCOL_TRC_BT709);
    EXPECT_EQ(out.opaque, &mark);
    EXPECT_NE(av_frame_get_side_data(&out, AV_FRAME_DATA_A53_CC), nullptr);
    EXPECT_EQ(av_frame_get_side_data(&out, AV_FRAME_DATA_REGIONS_OF_INTEREST), nullptr);
    EXPECT_NE(av_frame_get_side_data(&in, AV_FRAME_DATA_REGIONS_OF_INTEREST), nullptr);
}

TEST(Resizer, CountsInterlacedFramesWhoseFieldsMix) {
    for (auto const& [settings, count] : {std::pair{"width=32:height=24", 2}, {"width=32:height=48", 0}}) {
        auto const resizer = MakeResizer(settings);
        for (int i = 0; i < 2; ++i) {
            SP<IDataVideo> data = MakeFrame();
            Proc::SetFrameFieldOrder(*data->GetAVFrame(), Proc::FieldOrder::BottomFirst);
            resizer->Process(data);
        }
        EXPECT_EQ(resizer->GetStatistic()["Interlaced"].GetInt64(), count);
    }
}

TEST(Resizer, EveryAlgorithmTakesTheExtremes) {
    for (char const* algorithm :
         {"fast_bilinear", "bilinear", "bicubic", "neighbor", "area", "gauss", "sinc", "lanczos", "spline"})
        for (char const* format : {"yuv420p", "rgba", "gray16le"})
            for (auto const& [info, size] : {std::pair{FrameInfo{3000, 4, 1, 1}, "width=2:height=900"},
                                             {FrameInfo{1, 1, 1, 1}, "width=500:height=2"},
                                             {FrameInfo{64, 48, 1, 1}, "width=96:height=72"}}) {
                SP<IDataVideo> const frame = PaintFrame(ByName(format), {}, info, [](auto, auto) -> PixColor {
                    return {60, 60, 60, 255};
                });
                std::string const settings = std::string(size) + ":algorithm=" + algorithm;
                for (PixColor const& pixel : ReadColors(*Resize(frame, settings)))
                    ASSERT_LE(Difference(pixel, {60, 60, 60, 255}, true), 2 + s_scalerSlack)
                        << format << ' ' << settings << ' ' << int{pixel.red};
            }
}

} // namespace
} // namespace Tarsel::Test
