// Audio files read and written block by block.

#include "Media/AudioReader.h"
#include "Media/AudioWriter.h"
#include "Media/MediaExceptions.h"
#include "Proc/Data/DataAudioFF.h"
#include "RunFixture.h"
#include "Support/MemoryWatch.h"

#include <optional>
#include <random>
#include <stop_token>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using testing::IsEmpty;

Conf::SampleInfo const s_stereo{Conf::SampleFormats::S16, 44100, Conf::ChannelLayout::FromCount(2)};

class AudioFile : public RunFixture {
protected:
    Media::AudioFileOptions FileOptions(std::string const& output) const {
        Media::AudioFileOptions options;
        options.output = File(output);
        options.format = s_stereo;
        return options;
    }
    /// Blocks of random lengths up to `longest`, of noise, `count` samples in all; `visit` gets each.
    template <class Visit>
    void MakeNoise(std::int64_t count, int longest, Visit const& visit) {
        for (std::int64_t made = 0; made < count;) {
            std::int64_t const length = std::min<std::int64_t>(
                std::uniform_int_distribution<int>(1, longest)(m_random), count - made);
            auto const block = Proc::DataAudioFF::CreateBySampleCount(s_stereo, static_cast<int>(length));
            auto* const samples = reinterpret_cast<std::int16_t*>(block->GetAVFrame()->data[0]);
            for (std::int64_t i = 0; i < 2 * length; ++i)
                samples[i] = static_cast<std::int16_t>(m_random() & 0xFFF);
            block->SetTime(AV_NOPTS_VALUE);
            made += length;
            visit(*block);
        }
    }

    std::minstd_rand m_random{5};
};

TEST_F(AudioFile, IsReadAsItWasWritten) {
    for (std::string const name : {"out.wav", "out.flac", "out.mka"}) {
        SCOPED_TRACE(name);
        std::vector<double> written;
        Media::AudioFileOptions options = FileOptions(name);
        options.encoder = name == "out.mka" ? "flac" : "";
        Media::AudioWriter writer(options);
        MakeNoise(30001, 5000, [&](Proc::IDataAudio const& block) {
            auto const* const samples = reinterpret_cast<std::int16_t const*>(block.GetAVFrame()->data[0]);
            written.insert(written.end(), samples, samples + 2 * block.GetSampleCount());
            writer.Write(block);
        });
        EXPECT_FALSE(std::filesystem::exists(File(name)));
        writer.Publish();
        EXPECT_THAT(writer.GetNotes(), IsEmpty());

        Media::AudioReader reader(File(name));
        EXPECT_EQ(reader.GetInfo().number, 0);
        EXPECT_EQ(reader.GetInfo().format.rate, 44100);
        EXPECT_NEAR(static_cast<double>(reader.GetDuration()), 30001 / 0.0441, 1000);
        std::vector<double> read;
        std::int64_t end = 0;
        while (auto const block = reader.Next()) {
            EXPECT_NEAR(static_cast<double>(block->GetTime()), static_cast<double>(end), 1);
            end = block->GetTime() + block->GetDuration();
            ASSERT_EQ(block->GetSampleFormat(), reader.GetInfo().format.format);
            auto const* const samples = reinterpret_cast<std::int16_t const*>(block->GetAVFrame()->data[0]);
            read.insert(read.end(), samples, samples + 2 * block->GetSampleCount());
        }
        EXPECT_EQ(reader.Next(), nullptr);
        EXPECT_EQ(read, written);
        EXPECT_EQ(ReadAudio(File(name)).samples, written);
    }
}

TEST_F(AudioFile, MistakesLeaveNothing) {
    auto const refuse = [](Media::AudioFileOptions const& options) {
        return TextOf<Media::OptionsException>([&] { Media::AudioWriter const writer(options); });
    };
    Media::AudioFileOptions options = FileOptions("out.wav");
    options.format.rate = 0;
    EXPECT_EQ(refuse(options), "The format of the audio to write is not known");
    options = FileOptions("out.wav");
    options.encoder = "libopus";
    EXPECT_EQ(refuse(options), "The encoder \"libopus\" makes opus, which \"out.wav\" cannot hold");
    EXPECT_EQ(refuse(FileOptions("out.gif")),
              "Cannot write \"" + File("out.gif").string() + "\": it holds no audio");
    {
        Media::AudioWriter abandoned(FileOptions("out.mp3"));
        MakeNoise(10000, 999, [&](Proc::IDataAudio const& block) { abandoned.Write(block); });
    }
    EXPECT_THAT(List(), IsEmpty());

    EXPECT_THROW(Media::AudioReader(File("none.wav")), Media::InputException);
    Make(File("film.mkv"), s_pictures + s_audio + s_noBFrames);
    std::stop_source stop;
    Media::AudioReader reader(File("film.mkv"), stop.get_token());
    EXPECT_NE(reader.Next(), nullptr);
    stop.request_stop();
    EXPECT_THROW(reader.Next(), Media::InterruptedException);
}

// Five minutes in blocks of any length, 53 MB, and then through a chain and a reader.
TEST_F(AudioFile, MemoryStaysFlat) {
    constexpr std::size_t ceiling = 8'000'000;
    constexpr std::int64_t count = std::int64_t{300} * 44100;
    std::size_t most = 0;
    {
        MemoryWatch const watch;
        Media::AudioWriter writer(FileOptions("in.wav"));
        auto const silence = Proc::DataAudioFF::CreateBySampleCount(s_stereo, 1);
        MakeNoise(441, 100, [&](Proc::IDataAudio const& block) { writer.Write(block); });
        silence->SetTime(300'000'000 - 23); // a gap of all that time
        writer.Write(*silence);
        writer.Publish();
        Media::RunOptions options =
            AudioOptions("in.wav", "out.wav", MakeAudio([&](Block const& block) { return Blocks{block}; }));
        Media::Run(options);
        Media::AudioReader reader(File("out.wav"));
        std::int64_t samples = 0;
        while (auto const block = reader.Next())
            samples += block->GetSampleCount();
        EXPECT_EQ(samples, count);
        most = watch.GetMost();
    }
    EXPECT_LT(most, ceiling);
}

} // namespace
} // namespace Tarsel::Test
