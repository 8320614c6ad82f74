#include "Proc/Algorithms/AudioAlg/AudioLevels.h"

#include "Core/Throw.h"
#include "Proc/Algorithms/AudioAlg/AddLevel.h"
#include "Proc/Algorithms/AudioAlg/SampleType.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Tarsel::Proc {
namespace {

constexpr char const* s_file = "Proc/Algorithms/AudioAlg/AudioLevels";

/// Every `channels`-th sample from `src` on.
template <std::size_t Size>
void TakeChannel(std::uint8_t* dst, std::uint8_t const* src, std::size_t count, std::size_t channels) {
    for (std::size_t i = 0; i < count; ++i)
        std::memcpy(dst + i * Size, src + i * channels * Size, Size);
}

/// Packed samples, brought channel by channel into a small buffer while they are in the cache.
void AddPackedLevels(SampleType type, std::size_t size, std::uint8_t const* samples, std::size_t count,
                     std::span<LevelSums> sums) {
    alignas(64) std::uint8_t buffer[4096];
    auto* const take = size == 1   ? TakeChannel<1>
                       : size == 2 ? TakeChannel<2>
                       : size == 4 ? TakeChannel<4>
                                   : TakeChannel<8>;
    std::size_t const channels = sums.size();
    std::size_t const most = sizeof buffer / size;
    for (std::size_t i = 0; i < count; i += most) {
        std::size_t const part = std::min(most, count - i);
        for (std::size_t c = 0; c < channels; ++c) {
            take(buffer, samples + (i * channels + c) * size, part, channels);
            AddLevel(type, buffer, part, sums[c]);
        }
    }
}

} // namespace

void AddLevels(AudioRef const& ref, std::size_t first, std::size_t count, std::span<LevelSums> sums) {
    SampleType const type = GetSampleType(
        ref, "AddLevels",
        {s_file,
         "void Tarsel::Proc::AddLevels(const AudioRef &, std::size_t, std::size_t, std::span<LevelSums>)"});
    std::size_t const size = GetSampleSize(ref);
    if (IsPlanar(ref))
        for (std::size_t c = 0; c < sums.size(); ++c)
            AddLevel(type, GetPlane(ref, c) + first * size, count, sums[c]);
    else if (sums.size() == 1)
        AddLevel(type, ref.samples + first * size, count, sums[0]);
    else
        AddPackedLevels(type, size, ref.samples + first * size * sums.size(), count, sums);
}

double FindPeak(AudioRef const& ref) {
    SampleType const type =
        GetSampleType(ref, "FindPeak", {s_file, "double Tarsel::Proc::FindPeak(const AudioRef &)"});
    std::size_t const channels = ref.info.layout.channels;
    std::size_t const planes = IsPlanar(ref) ? channels : 1;
    LevelSums sums;
    for (std::size_t c = 0; c < planes; ++c)
        AddRange(type, GetPlane(ref, c), ref.sampleCount * channels / planes, sums);
    return std::max(sums.highest, -sums.lowest);
}

} // namespace Tarsel::Proc
