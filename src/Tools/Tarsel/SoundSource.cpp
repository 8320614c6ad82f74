#include "Tools/Tarsel/SoundSource.h"

#include "Proc/Data/DataAudioFF.h"

#include <algorithm>
#include <optional>
#include <utility>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Tools {

SoundSource::SoundSource(Next next, Conf::SampleInfo const& format)
    : m_next(std::move(next)), m_format(format) {}

SP<Proc::IDataAudio> SoundSource::Take(int count) {
    FillUpTo(count);
    int const length = static_cast<int>(std::min<std::int64_t>(count, m_waiting));
    if (length == 0)
        return nullptr;
    auto const piece = Proc::DataAudioFF::CreateBySampleCount(m_format, length);
    piece->SetTime(AV_NOPTS_VALUE);
    AVFrame& to = *piece->GetAVFrame();
    for (int filled = 0; filled < length;) {
        AVFrame const& from = *m_frames.front();
        int const part = std::min(length - filled, from.nb_samples - m_gone);
        av_samples_copy(to.extended_data, from.extended_data, filled, m_gone, part, to.ch_layout.nb_channels,
                        static_cast<AVSampleFormat>(to.format));
        filled += part;
        m_gone += part;
        if (m_gone == from.nb_samples) {
            m_frames.pop_front();
            m_gone = 0;
        }
    }
    m_waiting -= length;
    m_taken += length;
    return piece;
}

void SoundSource::FillUpTo(int count) {
    while (m_waiting < count && !m_ended) {
        SP<Proc::IDataAudio> const block = m_next();
        m_ended = block == nullptr;
        Add(block);
    }
}

/// Null: the end.
void SoundSource::Add(SP<Proc::IDataAudio> const& block) {
    std::optional<Proc::SafeFrame> frame;
    if (block && block->GetSampleInfo() == m_format) {
        frame = Proc::SafeFrame::Reference(*block->GetAVFrame());
    } else if (block) {
        if (!m_converter)
            m_converter = Proc::SafeSwrContext({block->GetSampleInfo(), m_format});
        frame = m_converter.Convert(*block->GetAVFrame());
    } else if (m_converter) {
        frame = m_converter.Flush();
    }
    if (!frame || (*frame)->nb_samples == 0)
        return;
    m_waiting += (*frame)->nb_samples;
    m_frames.push_back(std::move(*frame));
}

} // namespace Tarsel::Tools
