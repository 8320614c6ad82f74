#include "Host/AudioChain.h"

#include "Host/Doubles.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Support/Failure.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

/// What VideoChainTest has not: what is said of blocks. The driving of steps is the same code.
using namespace Tarsel;
using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;
using Host::AudioMedium;
using Proc::IDataAudio;

namespace {

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
