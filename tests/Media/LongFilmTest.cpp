// Minutes of film: times do not drift, and memory does not grow with the length.

#include "Media/AudioReader.h"
#include "Media/AudioWriter.h"
#include "Media/Base/Times.h"
#include "Media/Container/Demuxer.h"
#include "Media/Run/TimeMap.h"
#include "Proc/Data/DataAudioFF.h"
#include "RunFixture.h"
#include "Support/MemoryWatch.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Test {
namespace {

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

    /// How far the audio of a file is ahead of its pictures, or behind, at most: in microseconds, in the
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

Media::MakeVideoEffects GiveOneIn(int count) {
    auto const number = std::make_shared<int>(0);
    return MakeEffects([number, count](Picture const& picture) {
        return (*number)++ % count == count - 1 ? Pictures{picture} : Pictures{};
    });
}

// libvpx takes 23 MB, FFmpeg's ten seconds of interleaving take 2; the audio would take 57.
TEST_F(LongFilm, MemoryStaysFlat) {
    constexpr std::size_t ceiling = 30'000'000;
    constexpr std::size_t all = 10000;
    Write("words.srt", "1\n00:00:01,000 --> 00:00:02,000\nfirst\n\n2\n00:04:50,000 --> 00:04:52,000\nlast\n");
    std::string const pictures = "-f lavfi -i testsrc2=s=32x32:r=5:d=300 ";
    std::string const fewPictures = "-f lavfi -i testsrc2=s=32x32:r=5:d=2 ";
    std::string const audio = "-f lavfi -i anullsrc=r=48000:cl=stereo:d=300 ";
    std::string const words = "-i " + File("words.srt").string() + " ";
    std::string const vp9 = "-c:v libvpx-vp9 ";
    auto const through = PassThrough();
    auto const audioThrough = AudioThrough();
    struct {
        std::string film;
        /// None: pictures are copied.
        Media::MakeVideoEffects video;
        Media::MakeAudioEffects audio = {};
        std::string encoder = "mpeg4";
    } const cases[] = {{pictures + audio + words, through},
                       {pictures + audio, HoldBackPictures(10)},
                       {pictures + audio, GiveOneIn(100)},
                       {pictures + audio, HoldBackPictures(all)},
                       {pictures + audio, through, audioThrough},
                       {pictures + audio, {}, audioThrough},
                       {fewPictures + audio, {}, audioThrough},
                       {pictures + "-itsoffset 290 -f lavfi -i sine=d=10 ", {}, audioThrough},
                       {pictures + "-f lavfi -i sine=d=2 ", {}, audioThrough},
                       {pictures + "-f lavfi -i sine=d=2 ", through},
                       {fewPictures + audio, through, {}, "libvpx-vp9"},
                       {fewPictures + audio + vp9, {}},
                       {"-itsoffset 298 " + fewPictures + audio, through}};
    for (auto const& row : cases) {
        SCOPED_TRACE(row.film + " row " + std::to_string(&row - cases));
        Make(File("in.mkv"), row.film + (row.film.ends_with(vp9) ? "" : "-c:v mpeg4 ") + "-c:a pcm_s16le");
        Media::RunOptions options = Options("in.mkv", "out.mkv");
        options.videoEncoder = row.video ? row.encoder : "";
        options.makeVideoEffects = row.video;
        options.makeAudioEffects = row.audio;
        std::size_t most = 0;
        {
            MemoryWatch const watch;
            Media::Run(options);
            most = watch.GetMost();
        }
        EXPECT_LT(most, ceiling);
        EXPECT_EQ(CountAudioBytes("out.mkv"), CountAudioBytes("in.mkv"));
    }
}

// Five minutes of audio, 53 MB, written, run through a chain and read block by block.
TEST_F(LongFilm, MemoryOfAudioStaysFlat) {
    constexpr std::size_t ceiling = 8'000'000;
    std::size_t most = 0;
    {
        MemoryWatch const watch;
        Media::AudioFileOptions file;
        file.output = File("in.wav");
        file.format = {Conf::SampleFormats::S16, 44100, Conf::ChannelLayout::FromCount(2)};
        Media::AudioWriter writer(file);
        auto const block = Proc::DataAudioFF::CreateBySampleCount(file.format, 441);
        for (std::int64_t const time : {0, 299'990'000}) { // a gap of all that time
            block->SetTime(time);
            writer.Write(*block);
        }
        writer.Publish();
        Media::Run(AudioOptions("in.wav", "out.wav"));
        Media::AudioReader reader(File("out.wav"));
        std::int64_t samples = 0;
        while (auto const read = reader.Next())
            samples += read->GetSampleCount();
        EXPECT_EQ(samples, std::int64_t{300} * 44100);
        most = watch.GetMost();
    }
    EXPECT_LT(most, ceiling);
}

// However long the chain holds the pictures back: a player finds the audio beside them.
TEST_F(LongFilm, AudioLiesBesideThePictures) {
    Make(File("in.mkv"), "-f lavfi -i testsrc2=s=32x32:r=25:d=60 -f lavfi -i sine=d=60 -c:v mpeg4");
    std::int64_t const usual = MeasureSkew("in.mkv");
    EXPECT_LT(usual, 500000);
    for (std::size_t const pictures : {0U, 100U, 10000U}) {
        Media::RunOptions options = Options("in.mkv", "out.mkv");
        options.videoEncoder = "mpeg4";
        options.makeVideoEffects = HoldBackPictures(pictures);
        Media::Run(options);
        EXPECT_LT(MeasureSkew("out.mkv"), 2 * usual) << pictures << " held back";
        EXPECT_EQ(CountAudioBytes("out.mkv"), CountAudioBytes("in.mkv"));
    }
}

using namespace Media;

/// Whether `time`, in ticks of `timeBase`, is the same as `other`, in ticks of `otherBase`.
bool IsSameTime(std::int64_t time, Ratio timeBase, std::int64_t other, Ratio otherBase) {
    return av_compare_ts(time, ToAV(timeBase), other, ToAV(otherBase)) == 0;
}

// The chain knows whole microseconds only; what comes out has to be what went in, to the tick.
TEST(TimeMap, TimesComeBackExactly) {
    for (Ratio const timeBase :
         {Ratio{1, 1}, Ratio{1, 24}, Ratio{1001, 30000}, Ratio{1, 600}, Ratio{1, 1000}, Ratio{1, 12800},
          Ratio{1, 90000}, Ratio{1, 999983}, Ratio{1, 1000000}, Ratio{1, 1000001}, Ratio{1, 10000000},
          Ratio{1, 1000000000}, Ratio{7, 2000000011}}) {
        SCOPED_TRACE(timeBase.denominator);
        TimeMap map(timeBase);
        std::vector<FrameTime> times;
        std::int64_t start = -3;
        for (int i = 0; i < 2000; ++i) {
            std::int64_t const duration = 1 + i * 7919 % 13;
            times.push_back({start, duration});
            start += duration;
        }
        constexpr std::size_t heldBack = 5;
        for (std::size_t i = 0; i < times.size() + heldBack; ++i) {
            if (i < times.size())
                map.Enter(ToMicroseconds(times[i].start, timeBase),
                          ToMicroseconds(times[i].duration, timeBase), times[i]);
            if (i < heldBack)
                continue;
            FrameTime const& in = times[i - heldBack];
            FrameTime const out =
                map.Leave(ToMicroseconds(in.start, timeBase), ToMicroseconds(in.duration, timeBase));
            ASSERT_TRUE(IsSameTime(out.start, map.GetTimeBase(), in.start, timeBase)) << "picture " << i;
            ASSERT_TRUE(IsSameTime(out.duration, map.GetTimeBase(), in.duration, timeBase))
                << "picture " << i;
        }
        EXPECT_EQ(map.GetMovedCount(), 0);
    }
}

TEST(TimeMap, EndsWhereTheClockEnds) {
    TimeMap map({1, 25});
    for (int i = 0; i < 2; ++i) {
        map.Enter(INT64_MAX - 1, 40000, {INT64_MAX - 1, INT64_MAX - 1});
        EXPECT_GT(map.Leave(INT64_MAX - 1, 40000).start, INT64_MAX - 1000);
    }
}

TEST(Rates, NominalAndResulting) {
    Ratio const film{24000, 1001};
    EXPECT_EQ(ChooseNominalRate({2997, 125}, film), film);          // a measured average
    EXPECT_EQ(ChooseNominalRate({25, 1}, {50, 1}), (Ratio{25, 1})); // the base counts fields
    EXPECT_EQ(ChooseNominalRate({0, 0}, {0, 0}), (Ratio{0, 1}));

    EXPECT_EQ(ChooseFrameRate(film, 41708, 41708), film);
    EXPECT_EQ(ChooseFrameRate(film, 41708, 20854), (Ratio{48000, 1001}));
    EXPECT_EQ(ChooseFrameRate(film, 41708, 83417), (Ratio{24000, 2002}));
    EXPECT_EQ(ChooseFrameRate({25, 1}, 40000, 33333), (Ratio{30, 1})); // no multiple
    EXPECT_EQ(ChooseFrameRate({25, 1}, 40000, 33367), (Ratio{30000, 1001}));
    EXPECT_EQ(ChooseFrameRate({25, 1}, 11, 33333), (Ratio{25, 1})); // no constant rate
    EXPECT_EQ(ChooseFrameRate({0, 1}, 0, 20000), (Ratio{50, 1}));
    EXPECT_EQ(ChooseFrameRate({0, 1}, 0, 0), (Ratio{0, 1}));
}

} // namespace
} // namespace Tarsel::Test
