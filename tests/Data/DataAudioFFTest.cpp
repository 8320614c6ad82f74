#include "Proc/Data/DataAudioFF.h"
#include "Core/CoreExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Support/AllocationLimit.h"

#include <gmock/gmock.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

namespace {

using namespace Tarsel::Test;

using Conf::SampleFormats;
using Conf::SampleInfo;

TEST(DataAudioFFTest, BlocksThatCannotBe) {
    SampleInfo const good = SampleInfo::Init(SampleFormats::S16, 48000, {3, 2});
    struct {
        SampleInfo info;
        int count;
        char const* text;
    } const cases[] = {
        {{SampleFormats::Unknown, 48000, {3, 2}}, 1, "sample format -1 is not one of 0 to 9"},
        {{SampleFormats::S16, -1, {3, 2}}, 1, "sample rate -1 is not above 0"},
        {{SampleFormats::S16, 0, {3, 2}}, 1, "sample rate 0 is not above 0"},
        {{SampleFormats::S16, 48000, {}}, 1, "there are no channels"},
        {{SampleFormats::S16, 48000, {7, 2}}, 1, "channel mask 0x7 is not one of 2 channels"},
        {good, -1, "sample count -1 is below 0"},
    };
    for (auto const& example : cases)
        EXPECT_THAT([&] { DataAudioFF::CreateBySampleCount(example.info, example.count); },
                    testing::ThrowsMessage<EffectException>("Cannot make a block of audio: " +
                                                            std::string(example.text)));

    AllocationLimit const limit(20000);
    try {
        DataAudioFF::CreateBySampleCount(good, 10000);
        ADD_FAILURE();
    } catch (Core::MemoryException const& exception) {
        EXPECT_EQ(*boost::get_error_info<Core::MemoryException::TagBlockSize>(exception), 40000U);
    }
}

TEST(DataAudioFFTest, ReadsForeignFrames) {
    SafeFrame frame;
    frame->format = AV_SAMPLE_FMT_S64;
    frame->nb_samples = 10;
    frame->ch_layout.order = AV_CHANNEL_ORDER_UNSPEC;
    frame->ch_layout.nb_channels = 3;
    frame.AllocateBuffers();
    DataAudioFF data(*frame);
    EXPECT_EQ(data.GetSampleInfo(), SampleInfo::Init(SampleFormats::Unknown, -1, {0, 3}));
    data.SetTime(5);
    data.SetDuration(6);
    EXPECT_EQ(std::pair(data.GetTime(), data.GetDuration()), std::pair(5L, 6L));
    EXPECT_NE(frame->pts, 5);
    SafeFrame const empty;
    EXPECT_THROW(DataAudioFF{*empty}, ProcException);
}

} // namespace

} // namespace Tarsel::Proc
