// A program with samples of its own: halves them and prints the peak of each channel, without a plug-in.

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/AudioLevels.h"

#include <cstdint>
#include <cstdio>
#include <vector>

int main() {
    std::vector<std::int16_t> samples{16384, -8192, 8192, -16384}; // left, right, left, right
    Tarsel::Proc::AudioRef const ref{2,
                                     {Tarsel::Conf::SampleFormats::S16, 48000, {0, 2}},
                                     reinterpret_cast<std::uint8_t*>(samples.data()),
                                     static_cast<std::int32_t>(sizeof samples[0] * samples.size())};
    Tarsel::Proc::VolumizeAudio(ref, ref, 0.5);
    std::vector<Tarsel::Proc::LevelSums> channels(2);
    Tarsel::Proc::AddLevels(ref, 0, ref.sampleCount, channels);
    std::printf("%.2f %.2f\n", channels[0].highest, -channels[1].lowest);
    return samples[0] == 8192 && samples[3] == -8192 ? 0 : 1;
}
