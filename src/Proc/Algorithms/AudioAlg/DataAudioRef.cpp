#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

int CountPlanes(IDataAudio const& data) {
    Conf::SampleInfo const info = data.GetSampleInfo();
    return Conf::SampleFmtRecord::Find(info.format).planar ? info.layout.channels : 1;
}

AudioRef GetPlaneRef(IDataAudio const& data, int plane) {
    Conf::SampleInfo info = data.GetSampleInfo();
    Conf::SampleFmtRecord const& format = Conf::SampleFmtRecord::Find(info.format);
    if (format.planar)
        info.layout = {0, 1};
    auto const count = static_cast<std::uint64_t>(std::max<std::int64_t>(data.GetSampleCount(), 0));
    std::uint64_t const sampleBytes = std::uint64_t{format.size} * info.layout.channels;
    constexpr std::uint64_t largest = std::numeric_limits<std::int32_t>::max();
    if (sampleBytes != 0 && count > largest / sampleBytes)
        Core::Throw<EffectException>(
            fmt::format("A block of audio has {} samples of {} bytes; the most is {} bytes", count,
                        sampleBytes, largest));
    return {count, info, data.GetAVFrame()->extended_data[plane],
            static_cast<std::int32_t>(count * sampleBytes)};
}

} // namespace Tarsel::Proc
