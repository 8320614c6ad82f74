// Steps that work at some times, and values that move.

#include "Core/ThreadBudget.h"
#include "Host/Doubles.h"
#include "Host/EffectStep.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

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

} // namespace
