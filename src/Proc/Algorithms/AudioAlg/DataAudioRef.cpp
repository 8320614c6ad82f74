#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

/// Whether the planes follow one another at a distance of the line size.
bool AreJoined(AVFrame const& frame, int planes) {
    auto expected = reinterpret_cast<std::uintptr_t>(frame.extended_data[0]);
    for (int c = 1; c < planes; ++c) {
        expected += static_cast<std::uintptr_t>(frame.linesize[0]);
        if (reinterpret_cast<std::uintptr_t>(frame.extended_data[c]) != expected)
            return false;
    }
    return true;
}

} // namespace

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
            {"Proc/Algorithms/AudioAlg/DataAudioRef",
             "AudioRef Tarsel::Proc::GetPlaneRef(const IDataAudio &, int)"},
            fmt::format("A block of sound has {} samples of {} bytes; the most is {} bytes", count,
                        sampleBytes, largest));
    return {count, info, data.GetAVFrame()->extended_data[plane],
            static_cast<std::int32_t>(count * sampleBytes)};
}

JoinedAudio::JoinedAudio(IDataAudio const& data) : m_ref(GetPlaneRef(data, 0)) {
    m_ref.info = data.GetSampleInfo();
    int const planes = CountPlanes(data);
    AVFrame const& frame = *data.GetAVFrame();
    if (planes < 2 || AreJoined(frame, planes)) {
        m_ref.lineSize = planes < 2 ? m_ref.lineSize : frame.linesize[0];
        return;
    }
    auto const planeSize = static_cast<std::size_t>(m_ref.lineSize);
    m_copy.resize(planeSize * static_cast<std::size_t>(planes));
    m_ref.samples = m_copy.data();
    for (int c = 0; c < planes && planeSize != 0; ++c)
        std::memcpy(GetPlane(m_ref, static_cast<std::size_t>(c)), frame.extended_data[c], planeSize);
}

} // namespace Tarsel::Proc
