#include "Proc/Effects/Lumenta/Graph/SampleTimes.h"

#include "Conf/AudioTime.h"

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/common.h>
}

namespace Tarsel::Proc {

void SampleTimes::Push(std::int64_t time, std::int64_t samples) {
    m_blocks.push_back({time, samples});
}

std::int64_t SampleTimes::Pop(std::int64_t samples) {
    while (m_blocks.size() > 1 && m_taken >= m_blocks.front().samples) {
        m_taken -= m_blocks.front().samples;
        m_blocks.pop_front();
    }
    std::int64_t const taken = m_taken;
    m_taken += samples;
    if (m_blocks.empty() || m_blocks.front().time == AV_NOPTS_VALUE)
        return AV_NOPTS_VALUE;
    return av_sat_add64(m_blocks.front().time, Conf::GetDuration(m_rate, taken));
}

} // namespace Tarsel::Proc
