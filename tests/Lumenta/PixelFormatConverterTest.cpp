#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Effects/PixelFormatConverterFF.h"
#include "Proc/Settings/SettingsText.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Support/Arithmetic.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::ColorSpace;
using Conf::PixColor;
using Conf::PixFmt;
using Conf::PixFmtDescription;
using Proc::IDataVideo;

SP<Proc::PixelFormatConverterFF> MakeConverter(std::string const& settings) {
    Proc::SettingsPixelFormatConverter options;
    options.Deserialize(settings);
    auto converter = MakeSP<Proc::PixelFormatConverterFF>();
    converter->SetSettings(options);
    return converter;
}

SP<IDataVideo> Convert(SP<IDataVideo> const& data, std::string const& settings) {
    return Apply(*MakeConverter(settings), data);
}

/// Results of every format from every format, at an odd size, however it is stored.
TEST(PixelFormatConverter, GivesWhatTheQuerySaysForEveryFormat) {
    for (char const* target : {"rgb24", "yuv420p", "yuva420p", "gray", "nv12", "rgba", "gbrp", "pal8",
                               "yuv420p10le", "rgba64be", "yuyv422", "gbrapf32le"}) {
        auto const converter = MakeConverter(std::string("formats=") + target);
        for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
            SCOPED_TRACE(NameOf(format) + " to " + target);
            Conf::FrameInfo const info{17, 9, 4, 3};
            SP<IDataVideo> const frame = MakeFrame(format, info);
            SP<IDataVideo> const data = Apply(*converter, frame);
            SP<Conf::IFormatCodecVideo> const codec = Ask(*converter, format, info);

            ASSERT_EQ(data->GetPixelFormat(), ByName(target));
            EXPECT_EQ(codec->GetPixelFormat(), data->GetPixelFormat());
            EXPECT_EQ(codec->GetColorSpace(), data->GetColorSpace());
            EXPECT_EQ(codec->GetFrameInfo(), data->GetFrameInfo());
            EXPECT_EQ(data == frame, format == ByName(target));
            EXPECT_EQ(GetPixels(*Apply(*converter, StoreBottomUp(*frame))), GetPixels(*data));
        }
    }
}

TEST(PixelFormatConverter, TakesTheNearestAndPassesTheListed) {
    struct {
        char const* settings;
        char const* from;
        char const* to;
    } const rows[] = {
        {"formats=yuv420p|rgb24", "rgba", "rgb24"},
        {"formats=yuv420p|rgb24", "nv12", "yuv420p"},
        {"formats=yuv420p|yuv420p10le", "p010le", "yuv420p10le"},
        {"formats=rgb24|rgba", "yuva444p", "rgba"},
        {"formats=yuv444p|yuva420p:alpha=1", "yuva444p", "yuva420p"},
        {"formats=yuv444p|yuva420p:alpha=0", "yuva444p", "yuv444p"},
        {"formats=yuva420p|yuva422p|yuva444p", "rgba", "yuva444p"},
        {"formats=yuv444p|yuv420p", "yuvj420p", "yuv420p"},
        {"formats=yuvj420p|yuv420p", "yuvj420p", "yuvj420p"},
        {"formats=gray|pal8", "rgb24", "pal8"},
    };
    for (auto const& row : rows)
        EXPECT_EQ(NameOf(Convert(MakeFrame(ByName(row.from)), row.settings)->GetPixelFormat()), row.to)
            << row.settings << ' ' << row.from;
    SP<IDataVideo> const frame = MakeFrame();
    EXPECT_EQ(Convert(frame, ""), frame);
}

TEST(PixelFormatConverter, LosesAlphaOntoTheBackgroundInEveryFormat) {
    PixColor const background{20, 200, 100, 255};
    PixColor const color{230, 80, 40, 255};
    constexpr ColorSpace space{AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, AVCOL_PRI_BT709};
    // One alpha in each quarter of the picture.
    constexpr std::uint8_t alphas[]{0, 64, 128, 255};
    auto const alphaAt = [&](std::uint32_t x, std::uint32_t y) { return alphas[x / 16 + 2 * (y / 16)]; };
    for (char const* source : {"rgba", "yuva444p", "yuva420p", "gbrap16be"}) {
        SP<IDataVideo> const frame =
            PaintFrame(ByName(source), space, {32, 32, 1, 1}, [&](auto x, auto y) -> PixColor {
                return {color.red, color.green, color.blue, alphaAt(x, y)};
            });
        for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
            auto const& description = PixFmtDescription::Find(format);
            bool const isGray = description.GetName().starts_with("gray");
            if (description.HasAlpha() || isGray)
                continue;
            SCOPED_TRACE(std::string(source) + " to " + description.GetName());
            SP<IDataVideo> const result =
                Convert(frame, "background=#14c864:formats=" + description.GetName());
            std::vector<PixColor> const pixels = ReadColors(*result);
            // Steps of the coarsest component, and what is rounded on the way.
            int const step = description.GetDepth() >= 8  ? 5
                             : description.GetDepth() > 3 ? 20
                             : description.GetDepth() > 2 ? 90
                                                          : 256;
            for (auto const& [x, y] : {std::pair{8U, 8U}, {24U, 8U}, {8U, 24U}, {24U, 24U}}) {
                double const share = alphaAt(x, y) / 255.0;
                auto const mix = [&](int over, int under) {
                    return static_cast<std::uint8_t>(std::lround(over * share + under * (1 - share)));
                };
                PixColor const expected{mix(color.red, background.red), mix(color.green, background.green),
                                        mix(color.blue, background.blue), 255};
                PixColor const& pixel = pixels[y * 32 + x];
                EXPECT_LE(Difference(pixel, expected, false), step + s_scalerSlack)
                    << x << ' ' << y << ": " << int{pixel.red} << ' ' << int{pixel.green} << ' '
                    << int{pixel.blue};
            }
        }
    }
}

TEST(PixelFormatConverter, GrayOfTransparentPicturesIsThatOfTheBackground) {
    SP<IDataVideo> const frame = PaintFrame(PixFmt::RGBA, {}, {8, 8, 1, 1}, [](auto, auto) -> PixColor {
        return {0, 0, 0, 0};
    });
    for (auto const& [format, white] : {std::pair{"gray", 254U}, {"gray10le", 1023U}, {"gray16be", 65535U}})
        EXPECT_EQ(ReadSamples(*Convert(frame, std::string("background=white:formats=") + format), 0),
                  std::vector<std::uint32_t>(64, white))
            << format;
}

TEST(PixelFormatConverter, OpaquePixelsAreNotTouchedByTheBackground) {
    for (auto const& [from, to] : {std::pair{"yuva420p", "yuv420p"},
                                   {"yuva422p", "yuv422p"},
                                   {"yuva422p10le", "yuv422p10le"},
                                   {"yuva444p16be", "yuv444p16be"},
                                   {"gbrap12le", "gbrp12le"},
                                   {"gbrap", "gbrp"},
                                   {"rgba", "rgb24"}}) {
        SP<IDataVideo> const frame = MakeFrame(ByName(from), {19, 7, 1, 1});
        // Alpha is the last plane of planar formats and the last byte of the packed one.
        for (std::uint32_t y = 0; y < 7; ++y) {
            bool const isPacked = ByName(from) == PixFmt::RGBA;
            Proc::WritablePlane const plane = frame->GetWritablePlane(isPacked ? 0 : 3);
            int const depth = PixFmtDescription::Find(ByName(from)).GetDepth();
            for (std::size_t x = isPacked ? 3 : 0; x < plane.rowBytes; x += isPacked ? 4 : 1)
                plane.data[y * plane.lineSize + static_cast<std::ptrdiff_t>(x)] =
                    depth % 8 != 0 && x % 2 == 1 ? static_cast<std::uint8_t>(0xFF >> (16 - depth)) : 0xFF;
        }
        SP<IDataVideo> const result = Convert(frame, std::string("background=red:formats=") + to);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(ReadSamples(*result, i), ReadSamples(*frame, i)) << from << " component " << i;
    }
}

/// Colors there and back, and what frames say of them on the way.
TEST(PixelFormatConverter, KeepsMatrixAndRangeRight) {
    struct {
        ColorSpace yuv;
        ColorSpace rgb;
        char const* back;
        ColorSpace result;
    } const rows[] = {
        {{6, 1, 2}, {0, 2, 6}, "yuv444p", {6, 1, 6}},  {{5, 1, 2}, {0, 2, 5}, "yuv444p", {5, 1, 5}},
        {{1, 1, 1}, {0, 2, 1}, "yuv444p", {1, 1, 1}},  {{1, 2, 2}, {0, 2, 1}, "yuvj444p", {1, 2, 1}},
        {{6, 2, 6}, {0, 2, 6}, "yuvj444p", {6, 2, 6}}, {{9, 1, 9}, {0, 2, 9}, "yuv444p", {9, 1, 9}},
        {{2, 0, 2}, {2, 2, 2}, "yuv444p", {2, 1, 2}},  {{2, 2, 2}, {2, 2, 2}, "yuvj444p", {2, 2, 2}},
    };
    PixColor const colors[] = {{255, 255, 255}, {0, 0, 0}, {220, 40, 60}, {30, 150, 240}, {90, 200, 20}};
    auto const painter = [&](std::uint32_t x, std::uint32_t) { return colors[x / 4]; };
    for (char const* accurate : {"0", "1"})
        for (auto const& row : rows) {
            SCOPED_TRACE("matrix " + std::to_string(row.yuv.matrix) + " range " +
                         std::to_string(row.yuv.range) + " accurate " + accurate);
            std::string const also = std::string(":accurate=") + accurate;
            SP<IDataVideo> const yuv = PaintFrame(PixFmt::YUV444P, row.yuv, {20, 6, 1, 1}, painter);
            for (char const* rgbFormat : {"gbrp", "rgb24", "rgb48be"}) {
                SP<IDataVideo> const rgb = Convert(yuv, std::string("formats=") + rgbFormat + also);
                EXPECT_EQ(rgb->GetColorSpace(), row.rgb);
                SP<IDataVideo> const back = Convert(rgb, std::string("formats=") + row.back + also);
                EXPECT_EQ(back->GetColorSpace(), row.result);
                std::vector<PixColor> const shown = ReadColors(*rgb);
                for (std::uint32_t i = 0; i < shown.size(); ++i)
                    ASSERT_LE(Difference(shown[i], painter(i % 20, 0), true), 3) << rgbFormat << " at " << i;
                for (int i = 0; i < 3; ++i) {
                    auto const before = ReadSamples(*yuv, i);
                    auto const after = ReadSamples(*back, i);
                    for (std::size_t at = 0; at < before.size(); ++at)
                        ASSERT_NEAR(before[at], after[at], 2)
                            << rgbFormat << " component " << i << " at " << at;
                }
            }
            // Without RGB in between everything stays.
            SP<IDataVideo> const halved = Convert(yuv, "formats=nv12" + also);
            EXPECT_EQ(PixFmtDescription::Find(PixFmt::NV12).IsFullRange(halved->GetColorSpace()),
                      row.yuv.range == 2);
            EXPECT_EQ(halved->GetColorSpace().matrix, row.yuv.matrix);
            auto const luma = ReadSamples(*Convert(yuv, "formats=gray"), 0);
            EXPECT_EQ(luma, ReadSamples(*yuv, 0));
        }
}

TEST(PixelFormatConverter, SaysTheRangeWhereFormatsDifferInWhatTheyTakeForGranted) {
    struct {
        char const* from;
        int range;
        char const* to;
        int result;
    } const rows[] = {
        {"gray", 0, "yuv420p", 2},     {"gray", 1, "yuv420p", 1},  {"yuv420p", 0, "gray", 1},
        {"yuvj420p", 0, "yuv420p", 2}, {"yuvj420p", 1, "nv12", 2}, {"yuv420p", 1, "yuvj444p", 2},
        {"rgb24", 0, "yuv420p", 1},    {"rgb24", 2, "gray", 2},    {"pal8", 0, "yuv420p", 1},
        {"rgb24", 0, "pal8", 0},       {"ya8", 0, "gray10le", 0}};
    for (auto const& row : rows) {
        SP<IDataVideo> const frame = MakeFrame(ByName(row.from), {8, 8, 1, 1});
        frame->GetAVFrame()->color_range = static_cast<AVColorRange>(row.range);
        EXPECT_EQ(Convert(frame, std::string("formats=") + row.to)->GetColorSpace().range, row.result)
            << row.from << ' ' << row.range << " to " << row.to;
    }
}

std::uint32_t PaletteEntry(IDataVideo const& data, std::size_t index) {
    std::uint32_t entry = 0;
    std::memcpy(&entry, data.GetAVFrame()->data[1] + 4 * index, sizeof entry);
    return entry;
}

TEST(PixelFormatConverter, PalettesShowTheColors) {
    PixColor const colors[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {250, 250, 250, 0}, {12, 34, 56}};
    auto const painter = [&](std::uint32_t x, std::uint32_t) { return colors[x / 3]; };
    for (char const* source : {"rgba", "gbrap", "bgra"}) {
        SP<IDataVideo> const frame = PaintFrame(ByName(source), {}, {15, 5, 1, 1}, painter);
        SP<IDataVideo> const result = Convert(frame, "formats=pal8:background=#102030");
        auto const indices = ReadSamples(*result, 0);
        for (std::size_t i = 0; i < indices.size(); ++i) {
            PixColor const expected = i % 15 / 3 == 3 ? PixColor{0x10, 0x20, 0x30} : colors[i % 15 / 3];
            EXPECT_EQ(PaletteEntry(*result, indices[i]), 0xFF000000U | unsigned{expected.red} << 16 |
                                                             unsigned{expected.green} << 8 | expected.blue)
                << source << " at " << i;
        }
        EXPECT_EQ(PaletteEntry(*result, 0), 0xFF000000U);
        EXPECT_EQ(PaletteEntry(*result, 255), 0xFF000000U);
        std::vector<PixColor> const shown = ReadColors(*result);
        EXPECT_EQ(shown[1], colors[0]);
        // And from the palette on to other formats.
        EXPECT_EQ(ReadColors(*Convert(result, "formats=rgb24"))[4], colors[1]);
    }
}

TEST(PixelFormatConverter, PalettesHaveTheColorsThatWereAllowed) {
    SP<IDataVideo> const frame =
        PaintFrame(PixFmt::RGB24, {}, {64, 64, 1, 1}, [](auto x, auto y) -> PixColor {
            return {static_cast<std::uint8_t>(4 * x), static_cast<std::uint8_t>(4 * y), 128};
        });
    auto const used = [&](std::string const& settings) {
        auto const indices = ReadSamples(*Convert(frame, "formats=pal8" + settings), 0);
        return std::set(indices.begin(), indices.end()).size();
    };
    EXPECT_GT(used(""), 100U);
    EXPECT_LE(used(""), 255U);
    EXPECT_EQ(used(":colours=1"), 1U); // as the key was once called
    EXPECT_EQ(used(":colors=7"), 7U);
    auto const plain = ReadSamples(*Convert(frame, "formats=pal8:colors=7"), 0);
    EXPECT_EQ(plain, ReadSamples(*Convert(frame, "formats=pal8:colors=7:dither=0"), 0));
    EXPECT_NE(plain, ReadSamples(*Convert(frame, "formats=pal8:colors=7:dither=1"), 0));
}

TEST(PixelFormatConverter, TransparentEntriesOfPalettesShowTheBackground) {
    SP<IDataVideo> const frame = MakeFrame(PixFmt::PAL8, {6, 4, 1, 1});
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t const entry = i % 2 == 0 ? 0x00FFFFFFU : 0xFF000000U | i << 8;
        std::memcpy(frame->GetAVFrame()->data[1] + 4 * std::size_t{i}, &entry, sizeof entry);
    }
    auto const indices = ReadSamples(*frame, 0);
    auto const colors = ReadColors(*Convert(frame, "formats=gbrp:background=#400000"));
    for (std::size_t i = 0; i < colors.size(); ++i) {
        PixColor const expected = indices[i] % 2 == 0 ? PixColor{0x40, 0, 0}
                                                      : PixColor{0, static_cast<std::uint8_t>(indices[i]), 0};
        EXPECT_LE(Difference(colors[i], expected, false), 1) << i;
    }
}

TEST(PixelFormatConverter, RefusesOrTellsLosses) {
    struct {
        char const* from;
        char const* to;
        int mask;
        char const* description;
    } const rows[] = {
        {"rgba", "rgb24", 8, "rgba -> rgb24; lost: alpha"},
        {"yuv444p", "yuv420p", 1, "yuv444p -> yuv420p; lost: chroma resolution"},
        {"yuv420p10le", "yuv420p", 2, "yuv420p10le -> yuv420p; lost: depth"},
        {"rgb24", "gray", 36, "rgb24 -> gray; lost: color, color space"},
        {"rgb24", "pal8", 18, "rgb24 -> pal8; lost: depth, colors beyond the palette"},
        {"rgba", "pal8", 26, "rgba -> pal8; lost: alpha, depth, colors beyond the palette"},
        {"yuv420p", "nv12", 0, "yuv420p -> nv12"},
        {"yuvj420p", "yuv420p", 0, "yuvj420p -> yuv420p"},
        {"gray", "yuv420p", 0, "gray -> yuv420p"},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(std::string(row.from) + " to " + row.to);
        std::string const message = std::string("Pixel format convertion from ") + row.from + " to " +
                                    row.to + " have loss mask=" + std::to_string(row.mask);
        std::string const settings = std::string("formats=") + row.to;
        SP<IDataVideo> const frame = MakeFrame(ByName(row.from));
        SP<Conf::IFormatCodecVideo> codec = MakeCodec(ByName(row.from));

        auto const strict = MakeConverter(settings + ":refuse-loss=1");
        auto const lenient = MakeConverter(settings);
        EXPECT_EQ(lenient->Describe(*codec), row.description);
        SP<IDataVideo> data = frame;
        if (row.mask == 0) {
            strict->Process(data);
            EXPECT_NE(data, frame);
        } else {
            Failure const failure = Catch([&] { strict->Process(data); });
            EXPECT_EQ(failure.text, message);
            EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/Effects/PixelFormatConverterFF");
            EXPECT_EQ(data, frame);
            EXPECT_EQ(Catch([&] { strict->UpdateFormatCodec(codec); }).text, message);
            EXPECT_EQ(Catch([&] { (void)strict->Describe(*codec); }).text, message);
            EXPECT_EQ(codec->GetPixelFormat(), ByName(row.from));
        }
        data = frame;
        lenient->Process(data);
        EXPECT_EQ(data->GetPixelFormat(), ByName(row.to));
        EXPECT_EQ(lenient->GetStatistic()["Options"].GetString(), row.description);
    }
    auto const opaque = MakeConverter("formats=rgb24:alpha=0:refuse-loss=1");
    SP<IDataVideo> data = MakeFrame(PixFmt::RGBA);
    opaque->Process(data);
    EXPECT_EQ(data->GetPixelFormat(), PixFmt::RGB24);
}

TEST(PixelFormatConverter, RefusesWhatItCannotReadOrMake) {
    auto const converter = MakeConverter("formats=rgb24");
    SP<IDataVideo> const liar = MakeLiar({64, 10, 1, 1});
    SP<IDataVideo> data = liar;
    EXPECT_EQ(Catch([&] { converter->Process(data); }).text,
              "Frame has only 64x10 pixels of the 64x48 it is said to have");
    EXPECT_EQ(data, liar);

    Proc::SettingsPixelFormatConverter settings;
    settings.formats = {static_cast<PixFmt>(AV_PIX_FMT_MONOWHITE),
                        static_cast<PixFmt>(AV_PIX_FMT_BAYER_BGGR8)};
    converter->SetSettings(settings);
    data = MakeFrame();
    EXPECT_EQ(Catch([&] { converter->Process(data); }).text,
              "None of the allowed pixel formats can be written: monow, bayer_bggr8");
    // And is as good as new.
    settings.formats = {PixFmt::RGB24};
    converter->SetSettings(settings);
    converter->Process(data);
    EXPECT_EQ(data->GetPixelFormat(), PixFmt::RGB24);
}

} // namespace
} // namespace Tarsel::Test
