// Steps that work at some times, and values that move.

#include "Core/ThreadBudget.h"
#include "Host/AudioChain.h"
#include "Host/Doubles.h"
#include "Host/EffectStep.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
}

using namespace Tarsel;
using namespace Tarsel::HostTest;

namespace {

constexpr std::int64_t s_second = 1000000;

TEST(StepTimes, AreReadAndDescribed) {
    std::map<std::string, std::string> const texts{
        {"blur", ""},
        {"blur@2.5-7", "from 2.5 s to 7 s"},
        {"blur@1:02.5-~0.25", "from 62.5 s, fading over 0.25 s"},
        {"blur@-1:00:00", "to 3600 s"},
        {"blur sigma=0..20@1-3", "sigma from 0 at 1 s to 20 at 3 s"},
        {"blur@1-9 sigma=5@0,8..2.5@2-4,-1@4,smooth steps=2",
         "from 1 s to 9 s; sigma from 5 at 0 s to 8 at 2 s to 2.5 at 4 s to -1 at 4 s, smoothly"},
        {"blur a=b@c b=1..2 c=x..y@1-2", ""},
    };
    for (auto const& [text, due] : texts)
        EXPECT_EQ(Describe(Host::ParseEffectStep(text).times), due) << text;
    EXPECT_EQ(Host::ParseEffectStep("blur@1-2 a=1@3 b=2").settings, "b=2");

    for (std::string const text :
         {"blur@", "blur@-", "blur@2", "blur@7-2", "blur@2-2", "blur@1-x", "blur@1-2~", "blur@1-2~0.6",
          "blur@1-2:75", "blur a=0..20@1", "blur a=1@1-3", "blur a=0..20@3-1", "blur a=1@2,x",
          "blur a=1@2,smooth,3@4"})
        EXPECT_THROW(Host::ParseEffectStep(text), Proc::SettingsException) << text;
}

TEST(StepTimes, ValuesGoFromPointToPoint) {
    Host::MovingValue value{"", {{0, 2}, {10, 4}, {10, 8}, {20, 0}}, false};
    std::map<std::int64_t, double> const due{{-5, 2}, {0, 2}, {5, 3}, {10, 8}, {15, 4}, {20, 0}, {25, 0}};
    for (auto const& [time, number] : due)
        EXPECT_EQ(value.GetAt(time), number) << time;
    value.isSmooth = true;
    EXPECT_EQ(value.GetAt(5), 3);
    EXPECT_DOUBLE_EQ(value.GetAt(12), 8 - 8 * (3 * 0.04 - 2 * 0.008));
}

/// Paints frames in 50 times the step of its settings; its results may be of another size.
class Painter final : public EffectAs<Proc::IOneInputEffectVideo>, public Proc::IEffectDetailsVideo {
public:
    Painter() : EffectAs("transpose") {}

    Proc::Settings const& GetSettingsBase() const override { return m_settings; }
    void SetSettings(Proc::Settings const& settings) override {
        m_settings = dynamic_cast<Proc::SettingsEffectTranspose const&>(settings);
    }
    Proc::EffectTraits const& GetTraits() const noexcept override {
        static constexpr Proc::EffectTraits s_traits{.summary = "paints frames"};
        return s_traits;
    }
    std::string Describe(Conf::IFormatCodecVideo const&) const override { return "paints"; }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}
    void Process(SP<Proc::IDataVideo>& data) override {
        if (!data)
            return;
        std::int64_t const time = data->GetTime();
        data = MakeFrame(time);
        auto const plane = data->GetWritablePlane(0);
        for (int y = 0; y < 2; ++y)
            std::memset(plane.data + y * plane.lineSize, 50 * m_settings.step, 2);
    }

private:
    Proc::SettingsEffectTranspose m_settings;
};

/// "time:value" of each frame, with "same" for those that passed untouched.
std::string RunSeconds(Host::VideoChain& chain, std::vector<std::int64_t> const& times) {
    std::map<std::int64_t, Proc::IDataVideo const*> fed;
    std::vector<SP<Proc::IDataVideo>> kept;
    std::string text;
    auto const takeAll = [&] {
        while (SP<Proc::IDataVideo> const frame = chain.Take()) {
            auto const time = frame->GetTime();
            int const value = frame->GetReadOnlyPlane(0).data[0];
            bool const isSame = fed.contains(time) && fed.at(time) == frame.get();
            text += fmt::format("{}:{} ", time / s_second, isSame ? "same" : std::to_string(value));
        }
    };
    for (std::int64_t const second : times) {
        SP<Proc::IDataVideo> const frame = kept.emplace_back(MakeFrame(second * s_second));
        auto const plane = frame->GetWritablePlane(0);
        for (int y = 0; y < 2; ++y)
            std::memset(plane.data + y * plane.lineSize, 200, 2);
        fed[frame->GetTime()] = frame.get();
        chain.Feed(frame);
        takeAll();
    }
    chain.End();
    takeAll();
    return text;
}

TEST(TimedStep, MovesAndFadesOnAnyNumberOfThreads) {
    int const budget = Core::ThreadBudget::Get();
    for (int const threads : {1, 3}) {
        Core::ThreadBudget::Set(threads);
        Host::VideoChain chain;
        chain.SetThreads(threads);
        chain.Append(
            MakeSP<Painter>(), "", [] { return MakeSP<Painter>(); },
            Host::ParseEffectStep("transpose@2-10~2 step=0..3@4-7").times);
        EXPECT_EQ(RunSeconds(chain, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}),
                  // step: 0 until 4, 1 at 5, 2 at 6, then 3; half of it is seen at 3 and 9, nothing at 2
                  "0:same 1:same 2:200 3:100 4:0 5:50 6:100 7:150 8:150 9:175 10:same 11:same ")
            << threads;
    }
    Core::ThreadBudget::Set(budget);
}

TEST(TimedStep, GivesWhatItHoldsBeforeTheFrameItDoesNotSee) {
    Host::VideoChain chain;
    chain.Append(MakeSP<StreamEffect>("held", Tarsel::Test::HoldBack<Proc::IDataVideo>(2)), "", nullptr,
                 Host::ParseEffectStep("held@2-5").times);
    EXPECT_EQ(RunSeconds(chain, {0, 1, 2, 3, 4, 5, 6, 3, 4}),
              "0:same 1:same 2:same 3:same 4:same 5:same 6:same 3:same 4:same ");
}

TEST(TimedStep, Refusals) {
    auto const append = [](std::string const& text, SP<Proc::IOneInputEffectVideo> const& effect) {
        Host::VideoChain chain;
        chain.Append(effect, "", nullptr, Host::ParseEffectStep(text).times);
    };
    auto const holder = [] {
        return MakeSP<StreamEffect>("held", Tarsel::Test::HoldBack<Proc::IDataVideo>(2));
    };
    EXPECT_THROW(append("held@1-3~1", holder()), Proc::SettingsException);
    EXPECT_THROW(append("transpose step=0..9@1-3", MakeSP<Painter>()), Proc::SettingsException);
    EXPECT_THROW(append("transpose stepp=0..1@1-3", MakeSP<Painter>()), Proc::SettingsException);
}

/// Makes audio louder by the step of its settings, and sounds on for 10 samples.
class Louder final : public EffectAs<Proc::IOneInputEffectAudio>, public Proc::IEffectStreamAudio {
public:
    /// Its results say that they are so much later than they are.
    explicit Louder(std::int64_t lie = 0) : EffectAs("transpose"), m_lie(lie) {}

    Proc::Settings const& GetSettingsBase() const override { return m_settings; }
    void SetSettings(Proc::Settings const& settings) override {
        m_settings = dynamic_cast<Proc::SettingsEffectTranspose const&>(settings);
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>&) override {}
    void Process(SP<Proc::IDataAudio>&) override {}
    void Feed(SP<Proc::IDataAudio> const& data) override {
        auto const count = static_cast<int>(data->GetSampleCount());
        m_result = MakeBlock(m_next = data->GetTime(), count);
        m_result->SetTime(m_lie == AV_NOPTS_VALUE ? m_lie : m_next + m_lie);
        for (int i = 0; i < count; ++i)
            SamplesOf(*m_result)[i] = SamplesOf(*data)[i] * static_cast<float>(1 + m_settings.step);
        m_next += data->GetDuration();
    }
    SP<Proc::IDataAudio> Take() override { return std::exchange(m_result, nullptr); }
    void End() override {
        m_result = MakeBlock(m_next, 10);
        std::fill_n(SamplesOf(*m_result), 10, 1.0F);
    }

    /// At 1,000 samples a second.
    static SP<Proc::IDataAudio> MakeBlock(std::int64_t time, int count) {
        auto const block = Proc::DataAudioFF::CreateBySampleCount(
            {Conf::SampleFormats::FloatPlanar, 1000, Conf::ChannelLayout::FromCount(1)}, count);
        block->SetTime(time);
        block->SetDuration(count * 1000);
        return block;
    }
    static float* SamplesOf(Proc::IDataAudio const& block) {
        return reinterpret_cast<float*>(block.GetAVFrame()->data[0]);
    }

private:
    Proc::SettingsEffectTranspose m_settings;
    SP<Proc::IDataAudio> m_result;
    std::int64_t m_next = 0;
    std::int64_t m_lie;
};

/// Five seconds of 0.25 in blocks of that many samples, of times that tremble so much, through the step; each
/// result has to follow the one before.
std::vector<float> RunAudio(std::string const& step, int blockSize, std::int64_t jitter = 0,
                            std::int64_t lie = 0) {
    Host::AudioChain chain;
    auto const first = MakeSP<Louder>(lie);
    Host::EffectStep const parsed = Host::ParseEffectStep(step);
    Proc::SettingsEffectTranspose settings;
    settings.step = 1;
    first->SetSettings(static_cast<Proc::Settings const&>(settings));
    chain.Append(
        first, "", [] { return MakeSP<Louder>(); }, parsed.times);
    std::vector<float> samples;
    auto const takeAll = [&] {
        while (SP<Proc::IDataAudio> const block = chain.Take()) {
            EXPECT_EQ(block->GetTime(), static_cast<std::int64_t>(samples.size()) * 1000);
            samples.insert(samples.end(), Louder::SamplesOf(*block),
                           Louder::SamplesOf(*block) + block->GetSampleCount());
        }
    };
    for (int sample = 0; sample < 5000; sample += blockSize) {
        auto const block = Louder::MakeBlock(sample * 1000, std::min(blockSize, 5000 - sample));
        std::fill_n(Louder::SamplesOf(*block), block->GetSampleCount(), 0.25F);
        if (sample > 0)
            block->SetTime(block->GetTime() + (sample / blockSize % 2 == 0 ? jitter : -jitter));
        chain.Feed(block);
        takeAll();
    }
    chain.End();
    takeAll();
    return samples;
}

TEST(TimedStep, AudioComesInAndSoundsOnToItsEnd) {
    for (int const blockSize : {1, 77, 5000}) {
        auto const samples = RunAudio("transpose@1-3~0.5", blockSize);
        ASSERT_EQ(samples.size(), 5000U);
        std::map<std::size_t, float> const due{{0, 0.25F},    {1000, 0.25F},  {1250, 0.375F}, {1500, 0.5F},
                                               {2499, 0.5F},  {2750, 0.375F}, {3000, 1.25F},  {3009, 1.25F},
                                               {3010, 0.25F}, {4999, 0.25F}};
        for (auto const& [sample, value] : due)
            EXPECT_FLOAT_EQ(samples[sample], value) << sample << " with blocks of " << blockSize;
    }
    auto const samples = RunAudio("transpose@4-", 77);
    EXPECT_EQ(samples.size(), 5010U);
    EXPECT_EQ(samples[4005], 0.375F); // comes in within 10 ms
    EXPECT_EQ(samples[5009], 1);
}

TEST(TimedStep, AudioGoesOnWhateverItsTimes) {
    std::string const step = "transpose@1-3~0.5";
    auto const samples = RunAudio(step, 77);
    EXPECT_EQ(RunAudio(step, 77, 35000), samples);
    EXPECT_EQ(RunAudio(step, 77, 0, AV_NOPTS_VALUE), samples);
    EXPECT_THROW(RunAudio(step, 77, 0, 3600 * s_second), Proc::EffectException);

    // In a gap what sounds on is heard.
    Host::AudioChain chain;
    chain.Append(MakeSP<Louder>(), "", nullptr, Host::ParseEffectStep(step).times);
    std::string text;
    for (std::int64_t const time : {1'000'000, 1'500'000}) {
        chain.Feed(Louder::MakeBlock(time, 100));
        while (SP<Proc::IDataAudio> const block = chain.Take())
            text += fmt::format("{}+{} ", block->GetTime() / 1000, block->GetSampleCount());
    }
    EXPECT_EQ(text, "1000+100 1100+10 1500+100 ");
}

TEST(TimedStep, AudioMovesWithoutAClick) {
    for (int const blockSize : {1, 77, 5000}) {
        auto const samples = RunAudio("transpose step=0..3@1-4", blockSize);
        ASSERT_GE(samples.size(), 5000U);
        EXPECT_EQ(samples[500], 0.25F);
        EXPECT_EQ(samples[2400], 0.5F); // whole steps from 1.5, 2.5 and 3.5 s on
        EXPECT_EQ(samples[3400], 0.75F);
        EXPECT_EQ(samples[4900], 1);
        // From one value to the next in 20 ms; what each effect adds at its end is apart.
        EXPECT_NEAR(samples[1490], 0.375F, 0.13F);
    }
    Host::AudioChain chain;
    EXPECT_THROW(
        chain.Append(MakeSP<Louder>(), "", nullptr, Host::ParseEffectStep("transpose step=0..3@1-4").times),
        Proc::SettingsException);
}

} // namespace
