#pragma once

#include "Host/AudioChain.h"
#include "Host/VideoChain.h"

#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {

class FFmpegLog;

/// A chain of effects whose failures mark FFmpeg's log on the thread where they arise. `Chain` is
/// Host::VideoChain or Host::AudioChain.
template <class Chain>
class LoggedLane final : public Proc::IEffectStream<typename Chain::Data> {
public:
    using Data = typename Chain::Data;

    /// Both have to live longer. At the end of the stream what the chain notes is added to `notes`.
    LoggedLane(FFmpegLog& log, std::vector<std::string>& notes) : m_log(log), m_notes(notes) {}

    /// See Host::EffectChain.
    void Append(SP<typename Chain::Effect> const& effect, std::string label = {}) {
        m_chain.Append(effect, std::move(label));
    }
    void UpdateFormatCodec(SP<typename Chain::Format>& format);

    void Feed(SP<Data> const& data) override;
    SP<Data> Take() override;
    void End() override;

private:
    void AddNotes();

    FFmpegLog& m_log;
    std::vector<std::string>& m_notes;
    bool m_hasEnded = false;
    Chain m_chain;
};

extern template class LoggedLane<Host::VideoChain>;
extern template class LoggedLane<Host::AudioChain>;

using LoggedPictureLane = LoggedLane<Host::VideoChain>;
using LoggedSoundLane = LoggedLane<Host::AudioChain>;

} // namespace Tarsel::Tools
