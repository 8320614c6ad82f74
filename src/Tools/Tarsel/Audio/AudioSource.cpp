#include "Tools/Tarsel/Audio/AudioSource.h"

#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Proc/Data/DataAudioFF.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace Tarsel::Tools {

AudioSource::AudioSource(Next next, Conf::SampleInfo const& format)
    : m_next(std::move(next)), m_format(format) {}

std::int64_t AudioSource::GetReady() {
    while (!m_ended && (!m_block || m_gone == m_block->GetSampleCount())) {
        SP<Proc::IDataAudio> const block = m_next();
        m_ended = block == nullptr;
        m_block = Convert(block);
        m_gone = 0;
    }
    return m_block ? m_block->GetSampleCount() - m_gone : 0;
}

Proc::AudioRef AudioSource::Show(int plane, std::int64_t count) const {
    return Proc::GetPart(Proc::GetPlaneRef(*m_block, plane), static_cast<std::uint64_t>(m_gone),
                         static_cast<std::uint64_t>(count));
}

SP<Proc::IDataAudio> AudioSource::Take(std::int64_t most) {
    std::int64_t const count = std::min(GetReady(), most);
    if (count == 0)
        return nullptr;
    if (m_gone == 0 && count == m_block->GetSampleCount())
        return std::exchange(m_block, nullptr);
    auto const part = Proc::DataAudioFF::CreateBySampleCount(m_format, static_cast<int>(count));
    for (int plane = 0; plane < Proc::CountPlanes(*part); ++plane) {
        Proc::AudioRef const from = Show(plane, count);
        std::memcpy(Proc::GetPlaneRef(*part, plane).samples, from.samples,
                    static_cast<std::size_t>(from.lineSize));
    }
    Drop(count);
    return part;
}

/// Of null, the end, what the converter holds; null where there is nothing.
SP<Proc::IDataAudio> AudioSource::Convert(SP<Proc::IDataAudio> const& block) {
    if (block ? block->GetSampleInfo() == m_format : !m_converter)
        return block;
    if (!m_converter)
        m_converter = Proc::SafeSwrContext({block->GetSampleInfo(), m_format});
    auto frame = block ? m_converter.Convert(*block->GetAVFrame()) : m_converter.Flush();
    return frame ? MakeSP<Proc::DataAudioFF>(std::move(*frame)) : nullptr;
}

} // namespace Tarsel::Tools
