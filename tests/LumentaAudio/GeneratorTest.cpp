#include "AudioCases.h"
#include "Conf/FormatCodecAudio.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/error.h>
}

namespace Tarsel::Test {
namespace {

using Proc::EffectFFMPEGAudioGenerator;
using Proc::IDataAudio;

TEST(AudioGenerator, RunsItsOwnClock) {
    // Blocks of 1024 samples, of 23219.95 microseconds.
    auto const generator = EffectFFMPEGAudioGenerator::Create(
        "sine=frequency=440:sample_rate=44100,asetpts=PTS+44100", s_stereo);
    for (std::int64_t expected :
         {0, 23220, 46440, 69660, 92880, 116100, 139320, 162540, 185760, 208980, 232200, 255420, 278639}) {
        SP<IDataAudio> const block = generator->Get();
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->GetTime(), expected);
        EXPECT_EQ(block->GetSampleCount(), 1024);
        EXPECT_EQ(block->GetDuration(), 0);
        EXPECT_EQ(block->GetRefCount(), 1);
    }
}

TEST(AudioGenerator, EndsWithItsSource) {
    auto const generator = EffectFFMPEGAudioGenerator::Create(
        "aevalsrc=exprs=0.5|-0.25:d=0.01:s=8000,aformat=sample_fmts=dbl[out]", s_stereo);
    SP<IDataAudio> const block = generator->Get();
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->GetSampleCount(), 80);
    EXPECT_EQ(GetSample(*block->GetAVFrame(), 0, 79), 0.5);
    EXPECT_EQ(GetSample(*block->GetAVFrame(), 1, 79), -0.25);
    EXPECT_EQ(generator->Get(), nullptr);
    EXPECT_EQ(generator->Get(), nullptr);

    SP<Conf::IFormatCodecAudio> codec = MakeSP<Conf::FormatCodecAudio>(s_stereo);
    auto const other = EffectFFMPEGAudioGenerator::Create("anullsrc=r=22050:cl=mono", codec);
    other->UpdateFormatCodec(codec);
    EXPECT_EQ(codec->GetSampleInfo().rate, 22050);
    EXPECT_EQ(codec->GetSampleInfo().layout, (Conf::ChannelLayout{4, 1}));
}

TEST(AudioGenerator, TakesCommands) {
    auto const generator = EffectFFMPEGAudioGenerator::Create(
        "aevalsrc=exprs=0.5:s=8000:n=100,volume@loud=1:precision=double", s_stereo);
    EXPECT_EQ(GetSample(*generator->Get()->GetAVFrame(), 0, 0), 0.5);
    generator->SendCmd("volume@loud", "volume", "0.5");
    EXPECT_EQ(GetSample(*generator->Get()->GetAVFrame(), 0, 0), 0.25);
    generator->SendCmd("volume", "volume", "0.25");
    EXPECT_EQ(GetSample(*generator->Get()->GetAVFrame(), 0, 0), 0.125);

    FFmpegWatch const quiet;
    for (auto const& [target, command, error] :
         {std::tuple{"nobody", "volume", AVERROR(ENOSYS)}, {"volume", "nothing", AVERROR(ENOSYS)}}) {
        Failure const failure =
            Catch([&, target = target, command = command] { generator->SendCmd(target, command, "1"); });
        EXPECT_EQ(failure.text, "Can't send command to filter");
        EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator");
        EXPECT_EQ(failure.ffmpegError, error);
        EXPECT_EQ(failure.detail,
                  std::string("Function not implemented; command: ") + target + ' ' + command + " 1");
    }
    EXPECT_EQ(GetSample(*generator->Get()->GetAVFrame(), 0, 0), 0.125);
}

} // namespace
} // namespace Tarsel::Test
