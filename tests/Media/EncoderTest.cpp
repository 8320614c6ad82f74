// Options of encoders, and pictures however they are stored.

#include "Core/ThreadBudget.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Codec/VideoEncoder.h"
#include "Media/MediaExceptions.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Wrappers/FrameRoom.h"
#include "RunFixture.h"
#include "Support/Planes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Test {
namespace {

TEST(VideoOptions, AreEffortQualityOwnWaysAndTheUsers) {
    using enum Media::Quality;
    using Options = Media::EncoderOptions;
    auto const tell = [](char const* encoder, Media::Quality quality, int threads, Options const& users) {
        return Media::MakeVideoOptions(*avcodec_find_encoder_by_name(encoder), users, quality, threads);
    };
    auto const x264 = [](auto... rest) { return Options{{"preset", "medium"}, rest...}; };
    using Pair = Options::value_type;
    EXPECT_EQ(tell("libx264", VisuallyLossless, 1, {}), x264(Pair("crf", "18")));
    EXPECT_EQ(tell("libx264", Low, 1, {{"b", "2M"}}), x264(Pair("b", "2M")));
    // The user's comes after and wins.
    EXPECT_EQ(tell("libx264", High, 1, {{"preset", "slow"}}),
              x264(Pair("crf", "20"), Pair("preset", "slow")));
    EXPECT_EQ(tell("libx264", High, 1, {{"x264-params", "keyint=9:crf=30"}}),
              x264(Pair("x264-params", "keyint=9:crf=30")));
    EXPECT_EQ(tell("mpeg4", VisuallyLossless, 1, {}),
              (Options{{"flags", "+qscale"}, {"global_quality", "236"}}));
    EXPECT_EQ(tell("ffv1", VisuallyLossless, 1, {}), Options());
    EXPECT_EQ(tell("libx265", Medium, 0, {}), (Options{{"x265-params", "log-level=error"}, {"crf", "28"}}));
    EXPECT_EQ(tell("libx265", Low, 3, {{"crf", "20"}, {"x265-params", "pools=7:keyint=9"}}),
              (Options{{"x265-params", "log-level=error:pools=3:pools=7:keyint=9"}, {"crf", "20"}}));
    EXPECT_EQ(tell("libx265", Lossless, 1, {{"x265-params", "keyint=9"}}),
              (Options{{"x265-params", "log-level=error:pools=none:lossless=1:keyint=9"}}));
}

/// Encoders that open here for small pictures in the format and are done within seconds.
std::vector<AVCodec const*> ListQuickEncoders() {
    std::vector<AVCodec const*> encoders;
    void* position = nullptr;
    while (AVCodec const* const codec = av_codec_iterate(&position)) {
        constexpr int unfit = AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_EXPERIMENTAL | AV_CODEC_CAP_HYBRID;
        bool const isSlow = std::string_view(codec->name) == "librav1e";
        if (av_codec_is_encoder(codec) != 0 && codec->type == AVMEDIA_TYPE_VIDEO && !isSlow &&
            (codec->capabilities & unfit) == 0 && Media::WorksInOrdinaryMemory(*codec))
            encoders.push_back(codec);
    }
    return encoders;
}

using Frames = std::array<AVFrame const*, 3>;

/// What the encoder makes of the pictures; nothing where it does not open.
std::vector<std::string> Encode(AVCodec const& encoder, Frames const& frames,
                                Media::Quality quality = Media::Quality::VisuallyLossless) {
    std::vector<SP<Proc::IDataVideo>> pictures;
    for (AVFrame const* const frame : frames)
        pictures.push_back(
            MakeSP<Proc::DataVideoFF>(Proc::SafeFrame::Reference(*frame), Proc::GetFrameInfo(*frame)));
    Media::EncoderRequest request;
    request.encoder = &encoder;
    request.quality = quality;
    request.container = av_guess_format("nut", nullptr, nullptr);
    request.timeBase = {1, 25};
    request.inputRate = {25, 1};
    std::vector<std::string> packets;
    try {
        Media::VideoEncoder made(request, {pictures[0], {0, 1}});
        auto const receive = [&] {
            while (AVPacket const* const packet = made.Receive())
                packets.emplace_back(packet->data, packet->data + packet->size);
        };
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            made.Send({pictures[i], {static_cast<std::int64_t>(i), 1}});
            receive();
        }
        made.End();
        receive();
    } catch (Media::OutputException const&) {
        packets.clear();
    }
    return packets;
}

std::vector<std::string> EncodeThrice(AVCodec const& encoder, AVFrame const& frame) {
    return Encode(encoder, {&frame, &frame, &frame});
}

/// Deep noise whose samples lie within their depth, as some encoders want it.
Proc::SafeFrame MakeDeepNoise(Conf::PixFmt format, std::uint32_t width, std::uint32_t height) {
    Proc::SafeFrame frame = MakeNoise(format, width, height);
    int const depth = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format))->comp[0].depth;
    for (AVBufferRef const* buffer : frame->buf)
        for (std::size_t i = 1; depth > 8 && buffer != nullptr && i < buffer->size; i += 2)
            buffer->data[i] &= static_cast<std::uint8_t>((1 << (depth - 8)) - 1);
    return frame;
}

/// A piece of a larger picture, as a crop without a copy makes it.
Proc::SafeFrame CutOut(AVFrame const& larger) {
    Proc::SafeFrame piece = Proc::SafeFrame::Reference(larger);
    int const bytes = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(larger.format))->comp[0].step;
    piece->width -= 16;
    piece->height -= 16;
    for (int plane = 0; plane < 3 && piece->data[plane] != nullptr; ++plane)
        piece->data[plane] += std::ptrdiff_t{2} * bytes;
    return piece;
}

// Some encoders crash at line sizes below 0, which vflip makes.
TEST(EveryEncoder, TakesPicturesHoweverTheyAreStored) {
    int const threads = Core::ThreadBudget::Get();
    Core::ThreadBudget::Set(1);
    av_log_set_level(AV_LOG_QUIET);
    std::size_t opened = 0;
    for (char const* const format : {"yuv420p", "yuv420p10le"}) {
        Proc::SafeFrame const piece = CutOut(*MakeDeepNoise(ByName(format), 80, 80));
        for (AVCodec const* const encoder : ListQuickEncoders()) {
            SCOPED_TRACE(std::string(encoder->name) + " " + format);
            std::vector<std::string> const wanted = EncodeThrice(*encoder, *Proc::MakeRegular(*piece));
            opened += wanted.empty() ? 0 : 1;
            if (wanted.empty() || encoder->id == AV_CODEC_ID_WRAPPED_AVFRAME)
                continue;
            EXPECT_EQ(EncodeThrice(*encoder, *piece).size(), wanted.size());
            EXPECT_EQ(EncodeThrice(*encoder, *StoreBottomUp(*piece)), wanted);
        }
    }
    EXPECT_GT(opened, 60U);
    Core::ThreadBudget::Set(threads);
}

// From the table: each level takes more than the one below, and the last loses nothing.
TEST(EveryEncoder, GetsBiggerWithQuality) {
    av_log_set_level(AV_LOG_QUIET);
    // Pieces of wider and wider noise, of which no two are alike; what is weaker quantizers tell apart.
    std::array<Proc::SafeFrame, 3> noise;
    Frames frames{};
    for (std::size_t i = 0; i < noise.size(); ++i) {
        noise[i] = MakeNoise(ByName("yuv420p"), 176 + 64 * static_cast<std::uint32_t>(i), 144);
        noise[i]->width = 176;
        for (AVBufferRef const* buffer : noise[i]->buf)
            for (std::size_t at = 0; buffer != nullptr && at < buffer->size; ++at)
                buffer->data[at] = static_cast<std::uint8_t>(96 + buffer->data[at] / 4);
        frames[i] = noise[i].Get();
    }
    std::size_t told = 0;
    for (AVCodec const* const encoder : ListQuickEncoders()) {
        if (Media::LosesNothing(*encoder) || !Media::HasQuality(*encoder, Media::Quality::Low))
            continue;
        SCOPED_TRACE(encoder->name);
        std::size_t last = 0;
        for (Media::Quality const quality : Media::s_everyQuality) {
            if (!Media::HasQuality(*encoder, quality))
                continue;
            std::size_t size = 0;
            for (std::string const& packet : Encode(*encoder, frames, quality))
                size += packet.size();
            if (size == 0)
                break; // it does not open for such pictures
            EXPECT_GT(size, last) << Media::GetQualityName(quality);
            last = size;
        }
        told += last > 0 ? 1 : 0;
    }
    EXPECT_GT(told, 15U);
}

using Encoder = RunFixture;

TEST_F(Encoder, LosesNothingWhereThatIsAsked) {
    struct {
        char const* encoder;
        char const* output;
        char const* format;
    } const cases[] = {{"libx264", "a.mp4", "yuv420p"},     {"libx264", "b.mp4", "yuv444p10le"},
                       {"libx265", "c.mp4", "yuv420p10le"}, {"libvpx-vp9", "d.webm", "yuv420p"},
                       {"libaom-av1", "e.mkv", "yuv420p"},  {"ffv1", "f.mkv", "yuv420p"}};
    for (auto const& [encoder, output, format] : cases) {
        SCOPED_TRACE(output);
        Make(File("in.mkv"),
             std::string("-f lavfi -i testsrc2=s=64x48:r=25:d=0.12 -c:v ffv1 -pix_fmt ") + format);
        Media::RunOptions options = Options("in.mkv", output);
        options.videoEncoder = encoder;
        options.quality = Media::Quality::Lossless;
        auto const [result, in, out] = Trip(options);
        EXPECT_THAT(result.notes, testing::IsEmpty());
        EXPECT_EQ(out.GetHashes(), in.GetHashes());
    }
}

// What encoders do with pictures that nobody asked for.
TEST_F(Encoder, IsToldOf) {
    struct {
        std::string arguments;
        std::string output;
        std::string note;
    } const cases[] = {
        {"-c:v ffv1 -pix_fmt yuv420p", "out.ogv",
         "Choose another encoder to keep every frame: libtheora left out ([0-9]|1[0-9]|2[0-4]) of 25."},
        {"-c:v libaom-av1 -cpu-used 8 -s 48x32", "out.mkv",
         "The encoder \"libsvtav1\" takes no frames smaller than 64x64; these are 48x32: "
         "used libaom-av1 instead."},
        {"-c:v ffv1 -vf scale=576:720,setsar=15/16", "out.mpg",
         "Resize to square pixels to keep the shape of the frames: mpeg2video in .mpg says a pixel aspect of "
         "[0-9]+:[0-9]+, not 15:16."},
        {"-c:v ffv1 -vf scale=720:576,setsar=16/15", "out.mpg", ""},
    };
    for (auto const& row : cases) {
        SCOPED_TRACE(row.arguments);
        Make(File("in.mkv"), s_pictures + row.arguments);
        Media::RunOptions options = Options("in.mkv", row.output);
        options.overwrite = true;
        auto const notes = Media::Run(options).notes;
        if (row.note.empty()) {
            EXPECT_THAT(notes, testing::Each(testing::Not(testing::HasSubstr("aspect"))));
        } else {
            EXPECT_THAT(notes, testing::Contains(testing::MatchesRegex(row.note)));
        }
    }
}

} // namespace
} // namespace Tarsel::Test
