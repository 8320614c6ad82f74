#include "Conf/FormatCodecAudio.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Base/Medium.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Settings/Orientation.h"
#include "Support/AllocationLimit.h"
#include "Support/AudioStream.h"
#include "Support/LibraryEffects.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <thread>
#include <typeinfo>

/// What every effect is, whatever it does: settings, stream, statistics.
namespace Tarsel::Test {
namespace {

using Proc::AudioMedium;
using Proc::VideoMedium;

SP<Proc::IDataVideo> MakeDatum(VideoMedium, int index) {
    return MakeFrame(Conf::PixFmt::YUV420P, s_small, index * 40000);
}

SP<Proc::IDataAudio> MakeDatum(AudioMedium, int index) {
    auto block = MakeAudioNoise(Conf::SampleInfo::Init(Conf::SampleFormats::Float, 44100, {3, 2}), 6000);
    block->SetTime(index * 1000000);
    return block;
}

/// Of other forms; each differs from the one before in one thing.
FrameList MakeOthers(VideoMedium) {
    FrameList frames{MakeFrame(Conf::PixFmt::YUV444P)};
    for (Conf::FrameInfo const& info :
         {Conf::FrameInfo{66, 48, 1, 1}, {66, 50, 1, 1}, {66, 50, 4, 1}, {66, 50, 4, 3}})
        frames.push_back(MakeFrame(Conf::PixFmt::YUV444P, info));
    return frames;
}

Blocks MakeOthers(AudioMedium) {
    Blocks blocks;
    for (std::uint32_t format = 0; format < 10; ++format)
        if (auto const other = static_cast<Conf::SampleFormats>(format); other != Conf::SampleFormats::Float)
            blocks.push_back(MakeAudioNoise(Conf::SampleInfo::Init(other, 44100, {3, 2}), 5000));
    for (Conf::ChannelLayout const& layout : {Conf::ChannelLayout{3, 2}, {0x30, 2}, {4, 1}})
        blocks.push_back(
            MakeAudioNoise(Conf::SampleInfo::Init(Conf::SampleFormats::S16, 48000, layout), 5500));
    return blocks;
}

/// With less in it than it says.
SP<Proc::IDataVideo> MakeBroken(VideoMedium) {
    return MakeLiar({32, 32, 1, 1});
}

SP<Proc::IDataAudio> MakeBroken(AudioMedium medium) {
    auto block = MakeDatum(medium, 0);
    block->GetAVFrame()->nb_samples = 100000;
    return block;
}

using Test::MakeCodecOf;

SP<Conf::IFormatCodecAudio> MakeCodecOf(Proc::IDataAudio const& data, Proc::Settings const&) {
    return MakeSP<Conf::FormatCodecAudio>(data.GetSampleInfo());
}

std::string GetBytes(FrameList const& frames) {
    std::string bytes;
    for (SP<Proc::IDataVideo> const& frame : frames)
        bytes += GetRaw(*frame) + std::to_string(frame->GetTime());
    return bytes;
}

std::string GetBytes(Blocks const& blocks) {
    return GetRaw(blocks);
}

/// Effects by their ids, and settings with which they do something.
using Working = std::map<std::string, std::shared_ptr<Proc::Settings>>;

Working MakeWorking(VideoMedium) {
    Working working;
    for (auto const& rows : {GetWorkingCases(), GetPictureCases()})
        for (EffectCase const& row : rows)
            working.try_emplace(row.classId, row.MakeSettings());
    return working;
}

Working MakeWorking(AudioMedium) {
    Working working;
    for (auto const& [classId, options] : {std::pair{"equalizer", "bands=100/3"},
                                           {"echo", "echos=30/0.5"},
                                           {"chorus", "voices=40/0.4/5/2"},
                                           {"noise-gate", "threshold=-5:reduction=0.1"},
                                           {"resample", "rate=32000"},
                                           {"reverb", ""},
                                           {"gate", ""},
                                           {"compressor", ""},
                                           {"distortion", ""},
                                           {"flanger", ""},
                                           {"vibrato", ""}})
        working[classId] = MakeSettings(classId, options);
    return working;
}

template <class Medium>
struct Shells : testing::Test {
    using Effect = typename Medium::Effect;
    using Stream = typename Medium::Stream;

    /// Calls `check` with a new effect of each class and settings with which it does something.
    template <class Check>
    void ForEach(Check const& check) {
        static Working const working = MakeWorking(Medium());
        for (auto const& [classId, settings] : working) {
            SCOPED_TRACE(classId);
            check(*SP<Effect>(Make(Medium(), classId)), *settings);
        }
    }
    static SP<Proc::IOneInputEffectVideo> Make(VideoMedium, std::string const& classId) {
        return MakeEffect(classId);
    }
    static SP<Proc::IOneInputEffectAudio> Make(AudioMedium, std::string const& classId) {
        return GetFactory()->CreateAudioEffect(classId, "default", {});
    }
    static auto Run(Effect& effect, int from, int to) {
        std::vector<SP<typename Medium::Data>> in;
        for (int i = from; i < to; ++i)
            in.push_back(MakeDatum(Medium(), i));
        return RunStream(effect, in);
    }
};

using Media = testing::Types<VideoMedium, AudioMedium>;
TYPED_TEST_SUITE(Shells, Media);

/// But for the second name of the resizer.
TEST(Shell, HasARowForEveryRegistration) {
    Working const video = MakeWorking(VideoMedium());
    Working const audio = MakeWorking(AudioMedium());
    for (Host::EffectEntry const& entry : GetFactory()->GetRegistry().GetEntries())
        EXPECT_TRUE(video.contains(entry.classId) || audio.contains(entry.classId) ||
                    entry.classId == "resize-complex")
            << entry.classId << " has no row";
}

TYPED_TEST(Shells, CountWhatTheyWorkedOn) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        if (settings.GetClassId() == "midequalizer") // which tells nothing
            return;
        auto const expect = [&](std::int64_t processed) {
            Core::Property const statistic = effect.GetStatistic();
            EXPECT_EQ(statistic.GetName(), "Statistics");
            EXPECT_EQ(statistic["Category"].GetInt64(), 7);
            EXPECT_EQ(statistic["MediaType"].GetInt64(), TypeParam::s_frameType);
            EXPECT_EQ(statistic["ImplName"].GetString(), Proc::ImplNames::FFMPEG);
            EXPECT_EQ(statistic["CounterA"].GetInt64(), 0);
            EXPECT_EQ(statistic["Processed"].GetInt64(), processed);
        };
        effect.SetSettings(settings);
        expect(0);
        SP<typename TypeParam::Data> null;
        effect.Process(null);
        expect(0);
        TestFixture::Run(effect, 0, 3);
        effect.Reset();
        auto datum = MakeDatum(TypeParam(), 0);
        effect.Process(datum);
        expect(4);
    });
}

TYPED_TEST(Shells, LoseOnlyWhatTheyRefuse) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        bool const isPair = settings.GetClassId() == "midequalizer"; // which is no effect of this library
        if (isPair || settings.GetClassId() == "posterize")
            return;
        FFmpegWatch const quiet;
        effect.SetSettings(settings);
        std::string const expected = GetBytes(TestFixture::Run(effect, 0, 3));
        auto* const stream = dynamic_cast<typename TypeParam::Stream*>(&effect);
        for (int i = 0; i < 3; ++i) {
            Failure const failure = Catch([&] { stream->Feed({}); });
            EXPECT_EQ(failure.text, TypeParam::s_nullFed);
            EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/Base/EffectShell");
            EXPECT_TRUE(failure.hasStack);
            EXPECT_THROW(stream->Feed(MakeBroken(TypeParam())), Proc::EffectException);
            // The lock is free.
            std::thread([&] { stream->Feed(MakeDatum(TypeParam(), i)); }).join();
        }
        stream->End();
        // The next stream begins before the rest of one is taken.
        for (int i = 0; i < 3; ++i)
            stream->Feed(MakeDatum(TypeParam(), i));
        stream->End();
        EXPECT_TRUE(GetBytes(TakeAll(*stream)) == expected + expected);
    });
}

/// What was fed before comes out as it would have, then what comes after.
TYPED_TEST(Shells, BringOutTheOldBeforeTheNew) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        if (settings.GetClassId() == "posterize")
            return;
        std::unique_ptr<Proc::Settings> const initial = effect.GetSettingsBase().Clone();
        auto const other = MakeOthers(TypeParam()).back();
        effect.SetSettings(settings);
        std::string expected =
            GetBytes(TestFixture::Run(effect, 0, 2)) + GetBytes(RunStream(effect, {other}));
        effect.SetSettings(*initial);
        expected += GetBytes(TestFixture::Run(effect, 2, 3));
        effect.SetSettings(settings);

        auto* const stream = dynamic_cast<typename TypeParam::Stream*>(&effect);
        for (int i = 0; i < 2; ++i)
            stream->Feed(MakeDatum(TypeParam(), i));
        stream->Feed(other);
        effect.SetSettings(*initial);
        stream->Feed(MakeDatum(TypeParam(), 2));
        stream->End();
        EXPECT_TRUE(GetBytes(TakeAll(*stream)) == expected);
    });
}

TYPED_TEST(Shells, BuildOnlyWhatTheyHaveTo) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        effect.SetSettings(settings);
        auto const builds = [&](auto data) { return CountGraphs([&] { effect.Process(data); }); };
        int const first = builds(MakeDatum(TypeParam(), 0));
        EXPECT_LE(first, 1);
        EXPECT_EQ(builds(MakeDatum(TypeParam(), 1)), 0);
        for (auto const& other : MakeOthers(TypeParam())) {
            EXPECT_EQ(builds(other), first);
            effect.SetSettings(settings);
            EXPECT_EQ(builds(other), 0);
        }
    });
}

TYPED_TEST(Shells, ForetellWhatComesOut) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        effect.SetSettings(settings);
        auto const expect = [&](auto const& datum, bool isNew) {
            auto const ask = [&] {
                auto codec = MakeCodecOf(*datum, settings);
                int const graphs = CountGraphs([&] { effect.UpdateFormatCodec(codec); });
                return std::tuple(TypeParam::GetFormat(*codec), TypeParam::GetInfo(*codec), graphs);
            };
            auto const [format, info, graphs] = ask();
            EXPECT_LE(graphs, isNew ? 1 : 0);
            effect.Reset(); // what there is of another form
            auto data = datum;
            for (effect.Process(data); !data; effect.Process(data)) // the first ones may be held back
                data = datum;
            EXPECT_EQ(TypeParam::GetFormat(*data), format);
            EXPECT_EQ(TypeParam::GetInfo(*data), info);
            EXPECT_EQ(ask(), std::tuple(format, info, 0));
        };
        auto const first = MakeDatum(TypeParam(), 0);
        expect(first, true);
        for (auto const& other : MakeOthers(TypeParam())) {
            auto codec = MakeCodecOf(*other, settings);
            effect.UpdateFormatCodec(codec);
            auto data = first;
            EXPECT_EQ(CountGraphs([&] { effect.Process(data); }), 0) << "after a question about others";
        }
        for (auto const& other : MakeOthers(TypeParam()))
            expect(other, true);
    });
}

TYPED_TEST(Shells, WorkAgainAfterAFailure) {
    int failures = 0;
    this->ForEach([&](auto& effect, Proc::Settings const& settings) {
        if (settings.GetClassId() == "posterize")
            return;
        effect.SetSettings(settings);
        std::string const expected = GetBytes(TestFixture::Run(effect, 0, 2));
        auto* const stream = dynamic_cast<typename TypeParam::Stream*>(&effect);
        auto const datum = MakeDatum(TypeParam(), 0);
        for (bool const isRunning : {false, true}) {
            if (isRunning) {
                stream->Feed(datum);
                TakeAll(*stream);
            }
            try {
                FFmpegWatch const quiet;
                AllocationLimit const limit(2000);
                stream->Feed(datum);
                effect.Reset();
                continue;
            } catch (Exception const&) {
                ++failures;
            }
            std::string const again = GetBytes(TestFixture::Run(effect, 0, 2));
            // A block that could not be had is one that did not come out: its graph goes on.
            EXPECT_TRUE(TypeParam::s_passesByNoText ? !again.empty() : again == expected);
        }
    });
    EXPECT_GT(failures, 5);
}

TEST(Shell, TakesSettingsOfItsVeryClassOnly) {
    struct Derived : Proc::SettingsEffectTranspose {};
    EXPECT_THROW(MakeEffect("transpose")->SetSettings(Derived()), std::bad_cast);
}

/// What may be called from any thread is; a race shows under the thread sanitizer.
constexpr int s_rounds = 50;

/// Frames, format queries, settings and resets, in an order that each thread starts elsewhere.
void Use(Proc::IOneInputEffectVideo& effect, Proc::Settings const& settings, int thread) {
    std::function<void()> const operations[]{
        [&] { EXPECT_TRUE(Apply(effect, MakeFrame())); },
        [&] { Ask(effect, Conf::PixFmt::YUV422P); },
        [&] { effect.SetSettings(settings); },
        [&] { EXPECT_NO_THROW(effect.GetStatistic()); },
        [&] { effect.SetProgressController({}); },
        [&] { effect.Reset(); },
    };
    for (int round = 0; round < s_rounds; ++round)
        operations[static_cast<std::size_t>(round + thread) % std::size(operations)]();
}

class Threads : public testing::TestWithParam<EffectCase> {};

TEST_P(Threads, EffectsOfOwnAndOneShared) {
    EffectCase const& row = GetParam();
    auto const settings = row.MakeSettings();
    auto const shared = row.Make();
    constexpr int count = 4;
    std::vector<std::jthread> threads;
    threads.reserve(count);
    for (int i = 0; i < count; ++i)
        threads.emplace_back([&, i] {
            auto const own = row.Make();
            Use(*own, *settings, i);
            Use(*shared, *settings, i);
        });
}

// On filter texts, and of the kinds that do the work themselves.
INSTANTIATE_TEST_SUITE_P(Kinds, Threads,
                         testing::Values(GetEffectCases()[1], GetPictureCases()[3], GetPictureCases()[5]));

} // namespace
} // namespace Tarsel::Test
