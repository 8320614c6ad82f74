// Minutes of film: times do not drift, and memory does not grow with the length.

#include "Media/Base/Times.h"
#include "Media/Container/Demuxer.h"
#include "RunFixture.h"
#include "Support/MemoryWatch.h"

#include <cmath>
#include <memory>

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Test {
namespace {

/// Sound of 57 MB.
std::string const s_longSound = "-f lavfi -i anullsrc=r=48000:cl=stereo:d=300 ";

class LongFilm : public RunFixture {
protected:
    /// Calls `visit` with each packet of a file, in the file's order.
    void ForEachPacket(std::string const& name,
                       std::function<void(AVPacket const&, AVStream const&)> const& visit) const {
        Media::Demuxer demuxer(File(name), {});
        Media::UniquePacket const packet = Media::MakePacket();
        while (demuxer.Read(*packet)) {
            visit(*packet, *demuxer.GetContext().streams[packet->stream_index]);
            av_packet_unref(packet.get());
        }
    }

    /// How far the sound of a file is ahead of its pictures, or behind, at most: in microseconds, in the
    /// file's order.
    std::int64_t MeasureSkew(std::string const& name) const {
        std::int64_t times[2] = {0, 0};
        std::int64_t skew = 0;
        ForEachPacket(name, [&](AVPacket const& packet, AVStream const& stream) {
            bool const isPicture = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
            times[isPicture ? 0 : 1] = Media::ToMicroseconds(packet.dts, Media::FromAV(stream.time_base));
            skew = std::max(skew, std::abs(times[0] - times[1]));
        });
        return skew;
    }

    std::int64_t CountAudioBytes(std::string const& name) const {
        std::int64_t bytes = 0;
        ForEachPacket(name, [&](AVPacket const& packet, AVStream const& stream) {
            if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
                bytes += packet.size;
        });
        return bytes;
    }
};

TEST_F(LongFilm, TimesDoNotDrift) {
    Make(File("in.mov"),
         "-f lavfi -i testsrc2=s=32x32:r=30000/1001:d=300 -f lavfi -i sine=d=300:r=12000 -c:v mpeg4 "
         "-c:a pcm_s16le");
    Media::RunOptions options = Options("in.mov", "out.mov");
    options.videoEncoder = "mpeg4";
    Media::Run(options);

    std::int64_t pictures = 0;
    std::int64_t samples = 0;
    std::int64_t wrong = 0;
    ForEachPacket("out.mov", [&](AVPacket const& packet, AVStream const& stream) {
        bool const isPicture = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
        AVRational const clock = isPicture ? AVRational{1001, 30000} : AVRational{1, 12000};
        if (av_compare_ts(packet.pts, stream.time_base, isPicture ? pictures : samples, clock) != 0)
            ++wrong;
        pictures += isPicture ? 1 : 0;
        samples += isPicture ? 0 : packet.size / 2;
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(pictures, 8992); // 300 s begun
    EXPECT_EQ(samples, 300 * 12000);
}

/// Chains by what they hold back.
Media::MakeVideoEffects HoldBack(std::size_t pictures) {
    auto const held = std::make_shared<std::deque<Picture>>();
    return MakeEffects(
        [held, pictures](Picture const& picture) {
            held->push_back(picture);
            if (held->size() <= pictures)
                return Pictures{};
            Picture const first = held->front();
            held->pop_front();
            return Pictures{first};
        },
        [held] { return Pictures(held->begin(), held->end()); });
}

Media::MakeVideoEffects GiveOneAtTheEnd() {
    auto const last = std::make_shared<Picture>();
    return MakeEffects(
        [last](Picture const& picture) {
            *last = picture;
            return Pictures{};
        },
        [last] { return Pictures{*last}; });
}

Media::MakeVideoEffects GiveOneIn(int count) {
    auto const number = std::make_shared<int>(0);
    return MakeEffects([number, count](Picture const& picture) {
        return (*number)++ % count == count - 1 ? Pictures{picture} : Pictures{};
    });
}

struct MemoryCase : NamedCase {
    /// Arguments that make the film.
    std::string film;
    /// None: pictures are copied.
    Media::MakeVideoEffects chain = {};
    Media::MakeAudioEffects sound = {};
    std::string encoder = "mpeg4";
    std::string codecs = "-c:v mpeg4 -c:a pcm_s16le";
};

class LongFilmMemory : public LongFilm, public testing::WithParamInterface<MemoryCase> {};

// libvpx takes 23 MB, FFmpeg's ten seconds of interleaving take 2; the sound would take 57.
TEST_P(LongFilmMemory, StaysFlat) {
    constexpr std::size_t ceiling = 30'000'000;
    Write("words.srt", "1\n00:00:01,000 --> 00:00:02,000\nfirst\n\n2\n00:04:50,000 --> 00:04:52,000\nlast\n");
    std::string film = GetParam().film;
    if (std::size_t const at = film.find("WORDS"); at != std::string::npos)
        film.replace(at, 5, File("words.srt").string());
    Make(File("in.mkv"), film + GetParam().codecs);
    Media::RunOptions options = Options("in.mkv", "out.mkv");
    if (GetParam().chain)
        options.videoEncoder = GetParam().encoder;
    options.makeVideoEffects = GetParam().chain;
    options.makeAudioEffects = GetParam().sound;
    std::size_t most = 0;
    {
        MemoryWatch const watch;
        Media::Run(options);
        most = watch.GetMost();
    }
    EXPECT_LT(most, ceiling);
    EXPECT_EQ(CountAudioBytes("out.mkv"), CountAudioBytes("in.mkv"));
}

std::string const s_longPictures = "-f lavfi -i testsrc2=s=32x32:r=5:d=300 ";
std::string const s_shortPictures = "-f lavfi -i testsrc2=s=32x32:r=5:d=2 ";

INSTANTIATE_TEST_SUITE_P(
    All, LongFilmMemory,
    testing::Values(
        MemoryCase{{"PassThrough"}, s_longPictures + s_longSound, PassThrough()},
        MemoryCase{{"TenPicturesHeldBack"}, s_longPictures + s_longSound, HoldBack(10)},
        MemoryCase{{"OneInAHundred"}, s_longPictures + s_longSound, GiveOneIn(100)},
        MemoryCase{{"OnlyAtTheEnd"}, s_longPictures + s_longSound, GiveOneAtTheEnd()},
        MemoryCase{{"SparseSubtitles"}, s_longPictures + s_longSound + "-i WORDS ", PassThrough()},
        MemoryCase{{"AudioLonger"}, s_shortPictures + s_longSound, PassThrough()},
        MemoryCase{{"AudioThroughEffects"}, s_longPictures + s_longSound, PassThrough(), AudioThrough()},
        MemoryCase{{"AudioThroughEffectsAlone"}, s_longPictures + s_longSound, {}, AudioThrough()},
        MemoryCase{{"LongerAudioThroughEffects"}, s_shortPictures + s_longSound, {}, AudioThrough()},
        MemoryCase{{"LateAudioThroughEffects"},
                   s_longPictures + "-itsoffset 290 -f lavfi -i sine=d=10 ",
                   {},
                   AudioThrough()},
        MemoryCase{
            {"ShortAudioThroughEffects"}, s_longPictures + "-f lavfi -i sine=d=2 ", {}, AudioThrough()},
        MemoryCase{{"AudioLongerThanVp9"}, s_shortPictures + s_longSound, PassThrough(), {}, "libvpx-vp9"},
        MemoryCase{{"AudioLongerThanCopiedVp9"},
                   s_shortPictures + s_longSound,
                   {},
                   {},
                   "",
                   "-c:v libvpx-vp9 -c:a pcm_s16le"},
        MemoryCase{{"PicturesStartLate"}, "-itsoffset 298 " + s_shortPictures + s_longSound, PassThrough()},
        MemoryCase{{"PicturesLonger"}, s_longPictures + "-f lavfi -i sine=d=2 ", PassThrough()}),
    s_caseName);

// However long the chain holds the pictures back: a player finds the sound beside them.
TEST_F(LongFilm, AudioLiesBesideThePictures) {
    Make(File("in.mkv"), "-f lavfi -i testsrc2=s=32x32:r=25:d=60 -f lavfi -i sine=d=60 -c:v mpeg4");
    std::int64_t const usual = MeasureSkew("in.mkv");
    EXPECT_LT(usual, 500000);
    for (std::size_t const pictures : {0U, 100U, 10000U}) {
        Media::RunOptions options = Options("in.mkv", "out.mkv");
        options.overwrite = true;
        options.videoEncoder = "mpeg4";
        options.makeVideoEffects = HoldBack(pictures);
        Media::Run(options);
        EXPECT_LT(MeasureSkew("out.mkv"), 2 * usual) << pictures << " held back";
        EXPECT_EQ(CountAudioBytes("out.mkv"), CountAudioBytes("in.mkv"));
    }
}

} // namespace
} // namespace Tarsel::Test
