// Formats, sizes, aspects and color descriptions of pictures on their way into an encoder.

#include "Media/Codec/VideoConversion.h"
#include "RunFixture.h"
#include "Support/Arithmetic.h"
#include "Support/Planes.h"
#include "Support/Process.h"

extern "C" {
#include <libavcodec/codec_id.h>
#include <libavutil/pixfmt.h>
}

namespace Tarsel::Test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

using Colors = RunFixture;

// Said by the pictures: of options that say it to the encoder, later versions of the program drop some.
std::string const s_hd = ",setparams=colorspace=bt709:color_primaries=bt709:color_trc=bt709:range=";
std::string const s_hdr = ",setparams=colorspace=bt2020nc:color_primaries=bt2020:color_trc=smpte2084:range=";

// Encoders that take the very pictures keep the pixels and all that is said of them.
TEST_F(Colors, AreKept) {
    struct {
        /// Of the ffmpeg program, for 64x48 pictures.
        std::string arguments;
        std::string output;
    } const cases[] = {{"-pix_fmt yuv420p", "out.mp4"},
                       {"-vf format=yuv422p" + s_hd + "pc", "out.mp4"},
                       {"-vf format=yuv422p" + s_hd + "pc", "out.mkv"},
                       {"-vf format=yuv444p10le" + s_hdr + "tv", "out.mp4"},
                       {"-vf format=yuv444p10le" + s_hdr + "tv", "out.mkv"},
                       {"-pix_fmt yuv420p -chroma_sample_location topleft", "out.mp4"},
                       {"-pix_fmt yuva444p", "out.mkv"},
                       {"-pix_fmt gbrp", "out.mkv"},
                       {"-pix_fmt yuv420p -vf setsar=16/11", "out.mp4"},
                       {"-pix_fmt yuv420p -s 65x49", "out.mkv"}};
    for (auto const& [arguments, output] : cases) {
        SCOPED_TRACE(arguments + " " + output);
        Make(File("in.mkv"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 " + arguments + " -c:v ffv1");
        Media::RunOptions options = Lossless("in.mkv", output);
        auto const notes = Media::Run(options).notes;
        MediaRecord const in = ReadMedia(File("in.mkv"));
        MediaRecord out = ReadMedia(File(output));
        // FFmpeg's decoders have another name for some formats where their range is full.
        EXPECT_EQ(out.format.starts_with("yuvj") ? "yuv" + out.format.substr(4) : out.format, in.format);
        // H.264 means limited by saying nothing, and has no other way where nothing else is known.
        if (in.color.range == AVCOL_RANGE_MPEG && in.color.matrix == AVCOL_SPC_UNSPECIFIED &&
            out.color.range == AVCOL_RANGE_UNSPECIFIED)
            out.color.range = AVCOL_RANGE_MPEG;
        if (in.color.chromaLocation == AVCHROMA_LOC_UNSPECIFIED)
            out.color.chromaLocation = AVCHROMA_LOC_UNSPECIFIED; // H.264 means left by saying nothing
        EXPECT_EQ(out.color, in.color);
        EXPECT_EQ(out.aspect, in.aspect);
        EXPECT_EQ(out.GetHashes(), in.GetHashes());
        EXPECT_THAT(notes, IsEmpty());
    }
}

// RGB becomes YUV that says which: a player of HD assumes BT.709, and so a color stays what it is.
TEST_F(Colors, RgbSaysItsMatrix) {
    Make(File("in.png"), "-f lavfi -i color=0x20c040:s=64x48 -frames:v 1 -pix_fmt rgb24");
    Media::Run(Options("in.png", "out.mp4"));
    MediaRecord const film = ReadMedia(File("out.mp4"));
    EXPECT_EQ(film.color.matrix, AVCOL_SPC_BT709);
    EXPECT_EQ(film.color.range, AVCOL_RANGE_MPEG);
    Media::Run(Options("out.mp4", "back.png"));
    std::string const pixels =
        RunFFmpeg("-i", {File("back.png")}, "-vf crop=1:1:9:9 -f rawvideo -pix_fmt rgb24 -");
    EXPECT_NEAR(static_cast<unsigned char>(pixels.at(0)), 0x20, 2 + Tarsel::Test::s_scalerSlack);
    EXPECT_NEAR(static_cast<unsigned char>(pixels.at(1)), 0xc0, 2 + Tarsel::Test::s_scalerSlack);
    EXPECT_NEAR(static_cast<unsigned char>(pixels.at(2)), 0x40, 2 + Tarsel::Test::s_scalerSlack);
}

// A codec that says nothing of the range, in a container that does not either: a reader takes it for limited.
TEST_F(Colors, FullRangeBecomesLimitedWhereItCannotBeTold) {
    Make(File("in.mkv"), "-f lavfi -i color=white:s=64x48:r=25:d=0.2 -vf scale=out_range=pc,format=yuv420p "
                         "-color_range pc -c:v ffv1");
    Make(File("white.png"), "-f lavfi -i color=white:s=32x32 -frames:v 1 -pix_fmt gray");
    for (std::string const name : {"white.png", "in.mkv"}) {
        Media::RunOptions options = Options(name, name + ".jpg");
        if (name == "in.mkv")
            options.at = 0;
        Media::Run(options);
        EXPECT_GE(ReadMedia(options.output).brightness, 254);
    }
    Media::Run(Options("in.mkv", "out.avi"));
    EXPECT_NEAR(ReadMedia(File("out.avi")).brightness, 235, 1);
    Media::Run(Options("in.mkv", "out.mp4"));
    EXPECT_NEAR(ReadMedia(File("out.mp4")).brightness, 255, 1);
    // MP4 tells it of MPEG-4 beside a whole description of the colors only, which JPEG has not.
    Make(File("in.avi"), "-i " + File("in.mkv").string() + " -c:v mjpeg -q:v 1");
    Media::RunOptions options = Options("in.avi", "mpeg4.mp4");
    options.videoEncoder = "mpeg4";
    Media::Run(options);
    MediaRecord const out = ReadMedia(File("mpeg4.mp4"));
    EXPECT_NEAR(out.brightness, out.color.range == AVCOL_RANGE_JPEG ? 255 : 235, 1);
}

TEST_F(Colors, LightLevelsOfHdrAreKept) {
    Make(File("in.mp4"), s_pictures +
                             "-c:v libx265 -x265-params log-level=none:hdr10=1:"
                             "master-display=G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)"
                             "L(10000000,1):max-cll=1000,400 "
                             "-vf format=yuv420p10le" +
                             s_hdr + "tv");
    for (std::string const name : {"out.mp4", "out.mkv"}) {
        Media::Run(Options("in.mp4", name));
        EXPECT_THAT(RunForOutput({"ffprobe", "-v", "error", "-show_entries", "stream_side_data", "-of",
                                  "default=nw=1", File(name)}),
                    testing::AllOf(HasSubstr("max_content=1000\nmax_average=400\n"),
                                   testing::ContainsRegex("white_point_x=(15635/50000|3127/10000)"),
                                   testing::ContainsRegex("max_luminance=(10000000/10000|1000/1)")))
            << name;
    }
    // Bare streams say it themselves; not every reader of H.264 looks.
    for (std::string const name : {"out.hevc", "out.h264"}) {
        EXPECT_THAT(Media::Run(Options("in.mp4", name)).notes,
                    testing::Each(testing::Not(HasSubstr("light"))));
        EXPECT_THAT(Read(name),
                    HasSubstr("\x33\xc2\x86\xc4\x1d\x4c\x0b\xb8\x84\xd0\x3e\x80\x3d\x13\x40\x42"));
        EXPECT_THAT(Read(name), HasSubstr("\x03\xe8\x01\x90"));
    }
    Media::RunOptions options = Options("in.mp4", "out.ts");
    options.videoEncoder = "mpeg2video";
    EXPECT_THAT(Media::Run(options).notes, Contains(HasSubstr("Left out the HDR light levels")));
}

// Told only where the file does not state it, which FFmpeg says when it reads it back.
TEST_F(Colors, HdrIsStatedOrItsLossIsTold) {
    Make(File("in.mkv"), s_pictures + "-c:v ffv1 -vf format=yuv420p10le" + s_hdr + "tv");
    for (std::string const name : {"out.mp4", "out.mkv", "out.webm", "out.ts", "out.mov", "out.avi",
                                   "out.png", "out.jpg", "out.gif"}) {
        Media::RunOptions options = Options("in.mkv", name);
        if (name == "out.png" || name == "out.jpg")
            options.at = 0;
        auto const notes = Media::Run(options).notes;
        bool const isStated = ReadMedia(File(name)).color.transfer == AVCOL_TRC_SMPTE2084;
        EXPECT_EQ(isStated,
                  testing::Value(notes, testing::Not(Contains(HasSubstr(
                                            "to keep the transfer curve smpte2084 and the primaries")))))
            << name;
        EXPECT_TRUE(isStated || name == "out.avi" || name > "out.g") << name;
    }
}

TEST_F(Colors, AlphaOfWebmIsKept) {
    Make(File("in.webm"), "-f lavfi -i color=red@0.5:s=64x48:r=25:d=0.2,format=yuva420p -c:v libvpx-vp9 "
                          "-auto-alt-ref 0 -metadata:s:v alpha_mode=1");
    Media::VideoStreamInfo info;
    Media::RunOptions options = Options("in.webm", "out.webm");
    options.videoEncoderOptions = {{"auto-alt-ref", "0"}};
    options.makeVideoEffects = Note(info);
    Media::Run(options);
    EXPECT_EQ(info.format, Conf::PixFmt::YUVA420P);
    EXPECT_EQ(ReadMedia(File("out.webm")).streams[0].metadata["alpha_mode"], "1");
}

std::vector<Conf::PixFmt> Formats(std::initializer_list<char const*> names) {
    std::vector<Conf::PixFmt> formats;
    for (char const* name : names)
        formats.push_back(ByName(name));
    return formats;
}

TEST(ChooseVideoConversion, NearestFormatAndRange) {
    constexpr Conf::ColorSpace none{};
    constexpr Conf::ColorSpace full{2, AVCOL_RANGE_JPEG, 2};
    constexpr Conf::ColorSpace wide{AVCOL_SPC_RGB, AVCOL_RANGE_UNSPECIFIED, AVCOL_PRI_BT2020};
    constexpr Conf::ColorSpace hd{AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, AVCOL_PRI_BT709};
    auto const x264 = Media::GetCodecFacts(AV_CODEC_ID_H264);
    auto const mjpeg = Media::GetCodecFacts(AV_CODEC_ID_MJPEG);
    Media::EncoderRules const film{Formats({"yuv420p", "yuvj420p", "yuv444p", "yuv420p10le", "gray"}), false,
                                   x264};
    Media::EncoderRules const jpeg{Formats({"yuvj420p", "yuvj422p", "yuvj444p"}), false, mjpeg};
    Media::EncoderRules const limited{Formats({"yuv420p"}), true, {}};
    Media::EncoderRules const gray{Formats({"gray"}), false, {}};
    Media::EncoderRules const pgm{Formats({"gray"}), true, {}};
    Media::EncoderRules const png{Formats({"rgb24", "rgba", "pal8", "gray"}), false, {}};
    struct {
        char const* format;
        Conf::ColorSpace space;
        Media::EncoderRules rules;
        char const* wanted;
        std::int32_t range;
        bool isConverted;
        std::int32_t matrix = AVCOL_SPC_UNSPECIFIED;
    } const cases[] = {
        {"yuvj420p", none, film, "yuv420p", AVCOL_RANGE_JPEG, false}, // other names for the same
        {"yuv420p", full, film, "yuv420p", AVCOL_RANGE_JPEG, false},
        {"yuv422p10le", none, film, "yuv420p10le", AVCOL_RANGE_UNSPECIFIED, true},
        {"gray", full, film, "gray", AVCOL_RANGE_JPEG, false},
        {"yuv422p", full, jpeg, "yuvj422p", AVCOL_RANGE_JPEG, false, AVCOL_SPC_BT470BG},
        {"yuv420p", hd, jpeg, "yuvj420p", AVCOL_RANGE_JPEG, true, AVCOL_SPC_BT470BG},
        {"yuvj420p", none, limited, "yuv420p", AVCOL_RANGE_MPEG, true},
        {"rgb24", none, limited, "yuv420p", AVCOL_RANGE_MPEG, true, AVCOL_SPC_BT709},
        {"gbrp", wide, film, "yuv444p", AVCOL_RANGE_MPEG, true, AVCOL_SPC_BT2020_NCL},
        {"xyz12le", none, film, "yuv420p10le", AVCOL_RANGE_MPEG, true, AVCOL_SPC_BT709},
        {"yuv444p", wide, film, "yuv444p", AVCOL_RANGE_UNSPECIFIED, false}, // made of RGB by a filter
        {"gbrp", none, gray, "gray", AVCOL_RANGE_JPEG, true, AVCOL_SPC_BT709},
        {"yuv420p", hd, pgm, "gray", AVCOL_RANGE_JPEG, true, AVCOL_SPC_BT709},
        {"yuv420p", none, png, "rgb24", AVCOL_RANGE_JPEG, true, AVCOL_SPC_RGB},
        {"pal8", none, png, "pal8", AVCOL_RANGE_UNSPECIFIED, false},
        {"bgra", none, png, "rgba", AVCOL_RANGE_UNSPECIFIED, true}}; // the scaler makes no palettes
    for (auto const& row : cases) {
        SCOPED_TRACE(std::string(row.format) + " to " + row.wanted);
        auto const made = Media::ChooseVideoConversion(ByName(row.format), row.space, 64, 48, row.rules);
        EXPECT_EQ(made.format, ByName(row.wanted));
        EXPECT_EQ(made.space.range, row.range);
        EXPECT_EQ(made.space.matrix, row.matrix);
        EXPECT_EQ(made.isConverted, row.isConverted);
    }
    Media::EncoderRules const wholeChroma{Formats({"yuv420p"}), false, x264};
    EXPECT_EQ(Media::ChooseVideoConversion(ByName("yuv420p"), none, 65, 48, wholeChroma).format,
              Conf::PixFmt::None);
}

} // namespace
} // namespace Tarsel::Test
