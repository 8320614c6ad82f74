#include "Proc/Effects/Lumenta/Graph/SoundStream.h"

#include <iterator>
#include <utility>

namespace Tarsel::Proc {

SoundStream::SoundStream(bool counted, BlockHook hook) : m_counted(counted), m_hook(std::move(hook)) {}

void SoundStream::Feed(SP<EffectFFMPEGAudio> const& graph, SP<IDataAudio> const& data) {
    graph->Feed(data);
    if (!m_running.graph)
        m_running = {graph, SampleTimes(data->GetSampleInfo().rate)};
    if (m_counted)
        m_running.times.Push(data->GetTime(), data->GetSampleCount());
    while (SP<IDataAudio> out = Pull(m_running))
        m_waiting.emplace_back(std::move(out));
}

void SoundStream::Pass(SP<IDataAudio> const& data) {
    m_waiting.emplace_back(data);
}

void SoundStream::End() {
    if (!m_running.graph)
        return;
    Run ended = std::exchange(m_running, {nullptr, SampleTimes(1)});
    if (ended.graph->HasFailed())
        return;
    ended.graph->End();
    m_waiting.emplace_back(std::move(ended));
}

void SoundStream::Settle() {
    decltype(m_waiting) finished;
    auto const putBack = [&] {
        m_waiting.insert(m_waiting.begin(), std::move_iterator(finished.begin()),
                         std::move_iterator(finished.end()));
    };
    try {
        while (SP<IDataAudio> data = Take())
            finished.emplace_back(std::move(data));
    } catch (...) {
        putBack();
        throw;
    }
    putBack();
}

SP<IDataAudio> SoundStream::Take() {
    while (!m_waiting.empty()) {
        SP<IDataAudio> data;
        if (auto* const run = std::get_if<Run>(&m_waiting.front())) {
            data = run->graph->HasFailed() ? nullptr : Pull(*run);
            if (data)
                return data;
        } else {
            data = std::get<SP<IDataAudio>>(std::move(m_waiting.front()));
        }
        m_waiting.pop_front();
        if (data)
            return data;
    }
    return nullptr;
}

void SoundStream::Clear() noexcept {
    m_running.graph = nullptr;
    m_waiting.clear();
}

SP<IDataAudio> SoundStream::Pull(Run& run) {
    SP<IDataAudio> data = run.graph->Take();
    if (!data)
        return nullptr;
    if (m_counted)
        data->SetTime(run.times.Pop(data->GetSampleCount()));
    m_hook(data);
    return data;
}

} // namespace Tarsel::Proc
