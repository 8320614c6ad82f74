#include "Host/AudioStep.h"

#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Host {
namespace {

using Conf::SampleFormats;

/// What is wrong with a block; empty when nothing is. One that holds less than it says would be read past its
/// end by whoever comes next.
std::string FindFault(Proc::IDataAudio const& block) {
    AVFrame const* const frame = block.GetAVFrame();
    if (frame == nullptr)
        return "it returned a block without an AVFrame";
    Conf::SampleInfo const said = block.GetSampleInfo();
    std::int64_t const count = block.GetSampleCount();
    if (Conf::IsKnown(said) && said == Proc::GetFrameSampleInfo(*frame) && count == frame->nb_samples &&
        Proc::HasSamples(*frame))
        return {};
    return fmt::format("it returned a block said to be of {} samples of {}, whose AVFrame has {} of {}",
                       count, Proc::AudioText(said), Proc::HasSamples(*frame) ? frame->nb_samples : 0,
                       Proc::AudioText(Proc::GetFrameSampleInfo(*frame)));
}

/// Bits that anyone can hear: no converter to audio resolves more than 24. As many for an unknown format.
int GetDepth(SampleFormats format) {
    constexpr int most = 24;
    int const bits = 8 * Conf::SampleFmtRecord::Find(format).size;
    return bits == 0 ? most : std::min(bits, most);
}

} // namespace

AudioStep::AudioStep(SP<Proc::IOneInputEffectAudio> effect, std::string label)
    : ChainStep(std::move(effect), std::move(label)) {}

void AudioStep::Feed(SP<Proc::IDataAudio> const& block) {
    if (SampleFormats const format = block->GetSampleFormat(); GetDepth(format) <= GetDepth(m_input))
        m_input = format;
    Labeled([&] { FeedEffect(block); });
}

SP<Proc::IDataAudio> AudioStep::Take() {
    return Labeled([&] {
        SP<Proc::IDataAudio> result = TakeFromEffect();
        if (!result)
            return result;
        if (std::string const fault = FindFault(*result); !fault.empty())
            ThrowMisbehavior(fault);
        NoteLosses(result->GetSampleFormat());
        return result;
    });
}

void AudioStep::End() {
    Labeled([&] { EndEffect(); });
}

void AudioStep::UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) const {
    Labeled([&] { GetEffect().UpdateFormatCodec(format); });
}

void AudioStep::NoteLosses(SampleFormats output) {
    int const before = GetDepth(m_input);
    int const after = GetDepth(output);
    if (before > after)
        Note(fmt::format("{} reduces the bit depth from {} to {}: {} becomes {}", GetLabel(), before, after,
                         Conf::SampleFmtRecord::Find(m_input).name,
                         Conf::SampleFmtRecord::Find(output).name));
}

} // namespace Tarsel::Host
