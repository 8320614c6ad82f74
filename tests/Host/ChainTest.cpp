#include "Conf/FormatCodecVideo.h"
#include "Core/Throw.h"
#include "Host/AudioChain.h"
#include "Host/Doubles.h"
#include "Host/VideoChain.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

#include <new>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

using namespace Tarsel;
using namespace Tarsel::HostTest;
using Conf::SampleFormats;
using Conf::SampleInfo;
using Host::AudioMedium;
using Proc::IDataAudio;
using testing::ElementsAre;

namespace {

constexpr auto HoldBack = Tarsel::Test::HoldBack<Proc::IDataVideo>;

/// Each frame, and another a half later.
void Double(SP<Proc::IDataVideo> const& frame, Frames& ready) {
    if (!frame)
        return;
    ready.push_back(frame);
    ready.push_back(MakeFrame(frame->GetTime() + 500));
}

/// Every second frame is dropped.
Work Drop() {
    return [keep = false](SP<Proc::IDataVideo> const& frame, Frames& ready) mutable {
        keep = frame && !keep;
        if (keep)
            ready.push_back(frame);
    };
}

enum class By { Process, Stream };

SP<Proc::IOneInputEffectVideo> Make(By by, Work work, std::string name = "double") {
    if (by == By::Process)
        return MakeSP<ProcessEffect>(std::move(name), std::move(work));
    return MakeSP<StreamEffect>(std::move(name), std::move(work));
}

void TakeAll(Host::VideoChain& chain, std::vector<std::int64_t>& times) {
    while (auto const frame = chain.Take())
        times.push_back(frame->GetTime());
}

/// The times of what a stream of `count` frames, at 0, 1000, 2000..., becomes.
std::vector<std::int64_t> RunThrough(Host::VideoChain& chain, int count) {
    std::vector<std::int64_t> times;
    for (int i = 0; i < count; ++i) {
        SP<Proc::IDataVideo> const frame = MakeFrame(i * 1000);
        chain.Feed(frame);
        TakeAll(chain, times);
    }
    chain.End();
    TakeAll(chain, times);
    return times;
}

class VideoChainBy : public testing::TestWithParam<By> {};

INSTANTIATE_TEST_SUITE_P(Effects, VideoChainBy, testing::Values(By::Process, By::Stream),
                         [](auto const& each) { return each.param == By::Process ? "Process" : "Stream"; });

TEST_P(VideoChainBy, LosesNothingAndStartsAfresh) {
    struct Case {
        char const* name;
        std::vector<Work> steps;
        std::vector<std::int64_t> times;
    };
    Case const cases[] = {
        {"held back", {HoldBack(2)}, {0, 1000, 2000}},
        {"held back twice", {HoldBack(1), HoldBack(3)}, {0, 1000, 2000}},
        {"held back to the end", {HoldBack(9)}, {0, 1000, 2000}},
        {"doubled", {Double}, {0, 500, 1000, 1500, 2000, 2500}},
        {"dropped", {Drop()}, {0, 2000}},
        {"all", {HoldBack(1), Double, Drop(), HoldBack(2)}, {0, 1000, 2000}},
    };
    for (Case const& each : cases) {
        SCOPED_TRACE(each.name);
        Host::VideoChain chain;
        for (Work const& work : each.steps)
            chain.Append(Make(GetParam(), work));
        EXPECT_EQ(RunThrough(chain, 3), each.times);
        EXPECT_EQ(RunThrough(chain, 3), each.times); // the next stream, after the end of the first
        EXPECT_THAT(RunThrough(chain, 0), ElementsAre());
    }
}

TEST_P(VideoChainBy, KeepsNoFrame) {
    Host::VideoChain chain;
    chain.Append(Make(GetParam(), HoldBack(1)));
    chain.Append(Make(GetParam(), HoldBack(0)));
    std::vector<SP<Proc::IDataVideo>> frames;
    for (int i = 0; i < 4; ++i) {
        frames.push_back(MakeFrame(i));
        chain.Feed(frames.back());
        EXPECT_EQ(chain.Take() != nullptr, i > 0);
        for (int k = 0; k < i; ++k)
            EXPECT_EQ(frames[static_cast<std::size_t>(k)]->GetRefCount(), 1) << "frame " << k << " of " << i;
    }
    chain.End();
    EXPECT_EQ(chain.Take(), frames[3]);
    EXPECT_EQ(chain.Take(), nullptr);
    EXPECT_EQ(frames[3]->GetRefCount(), 1);
}

TEST(VideoChain, WithoutStepsPassesFramesThroughButNoNull) {
    Host::VideoChain chain;
    EXPECT_THROW(chain.Append(nullptr), Proc::EffectException);
    EXPECT_THROW(chain.Feed(nullptr), Proc::EffectException);
    EXPECT_TRUE(chain.IsEmpty());
    EXPECT_THAT(RunThrough(chain, 2), ElementsAre(0, 1000));
}

class SpecialException : public Proc::EffectException {};

/// Fails at every operation a chain asks for.
struct Broken : Effect {
    explicit Broken(std::function<void()> how) : Effect("broken"), fail(std::move(how)) {}
    void Process(SP<Proc::IDataVideo>&) override { fail(); }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override { fail(); }
    Core::Property GetStatistic() const override {
        fail();
        return Core::Property();
    }
    std::function<void()> fail;
};

struct BrokenStream : Broken, Proc::IEffectStreamVideo {
    using Broken::Broken;
    void Feed(SP<Proc::IDataVideo> const&) override { fail(); }
    SP<Proc::IDataVideo> Take() override { return {}; }
    void End() override { fail(); }
};

template <class E>
void FailWith() {
    Core::Throw<E>({"Room/Source", "void Fail()"}, "it broke", Proc::TagFFmpegError(-22));
}

/// Every operation of a chain leaves with the step and with what the exception had before.
template <class E>
void ExpectMarked(SP<Proc::IOneInputEffectVideo> const& effect) {
    Host::VideoChain chain;
    chain.Append(MakeSP<Effect>("fine"));
    chain.Append(effect);
    SP<Conf::IFormatCodecVideo> format = MakeSP<Conf::FormatCodecVideo>();
    for (std::function<void()> const& operation : std::initializer_list<std::function<void()>>{
             [&] { chain.Feed(MakeFrame(0)); },
             [&] {
                 chain.End();
                 while (chain.Take()) {
                 }
             },
             [&] { chain.UpdateFormatCodec(format); }, [&] { (void)chain.GetStatistics(); }}) {
        Tarsel::Test::Failure const failure = Tarsel::Test::Catch<E>(operation);
        EXPECT_EQ(failure.step, "step 2 (broken)");
        EXPECT_EQ(failure.text, "it broke");
        EXPECT_EQ(failure.ffmpegError, -22);
    }
}

TEST(VideoChain, MarksExceptionsWithTheStepAndKeepsTheirType) {
    ExpectMarked<SpecialException>(MakeSP<Broken>(FailWith<SpecialException>));
    ExpectMarked<SpecialException>(MakeSP<BrokenStream>(FailWith<SpecialException>));
    ExpectMarked<std::out_of_range>(MakeSP<Broken>(FailWith<std::out_of_range>));
    Host::VideoChain chain;
    chain.Append(MakeSP<Broken>([] { throw std::bad_alloc(); }));
    EXPECT_THROW(chain.Feed(MakeFrame(0)), std::bad_alloc);
}

std::string GetFailure(std::function<void()> const& operation) {
    Tarsel::Test::Failure const failure = Tarsel::Test::Catch(operation);
    return failure.step + ": " + failure.text;
}

TEST(VideoChain, CountsOnlyStepsWithoutALabel) {
    for (auto const& [first, second, name] :
         {std::tuple("orientation", "", "step 1 (broken)"), {"", "orientation", "orientation"}}) {
        Host::VideoChain chain;
        chain.Append(MakeSP<Effect>("fine"), first);
        chain.Append(MakeSP<Broken>(FailWith<Proc::EffectException>), second);
        EXPECT_EQ(GetFailure([&] { chain.Feed(MakeFrame(0)); }), std::string(name) + ": it broke");
    }
}

TEST(VideoChain, EndsWithAnEffectThatAnswersForEver) {
    struct Endless : Effect {
        Endless() : Effect("endless") {}
        void Process(SP<Proc::IDataVideo>& data) override { data = MakeFrame(0); }
    };
    Host::VideoChain chain;
    chain.Append(MakeSP<Endless>());
    chain.Feed(MakeFrame(0));
    chain.End();
    std::vector<std::int64_t> times;
    EXPECT_EQ(GetFailure([&] { TakeAll(chain, times); }),
              "step 1 (endless): The effect breaks its contract: after 1 frames it was asked 65 times for "
              "what it still holds, and returned a frame each time");
}

TEST(VideoChain, RefusesFramesThatHoldLessThanTheySay) {
    Host::VideoChain chain;
    chain.Append(Make(
        By::Stream,
        [](SP<Proc::IDataVideo> const& frame, Frames& ready) {
            if (frame)
                ready.push_back(MakeSP<Proc::DataVideoFF>(*frame->GetAVFrame(), Conf::FrameInfo{4, 2, 1, 1}));
        },
        "liar"));
    EXPECT_EQ(
        GetFailure([&] { chain.Feed(MakeFrame(0)); }),
        "step 1 (liar): The effect breaks its contract: it returned a frame said to be 4x2 in pixel format "
        "8, whose AVFrame is 2x2 in 8");
}

TEST(VideoChain, GoesOnAfterAFailure) {
    Host::VideoChain chain;
    chain.Append(Make(By::Stream, Double));
    chain.Append(Make(By::Stream, [](SP<Proc::IDataVideo> const& frame, Frames& ready) {
        if (frame && frame->GetTime() == 1000)
            FailWith<Proc::EffectException>();
        if (frame)
            ready.push_back(frame);
    }));
    std::vector<std::int64_t> times;
    chain.Feed(MakeFrame(0));
    EXPECT_THROW(chain.Feed(MakeFrame(1000)), Proc::EffectException);
    TakeAll(chain, times);
    EXPECT_THAT(times, ElementsAre(0, 500)); // what was ready before is still there
    chain.Feed(MakeFrame(2000));
    chain.End();
    TakeAll(chain, times);
    EXPECT_THAT(times, ElementsAre(0, 500, 1500, 2000, 2500));
}

constexpr SampleInfo s_cd{SampleFormats::S16, 44100, {0x3, 2}};

SP<IDataAudio> MakeBlock(SampleInfo const& info = s_cd) {
    return Proc::DataAudioFF::CreateBySampleCount(info, 10);
}

/// Makes another block of each.
SP<Proc::IOneInputEffectAudio> Replace(std::function<SP<IDataAudio>(IDataAudio const&)> make) {
    return MakeSP<HostTest::StreamEffectOf<AudioMedium>>(
        "cut", [make = std::move(make)](SP<IDataAudio> const& block, HostTest::DataOf<AudioMedium>& ready) {
            if (block)
                ready.push_back(make(*block));
        });
}

/// A block that says what its frame does not hold.
struct Liar : Proc::DataAudioFF {
    Liar() : DataAudioFF(*MakeBlock()->GetAVFrame()) {}
    SampleInfo GetSampleInfo() const override { return info; }
    std::int64_t GetSampleCount() const override { return count; }
    AVFrame const* GetAVFrame() const override { return frame; }
    AVFrame* GetAVFrame() override { return frame; }

    SampleInfo info = s_cd;
    std::int64_t count = 10;
    AVFrame* frame = DataAudioFF::GetAVFrame();
};

TEST(AudioChain, RefusesBlocksThatHoldLessThanTheySay) {
    struct {
        void (*lie)(Liar&);
        /// What the block is said to be, and what its frame has; all or nothing of both.
        char const* said = "10 samples of 44100 Hz s16 stereo";
        char const* has = "10 of 44100 Hz s16 stereo";
    } const cases[] = {
        {[](Liar& l) { l.count = 9; }, "9 samples of 44100 Hz s16 stereo"},
        {[](Liar& l) { l.count = -1; }, "-1 samples of 44100 Hz s16 stereo"},
        {[](Liar& l) { l.info.format = SampleFormats::Float; }, "10 samples of 44100 Hz flt stereo"},
        {[](Liar& l) {
             l.info.layout = {0, 3};
         },
         "10 samples of 44100 Hz s16 3 channels"},
        {[](Liar& l) { l.info.format = SampleFormats::Unknown, l.frame->format = -1; },
         "10 samples of 44100 Hz unknown format stereo", "0 of 44100 Hz unknown format stereo"},
        {[](Liar& l) { l.info.rate = -1, l.frame->sample_rate = 0; }, "10 samples of unknown rate s16 stereo",
         "10 of unknown rate s16 stereo"},
        {[](Liar& l) { l.frame->data[0] = nullptr; }, "10 samples of 44100 Hz s16 stereo",
         "0 of 44100 Hz s16 stereo"},
        {[](Liar& l) { l.count = l.frame->nb_samples = 10000; }, "10000 samples of 44100 Hz s16 stereo",
         "0 of 44100 Hz s16 stereo"},
        {[](Liar& l) { l.frame = nullptr; }, nullptr},
    };
    auto const run = [](void (*lie)(Liar&)) {
        Host::AudioChain chain;
        chain.Append(Replace([lie](IDataAudio const&) {
            auto const liar = MakeSP<Liar>();
            lie(*liar);
            return liar;
        }));
        chain.Feed(MakeBlock());
    };
    EXPECT_NO_THROW(run([](Liar&) {}));
    for (auto const& [lie, said, has] : cases) {
        Tarsel::Test::Failure const failure = Tarsel::Test::Catch([&, &each = lie] { run(each); });
        EXPECT_EQ(failure.step, "step 1 (cut)");
        EXPECT_EQ(failure.text, "The effect breaks its contract: it returned a block " +
                                    (said == nullptr ? "without an AVFrame"
                                                     : "said to be of " + std::string(said) +
                                                           ", whose AVFrame has " + has));
    }
    EXPECT_THROW(Host::AudioChain().Feed(nullptr), Proc::EffectException);
}

TEST(AudioChain, NotesDepthThatIsLost) {
    using enum SampleFormats;
    struct {
        std::vector<SampleFormats> in;
        SampleFormats out;
        std::vector<std::string> notes;
    } const cases[] = {
        {{FloatPlanar}, S16, {"step 1 (cut) reduces the bit depth from 24 to 16: fltp becomes s16"}},
        {{S16}, U8Planar, {"step 1 (cut) reduces the bit depth from 16 to 8: s16 becomes u8p"}},
        {{Double}, Float, {}},
        {{U8}, S16, {}},
        {{S16, S32}, S16, {}}, // the rest of the first would come out after the second went in
    };
    for (auto const& each : cases) {
        Host::AudioChain chain;
        chain.Append(Replace([&](IDataAudio const& block) {
            SampleInfo info = block.GetSampleInfo();
            info.format = each.out;
            return MakeBlock(info);
        }));
        for (SampleFormats const format : each.in)
            for (int i = 0; i < 2; ++i) {
                chain.Feed(MakeBlock({format, 44100, {0x3, 2}}));
                EXPECT_NE(chain.Take(), nullptr);
            }
        EXPECT_EQ(chain.GetNotes(), each.notes);
    }
}

} // namespace
