#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Graph/GraphRunner.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Support/LibraryEffects.h"
#include "Support/RandomSettings.h"
#include "Support/SoundStream.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <map>
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
    auto block = MakeSoundNoise(Conf::SampleInfo::Init(Conf::SampleFormats::Float, 44100, {3, 2}), 6000);
    block->SetTime(index * 1000000);
    return block;
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

Working MakeWorking(AudioMedium medium) {
    Working working;
    for (Host::EffectEntry const& entry : GetFactory()->GetRegistry().GetEntries()) {
        if (entry.GetKind() != Host::EffectKind::Audio)
            continue;
        FFmpegWatch const quiet;
        RandomSettings random(5);
        auto const isRefused = [&](Proc::Settings const& settings) {
            try {
                auto const effect = GetFactory()->CreateAudioEffect(entry.classId, "default", {});
                effect->SetSettings(settings);
                RunStream(*effect, {MakeDatum(medium, 0)});
                return effect->GetStatistic()["Processed"].GetInt64() == 0;
            } catch (Proc::EffectException const&) {
                return true;
            }
        };
        std::shared_ptr<Proc::Settings> settings;
        do
            settings = random.Draw(FindSettingsClass(entry.classId));
        while (isRefused(*settings));
        working[entry.classId] = settings;
    }
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

TYPED_TEST(Shells, TakeSettingsOfTheirClassOnly) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        effect.SetSettings(settings);
        auto const set = effect.GetSettingsBase().Clone();
        auto const other = MakeSettings(settings.GetClassId() == "flip" ? "transpose" : "flip", "");
        EXPECT_THROW(effect.SetSettings(*other), std::bad_cast);
        EXPECT_TRUE(effect.GetSettingsBase().IsEqualTo(*set));
    });
}

TYPED_TEST(Shells, CountWhatTheyWorkedOn) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        if (settings.GetClassId() == "midequalizer") // which tells nothing
            return;
        auto const expect = [&](std::int64_t processed) {
            Core::Property const statistic = effect.GetStatistic();
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
        EXPECT_EQ(null, nullptr);
        expect(0);
        TestFixture::Run(effect, 0, 3);
        effect.Reset();
        auto datum = MakeDatum(TypeParam(), 0);
        effect.Process(datum);
        expect(4);
        EXPECT_EQ(effect.GetInputFrameType(), TypeParam::s_frameType);
    });
}

TYPED_TEST(Shells, StartAfreshAfterEndAndReset) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        effect.SetSettings(settings);
        auto* const stream = dynamic_cast<typename TypeParam::Stream*>(&effect);
        stream->End();
        EXPECT_EQ(stream->Take(), nullptr);
        bool const isSame = settings.GetClassId() != "posterize"; // whose random numbers go on
        std::string const first = GetBytes(TestFixture::Run(effect, 0, 3));
        EXPECT_FALSE(first.empty());
        for (int i = 0; i < 3; ++i)
            stream->Feed(MakeDatum(TypeParam(), i));
        effect.Reset();
        EXPECT_EQ(stream->Take(), nullptr);
        stream->End();
        EXPECT_EQ(stream->Take(), nullptr);
        std::string const again = GetBytes(TestFixture::Run(effect, 0, 3));
        EXPECT_TRUE(isSame ? again == first : !again.empty());
    });
}

TYPED_TEST(Shells, RefuseNullsAndGoOn) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        if (settings.GetClassId() == "midequalizer") // in a pair, which is no effect of this library
            return;
        effect.SetSettings(settings);
        auto* const stream = dynamic_cast<typename TypeParam::Stream*>(&effect);
        stream->Feed(MakeDatum(TypeParam(), 0));
        Failure const failure = Catch([&] { stream->Feed({}); });
        EXPECT_EQ(failure.text, TypeParam::s_nullFed);
        EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/Base/EffectShell");
        EXPECT_TRUE(failure.hasStack);
        stream->End();
        EXPECT_NE(stream->Take(), nullptr);
    });
}

/// What was fed before comes out as it would have, then what comes after.
TYPED_TEST(Shells, BringOutTheOldUnderTheOldSettings) {
    this->ForEach([](auto& effect, Proc::Settings const& settings) {
        std::unique_ptr<Proc::Settings> const other = effect.GetSettingsBase().Clone();
        if (settings.GetClassId() == "posterize" || settings.IsEqualTo(*other))
            return;
        effect.SetSettings(settings);
        std::string expected = GetBytes(TestFixture::Run(effect, 0, 2));
        effect.SetSettings(*other);
        expected += GetBytes(TestFixture::Run(effect, 2, 3));
        effect.SetSettings(settings);

        auto* const stream = dynamic_cast<typename TypeParam::Stream*>(&effect);
        for (int i = 0; i < 2; ++i)
            stream->Feed(MakeDatum(TypeParam(), i));
        effect.SetSettings(*other);
        stream->Feed(MakeDatum(TypeParam(), 2));
        stream->End();
        EXPECT_TRUE(GetBytes(TakeAll(*stream)) == expected);
    });
}

TYPED_TEST(Shells, PassUntouchedWhatEmptySettingsLeave) {
    int count = 0;
    this->ForEach([&](auto& effect, Proc::Settings const& settings) {
        if (!effect.GetSettingsBase().IsEmpty() || settings.GetClassId() == "midequalizer")
            return;
        ++count;
        auto const datum = MakeDatum(TypeParam(), 0);
        auto data = datum;
        EXPECT_EQ(CountGraphs([&] { effect.Process(data); }), 0);
        EXPECT_EQ(data, datum);
        auto* const stream = dynamic_cast<typename TypeParam::Stream*>(&effect);
        stream->Feed(datum);
        EXPECT_EQ(stream->Take(), datum);
        EXPECT_EQ(effect.GetStatistic()["Processed"].GetInt64(), 0);
    });
    EXPECT_GT(count, 3);
}

TEST(GraphRunner, IsInTheStateItSays) {
    using Runner = Proc::GraphRunner<AudioMedium>;
    SP<Proc::IDataAudio> const block = MakeDatum(AudioMedium(), 0);
    Runner runner;
    EXPECT_EQ(runner.GetState(), Runner::State::Idle);
    for (int stream = 0; stream < 2; ++stream) {
        runner.SetGraph(Proc::EffectFFMPEGAudio::Create("aecho=1:1:20:0.5", block->GetSampleInfo()));
        runner.Feed(block);
        EXPECT_EQ(runner.GetState(), Runner::State::Feeding);
        runner.End();
        EXPECT_EQ(runner.GetState(), Runner::State::Draining);
        EXPECT_EQ(runner.GetGraph(), nullptr);
    }
    while (runner.Take()) {
    }
    EXPECT_EQ(runner.GetState(), Runner::State::Idle);
}

} // namespace
} // namespace Tarsel::Test
