// A program with audio of its own and no header of FFmpeg's: a second of stereo noise goes through a gate and
// comes out at half the rate, in 16 bits. The plug-in is linked, not opened.

#include "Host/AudioChain.h"
#include "Host/EffectSettings.h"
#include "Host/EffectStep.h"
#include "Host/ErrorReport.h"
#include "Host/FFmpegMessages.h"
#include "Proc/Data/WrapMemory.h"
#include "Proc/Effects/Lumenta/Registrator.h"

#include <cstdio>
#include <memory>
#include <span>
#include <vector>

using Tarsel::SP;
using Tarsel::Proc::IDataAudio;

static SP<IDataAudio> WrapSecond(std::vector<float> const& interleaved, bool& released) {
    std::span const bytes(reinterpret_cast<std::uint8_t const*>(interleaved.data()),
                          interleaved.size() * sizeof(float));
    Tarsel::Conf::SampleInfo const info{Tarsel::Conf::SampleFormats::Float, 48000,
                                        Tarsel::Conf::ChannelLayout::FromCount(2)};
    return Tarsel::Proc::WrapSamples(info, 48000, {bytes}, [&released] { released = true; });
}

static void AppendEffects(Tarsel::Host::AudioChain& chain) {
    auto const registry = std::make_shared<Tarsel::Host::EffectRegistry>();
    Registrator(*registry);
    auto const factory = Tarsel::MakeSP<Tarsel::Host::EffectFactory>(registry);

    auto const gate = Tarsel::Host::MakeAudioEffect(*factory, Tarsel::Host::ParseEffectStep("gate"));
    Tarsel::Core::Property settings("gate");
    settings.SetChildT("ratio", 4.0);
    Tarsel::Host::SetEffectSettings(*gate, settings);
    chain.Append(gate);
    auto const step = Tarsel::Host::ParseEffectStep("resample rate=24000 format=s16");
    chain.Append(Tarsel::Host::MakeAudioEffect(*factory, step));
}

static long long Drain(Tarsel::Host::AudioChain& chain) {
    long long count = 0;
    while (SP<IDataAudio> const block = chain.Take()) {
        std::span const bytes = Tarsel::Proc::GetReadOnlySamples(*block, 0);
        if (bytes.size() != static_cast<std::size_t>(block->GetSampleCount()) * 2 * sizeof(std::int16_t))
            return -1;
        count += block->GetSampleCount();
    }
    return count;
}

static int Run() {
    std::vector<float> samples(96000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>(i * 7919 % 2001) / 1000 - 1;
    bool released = false;
    Tarsel::Host::AudioChain chain;
    AppendEffects(chain);

    chain.Feed(WrapSecond(samples, released));
    long long count = Drain(chain);
    chain.End();
    count += Drain(chain);

    std::printf("%lld samples, memory %s\n", count, released ? "given back" : "still held");
    return count == 24000 && released ? 0 : 1;
}

int main() {
    Tarsel::Host::FFmpegMessages const messages;
    try {
        return Run();
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "%s\n", Tarsel::Host::DescribeError(failure).c_str());
        return 1;
    }
}
