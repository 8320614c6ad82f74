#include "Conf/FormatCodecAudio.h"

namespace Tarsel::Conf {

FormatCodecAudio::FormatCodecAudio(SampleInfo const& info) : m_info(info) {}

SampleInfo FormatCodecAudio::GetSampleInfo() const {
    return m_info;
}

void FormatCodecAudio::SetSampleInfo(SampleInfo const& info) {
    m_info = info;
}

SampleFormats FormatCodecAudio::GetSampleFormat() const {
    return m_info.format;
}

void FormatCodecAudio::SetSampleFormat(SampleFormats format) {
    m_info.format = format;
}

void FormatCodecAudio::SetChannelLayout(ChannelLayout const& layout) {
    m_info.layout = layout;
}

} // namespace Tarsel::Conf
