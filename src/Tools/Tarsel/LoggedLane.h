#pragma once

#include "Host/VideoChain.h"

#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {

class FFmpegLog;

/// A chain of effects whose failures mark FFmpeg's log on the thread where they arise.
class LoggedLane final : public Proc::IEffectStreamVideo {
public:
    /// Both have to live longer. At the end of the stream what the chain notes is added to `notes`.
    LoggedLane(FFmpegLog& log, std::vector<std::string>& notes);

    /// See Host::VideoChain.
    void Append(SP<Proc::IOneInputEffectVideo> const& effect, std::string label = {}) {
        m_chain.Append(effect, std::move(label));
    }

    void Feed(SP<Proc::IDataVideo> const& frame) override;
    SP<Proc::IDataVideo> Take() override;
    void End() override;

private:
    void AddNotes();

    FFmpegLog& m_log;
    std::vector<std::string>& m_notes;
    bool m_hasEnded = false;
    Host::VideoChain m_chain;
};

} // namespace Tarsel::Tools
