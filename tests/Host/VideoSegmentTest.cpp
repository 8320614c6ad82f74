// Steps that work on several frames at once: everything is as on one thread.

#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Host/Doubles.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"

#include <boost/exception/get_error_info.hpp>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Tarsel;
using namespace Tarsel::HostTest;

namespace {

/// How many of the effects below are at work, and were at most; and on which threads.
std::atomic<int> s_working;
std::atomic<int> s_mostWorking;
std::atomic<bool> s_isOffThread;
std::thread::id s_caller;

/// Moves frames in time by the step of its settings, in a time that depends on the frame; fails on some.
class Mover final : public EffectAs<Proc::IOneInputEffectVideo>, public Proc::IEffectDetailsVideo {
public:
    explicit Mover(bool drops = false) : EffectAs("transpose"), m_drops(drops) {}

    Proc::Settings const& GetSettingsBase() const override { return m_settings; }
    void SetSettings(Proc::Settings const& settings) override {
        m_settings = dynamic_cast<Proc::SettingsEffectTranspose const&>(settings);
    }
    void SetSettings(Core::Property const&) override {}
    Proc::EffectTraits const& GetTraits() const noexcept override {
        static constexpr Proc::EffectTraits s_traits{.summary = "moves frames"};
        return s_traits;
    }
    std::string Describe(Conf::IFormatCodecVideo const&) const override { return "moves"; }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}

    void Process(SP<Proc::IDataVideo>& data) override {
        if (!data)
            return;
        int const working = ++s_working;
        for (int most = s_mostWorking;
             most < working && !s_mostWorking.compare_exchange_weak(most, working);) {
        }
        s_isOffThread = s_isOffThread || std::this_thread::get_id() != s_caller;
        std::int64_t const time = data->GetTime();
        std::this_thread::sleep_for(std::chrono::microseconds(200 + time * 7919 % 3000));
        --s_working;
        if (time % 11 == 5)
            Core::Throw<Proc::EffectException>(fmt::format("no frame {}", time));
        if (m_drops) {
            data.reset();
            return;
        }
        data = data->Copy();
        data->SetTime(time + 1000 * m_settings.step);
    }

private:
    Proc::SettingsEffectTranspose m_settings;
    bool m_drops;
};

SP<Proc::IOneInputEffectVideo> MakeMover(std::int32_t step) {
    auto effect = MakeSP<Mover>();
    Proc::SettingsEffectTranspose settings;
    settings.step = step;
    effect->SetSettings(static_cast<Proc::Settings const&>(settings));
    return effect;
}

SP<Proc::IOneInputEffectVideo> MakeAnother() {
    return MakeSP<Mover>();
}

class Segment : public testing::TestWithParam<int> {
protected:
    Segment() {
        s_mostWorking = 0;
        s_isOffThread = false;
        s_caller = std::this_thread::get_id();
    }
    ~Segment() override { Core::ThreadBudget::Set(m_budget); }

    int const m_budget = Core::ThreadBudget::Get();
};

/// What came out: the times of frames, and of each step that failed the failures, in their order. How
/// failures lie between frames depends on how many are on their way.
struct Outcome {
    std::vector<std::int64_t> times;
    std::map<std::string, std::vector<std::string>> failures;
};

/// Does `work`, which may fail; false then.
template <class Work>
bool Try(Outcome& outcome, Work const& work) {
    try {
        work();
        return true;
    } catch (Proc::EffectException const& failure) {
        outcome.failures[*boost::get_error_info<Host::TagStep>(failure)].push_back(failure.what());
        return false;
    }
}

void TakeAll(Host::VideoChain& chain, Outcome& outcome) {
    SP<Proc::IDataVideo> frame;
    while (!Try(outcome, [&] { frame = chain.Take(); }) || frame)
        if (frame)
            outcome.times.push_back(std::exchange(frame, nullptr)->GetTime());
}

/// Two streams, with other settings in the middle, through steps that work side by side and one that holds
/// back.
Outcome RunAll(int threads) {
    Core::ThreadBudget::Set(threads);
    Host::VideoChain chain;
    chain.SetThreads(threads);
    auto const first = MakeMover(1);
    chain.Append(first, "", MakeAnother);
    chain.Append(MakeMover(2), "", MakeAnother);
    chain.Append(MakeSP<StreamEffect>("held", Tarsel::Test::HoldBack<Proc::IDataVideo>(2)));
    chain.Append(MakeMover(3), "last", MakeAnother);
    Outcome outcome;
    for (int stream = 0; stream < 2; ++stream) {
        for (std::int64_t time = 0; time < 40; ++time) {
            if (time == 20) {
                Proc::SettingsEffectTranspose settings;
                settings.step = stream;
                first->SetSettings(static_cast<Proc::Settings const&>(settings));
            }
            Try(outcome, [&] { chain.Feed(MakeFrame(time)); });
            TakeAll(chain, outcome);
        }
        chain.End();
        TakeAll(chain, outcome);
        outcome.times.push_back(-1);
    }
    return outcome;
}

TEST_P(Segment, GivesWhatOneThreadGives) {
    Outcome const due = RunAll(1);
    EXPECT_FALSE(s_isOffThread) << "one thread is the caller's";
    Outcome const made = RunAll(GetParam());
    EXPECT_EQ(fmt::format("{}", fmt::join(made.times, " ")), fmt::format("{}", fmt::join(due.times, " ")));
    EXPECT_EQ(made.failures, due.failures);
    EXPECT_GT(s_mostWorking, 1);
}

INSTANTIATE_TEST_SUITE_P(Threads, Segment, testing::Values(2, 3, 8));

TEST_F(Segment, HoldsNoMoreFramesThanThreadsAndTwo) {
    Core::ThreadBudget::Set(3);
    Host::VideoChain chain;
    chain.SetThreads(3);
    chain.Append(MakeMover(0), "", MakeAnother);
    int fed = 0;
    int taken = 0;
    for (std::int64_t time = 0; time < 440; time += 11) { // those do not fail
        chain.Feed(MakeFrame(time));
        ++fed;
        while (chain.Take())
            ++taken;
        EXPECT_LE(fed - taken, 4);
    }
    // A chain may go while frames are on their way.
}

TEST_F(Segment, BlamesAnEffectThatDropsFrames) {
    Core::ThreadBudget::Set(2);
    Host::VideoChain chain;
    chain.SetThreads(2);
    chain.Append(MakeMover(0), "", [] { return MakeSP<Mover>(true); });
    Outcome outcome;
    chain.Feed(MakeFrame(0));
    chain.End();
    TakeAll(chain, outcome);
    EXPECT_EQ(outcome.failures["step 1 (transpose)"].front(),
              "The effect breaks its contract: it does not return one frame for each, as its traits state");
}

} // namespace
