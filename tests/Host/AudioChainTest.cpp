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
using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;
using Host::AudioMedium;
using Proc::IDataAudio;

namespace {

using Blocks = HostTest::DataOf<AudioMedium>;
using Work = HostTest::WorkOf<AudioMedium>;
using StreamEffect = HostTest::StreamEffectOf<AudioMedium>;

constexpr SampleInfo s_cd{SampleFormats::S16, 44100, {0x3, 2}};

SP<IDataAudio> MakeBlock(std::int64_t time, SampleInfo const& info = s_cd) {
    SP<IDataAudio> const block = Proc::DataAudioFF::CreateBySampleCount(info, 10);
    block->SetTime(time);
    return block;
}

/// Makes another block of each.
Work Replace(std::function<SP<IDataAudio>(IDataAudio const&)> make) {
    return [make = std::move(make)](SP<IDataAudio> const& block, Blocks& ready) {
        if (block)
            ready.push_back(make(*block));
    };
}

TEST(AudioChain, LosesNothing) {
    Host::AudioChain chain;
    chain.Append(MakeSP<StreamEffect>("hold", HostTest::HoldBackOf<AudioMedium>(1)));
    chain.Append(
        MakeSP<HostTest::ProcessEffectOf<AudioMedium>>("hold", HostTest::HoldBackOf<AudioMedium>(5)));
    chain.Append(MakeSP<HostTest::EffectOf<AudioMedium>>("pass"));
    for (std::int64_t const time : {0, 1000, 2000})
        chain.Feed(MakeBlock(time));
    chain.End();
    for (std::int64_t const time : {0, 1000, 2000})
        EXPECT_EQ(chain.Take()->GetTime(), time);
    EXPECT_EQ(chain.Take(), nullptr);
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
    struct {
        void (*lie)(Liar&);
        /// What the block is said to be, and what its frame has; all or nothing of both.
        char const* said = "10 samples of 44100 Hz s16 stereo";
        char const* has = "10 of 44100 Hz s16 stereo";
    } const cases[] = {
        {[](Liar& liar) { liar.count = 9; }, "9 samples of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.count = 11; }, "11 samples of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.count = -1; }, "-1 samples of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.info.format = SampleFormats::Float; }, "10 samples of 44100 Hz flt stereo"},
        {[](Liar& liar) {
             liar.info.layout = ChannelLayout{0, 3};
         },
         "10 samples of 44100 Hz s16 3 channels"},
        {[](Liar& liar) { liar.info.format = SampleFormats::Unknown, liar.frame->format = -1; },
         "10 samples of 44100 Hz unknown format stereo", "0 of 44100 Hz unknown format stereo"},
        {[](Liar& liar) { liar.info.rate = -1, liar.frame->sample_rate = 0; },
         "10 samples of unknown rate s16 stereo", "10 of unknown rate s16 stereo"},
        {[](Liar& liar) { liar.frame->data[0] = nullptr; }, "10 samples of 44100 Hz s16 stereo",
         "0 of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.count = liar.frame->nb_samples = 10000; },
         "10000 samples of 44100 Hz s16 stereo", "0 of 44100 Hz s16 stereo"},
        {[](Liar& liar) { liar.frame = nullptr; }, nullptr},
    };
    auto const run = [](void (*lie)(Liar&)) {
        Host::AudioChain chain;
        chain.Append(MakeSP<StreamEffect>("liar", Replace([lie](IDataAudio const&) -> SP<IDataAudio> {
                                              auto const liar = MakeSP<Liar>();
                                              lie(*liar);
                                              return liar;
                                          })));
        chain.Feed(MakeBlock(0));
    };
    EXPECT_NO_THROW(run([](Liar&) {}));
    for (auto const& [lie, said, has] : cases) {
        Tarsel::Test::Failure const failure = Tarsel::Test::Catch([&, &each = lie] { run(each); });
        EXPECT_EQ(failure.step, "step 1 (liar)");
        EXPECT_EQ(failure.text, "The effect breaks its contract: it gave a block " +
                                    (said == nullptr ? "without AVFrame"
                                                     : "said to be of " + std::string(said) +
                                                           ", whose AVFrame has " + has));
    }
}

TEST(AudioChain, NotesDepthThatIsLost) {
    struct {
        std::vector<SampleFormats> in;
        SampleFormats out;
        std::vector<std::string> notes;
    } const cases[] = {
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
    for (auto const& each : cases) {
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
