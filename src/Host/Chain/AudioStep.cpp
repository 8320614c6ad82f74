#include "Host/Chain/AudioStep.h"

#include "Host/EffectRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Tarsel::Host {
namespace {

using Conf::SampleFormats;

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
            ThrowMisbehavior("it returned " + fault);
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
