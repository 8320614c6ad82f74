#include "Host/AudioChain.h"

#include "Host/Doubles.h"
#include "Proc/Data/DataAudioFF.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

/// What VideoChainTest has not: what is said of blocks. The driving of steps is the same code.
using namespace Tarsel;
using Conf::SampleFormats;
using Conf::SampleInfo;
using Host::AudioMedium;
using Proc::IDataAudio;
using testing::ElementsAre;

namespace {

using Blocks = HostTest::DataOf<AudioMedium>;
using Work = HostTest::WorkOf<AudioMedium>;
using PlainEffect = HostTest::EffectOf<AudioMedium>;
using ProcessEffect = HostTest::ProcessEffectOf<AudioMedium>;
using StreamEffect = HostTest::StreamEffectOf<AudioMedium>;

constexpr SampleInfo s_cd{SampleFormats::S16, 44100, {0x3, 2}};

SP<IDataAudio> MakeBlock(std::int64_t time, SampleInfo const& info = s_cd) {
    SP<IDataAudio> const block = Proc::DataAudioFF::CreateBySampleCount(info, 10);
    block->SetTime(time);
    return block;
}

/// Holds `count` blocks back.
Work HoldBack(std::size_t count) {
    return [count, held = Blocks()](SP<IDataAudio> const& block, Blocks& ready) mutable {
        if (block)
            held.push_back(block);
        while (held.size() > (block ? count : 0)) {
            ready.push_back(held.front());
            held.pop_front();
        }
    };
}

/// Makes another block of each.
Work Replace(std::function<SP<IDataAudio>(IDataAudio const&)> make) {
    return [make = std::move(make)](SP<IDataAudio> const& block, Blocks& ready) {
        if (block)
            ready.push_back(make(*block));
    };
}

/// Of what a stream of three blocks, at 0, 1000 and 2000, becomes.
std::vector<std::int64_t> GetTimes(Host::AudioChain& chain) {
    std::vector<std::int64_t> times;
    auto const takeAll = [&] {
        while (auto const block = chain.Take())
            times.push_back(block->GetTime());
    };
    for (int i = 0; i < 3; ++i) {
        chain.Feed(MakeBlock(i * 1000));
        takeAll();
    }
    chain.End();
    takeAll();
    return times;
}

TEST(AudioChain, LosesNothingAndStartsAfresh) {
    Host::AudioChain chain;
    EXPECT_TRUE(chain.IsEmpty());
    EXPECT_THAT(GetTimes(chain), ElementsAre(0, 1000, 2000));
    chain.Append(MakeSP<StreamEffect>("hold", HoldBack(1)));
    chain.Append(MakeSP<ProcessEffect>("hold", HoldBack(5)));
    chain.Append(MakeSP<PlainEffect>("pass"));
    EXPECT_FALSE(chain.IsEmpty());
    EXPECT_THAT(GetTimes(chain), ElementsAre(0, 1000, 2000));
    EXPECT_THAT(GetTimes(chain), ElementsAre(0, 1000, 2000));
    EXPECT_THAT([&] { chain.Feed(nullptr); },
                testing::ThrowsMessage<Proc::EffectException>("A null block cannot be fed"));
}

/// A block that says what its frame does not hold.
struct Liar : Core::RefCounted<IDataAudio> {
    SampleInfo info = s_cd;
    std::int64_t count = 10;
    SP<IDataAudio> block = MakeBlock(0);
    AVFrame* frame = block->GetAVFrame();

    std::int64_t GetTime() const override { return 0; }
    void SetTime(std::int64_t) override {}
    std::int64_t GetDuration() const override { return 0; }
    void SetDuration(std::int64_t) override {}
    SampleFormats GetSampleFormat() const override { return info.format; }
    SampleInfo GetSampleInfo() const override { return info; }
    std::int64_t GetSampleCount() const override { return count; }
    AVFrame const* GetAVFrame() const override { return frame; }
    AVFrame* GetAVFrame() override { return frame; }
};

TEST(AudioChain, RefusesBlocksThatHoldLessThanTheySay) {
    struct Case {
        void (*lie)(Liar&);
        char const* said;
    };
    Case const cases[] = {
        {[](Liar&) {}, nullptr},
        {[](Liar& liar) { liar.count = 9; },
         "said to be of 9 samples of 44100 Hz s16 stereo, whose AVFrame has 10 of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.frame = nullptr; }, "without AVFrame"},
        {[](Liar& liar) { liar.count = 11; },
         "said to be of 11 samples of 44100 Hz s16 stereo, whose AVFrame has 10 of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.count = -1; },
         "said to be of -1 samples of 44100 Hz s16 stereo, whose AVFrame has 10 of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.info.format = SampleFormats::Float; },
         "said to be of 10 samples of 44100 Hz flt stereo, whose AVFrame has 10 of 44100 Hz s16 stereo"},
        {[](Liar& liar) {
             liar.info.layout = {0, 3};
         },
         "said to be of 10 samples of 44100 Hz s16 3 channels, whose AVFrame has 10 of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.info.format = SampleFormats::Unknown, liar.frame->format = -1; },
         "said to be of 10 samples of 44100 Hz unknown format stereo, whose AVFrame has 0 of 44100 Hz "
         "unknown format "
         "stereo"},
        {[](Liar& liar) { liar.info.rate = -1, liar.frame->sample_rate = 0; },
         "said to be of 10 samples of unknown rate s16 stereo, whose AVFrame has 10 of unknown rate s16 "
         "stereo"},
        {[](Liar& liar) { liar.frame->data[0] = nullptr; },
         "said to be of 10 samples of 44100 Hz s16 stereo, whose AVFrame has 0 of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.count = liar.frame->nb_samples = 10000; },
         "said to be of 10000 samples of 44100 Hz s16 stereo, whose AVFrame has 0 of 44100 Hz s16 stereo"},
    };
    for (Case const& each : cases) {
        Host::AudioChain chain;
        chain.Append(MakeSP<StreamEffect>("liar", Replace([&](IDataAudio const&) -> SP<IDataAudio> {
                                              auto const liar = MakeSP<Liar>();
                                              each.lie(*liar);
                                              return liar;
                                          })));
        if (each.said == nullptr) {
            EXPECT_NO_THROW(GetTimes(chain));
            continue;
        }
        Tarsel::Test::Failure const failure = Tarsel::Test::Catch([&] { GetTimes(chain); });
        EXPECT_EQ(failure.step, "step 1 (liar)");
        EXPECT_EQ(failure.text, std::string("The effect breaks its contract: it gave a block ") + each.said);
    }
}

TEST(AudioChain, NotesDepthThatIsLost) {
    struct Case {
        std::vector<SampleFormats> in;
        SampleFormats out;
        std::vector<std::string> notes;
    };
    Case const cases[] = {
        {{SampleFormats::FloatPlanar},
         SampleFormats::S16,
         {"step 1 (cut) drops depth, 24 bits to 16: fltp becomes s16"}},
        {{SampleFormats::S16},
         SampleFormats::U8Planar,
         {"step 1 (cut) drops depth, 16 bits to 8: s16 becomes u8p"}},
        {{SampleFormats::Double}, SampleFormats::Float, {}},
        {{SampleFormats::U8}, SampleFormats::S16, {}},
        // The rest of the first would come out after the second went in.
        {{SampleFormats::S16, SampleFormats::S32}, SampleFormats::S16, {}},
    };
    for (Case const& each : cases) {
        Host::AudioChain chain;
        chain.Append(MakeSP<StreamEffect>("cut", Replace([&](IDataAudio const& block) {
                                              SampleInfo info = block.GetSampleInfo();
                                              info.format = each.out;
                                              return MakeBlock(0, info);
                                          })));
        for (SampleFormats const format : each.in)
            for (int i = 0; i < 2; ++i) {
                chain.Feed(MakeBlock(0, {format, 44100, {0x3, 2}}));
                EXPECT_NE(chain.Take(), nullptr);
            }
        EXPECT_EQ(chain.GetNotes(), each.notes);
    }
}

} // namespace
