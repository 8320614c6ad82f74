#include "Media/Run/VideoWork.h"

#include <utility>

namespace Tarsel::Media {

VideoWork::VideoWork(std::unique_ptr<Proc::IEffectStreamVideo> chain, Ratio inputTimeBase)
    : m_chain(std::move(chain)), m_times(inputTimeBase) {}

WorkedFrame const* VideoWork::Prime(VideoSource& source, std::function<void()> const& onWait) {
    while (!(m_first = Take()) && !m_ended) {
        onWait();
        if (auto const frame = source.Next())
            Feed(*frame);
        else
            End();
    }
    return m_first ? &*m_first : nullptr;
}

void VideoWork::Feed(SourceFrame const& frame) {
    m_times.Enter(frame.data->GetTime(), frame.data->GetDuration(), frame.time);
    m_chain->Feed(frame.data);
}

void VideoWork::End() {
    // Effects start afresh after their last result.
    if (!std::exchange(m_ended, true))
        m_chain->End();
}

std::optional<WorkedFrame> VideoWork::Take() {
    if (m_first)
        return std::exchange(m_first, std::nullopt);
    SP<Proc::IDataVideo> data = m_chain->Take();
    if (data == nullptr)
        return std::nullopt;
    FrameTime const time = m_times.Leave(data->GetTime(), data->GetDuration());
    return WorkedFrame{std::move(data), time};
}

} // namespace Tarsel::Media
