#include "Host/Chain/ChainStep.h"

#include "Core/Stopwatch.h"
#include "Core/Throw.h"
#include "Host/AudioChain.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Tarsel::Host {
namespace {

/// Data for each one fed, at the end of a stream, from which on an effect is taken for one that answers for
/// ever.
constexpr std::size_t s_mostHeldBack = 64;

} // namespace

template <class Medium>
ChainStep<Medium>::ChainStep(SP<Effect> effect, std::string label)
    : m_effect(std::move(effect)),
      m_stream(dynamic_cast<Proc::IEffectStream<Data>*>(m_effect.get())), m_time{.label = std::move(label)} {}

template <class Medium>
void ChainStep<Medium>::AddStatistics(std::vector<Core::Property>& statistics) const {
    statistics.push_back(Labeled([&] { return m_effect->GetStatistic(); }));
}

template <class Medium>
void ChainStep<Medium>::Blame(std::string const& text) const {
    Labeled([&] { ThrowMisbehavior(text); });
    __builtin_unreachable();
}

template <class Medium>
void ChainStep<Medium>::Mark(boost::exception const& exception) const noexcept {
    try {
        exception << TagStep(GetLabel());
    } catch (...) {
        // Without memory the failure goes on unlabeled.
    }
    FFmpegMessages::AddTo(exception);
}

template <class Medium>
void ChainStep<Medium>::ThrowMisbehavior(std::string const& text) {
    Core::Throw<Proc::EffectException>("The effect breaks its contract: " + text);
}

template <class Medium>
void ChainStep<Medium>::FeedEffect(SP<Data> const& data) {
    Core::Stopwatch const watch(m_time.work);
    ++m_time.count;
    if (m_stream != nullptr) {
        m_stream->Feed(data);
        return;
    }
    if (m_isEnding) { // what is left of a stream that failed on its way out
        m_isEnding = false;
        m_effect->Reset();
        m_fed = 0;
    }
    SP<Data> result = data;
    ++m_fed;
    m_effect->Process(result);
    m_given = std::move(result);
}

template <class Medium>
auto ChainStep<Medium>::TakeFromEffect() -> SP<Data> {
    Core::Stopwatch const watch(m_time.work);
    if (m_stream != nullptr)
        return m_stream->Take();
    if (!m_isEnding)
        return std::move(m_given);
    SP<Data> result;
    m_isEnding = false; // also after a failure
    m_effect->Process(result);
    if (result && ++m_takenAtEnd > s_mostHeldBack * m_fed)
        ThrowMisbehavior(fmt::format(
            "after {} {}s it was asked {} times for what it still holds, and returned a {} each time", m_fed,
            Medium::s_datum, m_takenAtEnd, Medium::s_datum));
    m_isEnding = result != nullptr;
    if (!result) {
        m_effect->Reset();
        m_fed = 0;
    }
    return result;
}

template <class Medium>
void ChainStep<Medium>::EndEffect() {
    Core::Stopwatch const watch(m_time.work);
    if (m_stream != nullptr) {
        m_stream->End();
        return;
    }
    m_isEnding = m_fed > 0;
    m_takenAtEnd = 0;
}

template <class Medium>
void ChainStep<Medium>::Note(std::string const& text) {
    if (std::ranges::find(m_notes, text) == m_notes.end())
        m_notes.push_back(text);
}

template class ChainStep<VideoMedium>;
template class ChainStep<AudioMedium>;

} // namespace Tarsel::Host
