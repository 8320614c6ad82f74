#pragma once

#include "Host/VideoChain.h"

namespace Tarsel::Tools {

class FFmpegLog;

/// A chain of effects whose failures mark FFmpeg's log on the thread where they arise.
class LoggedLane final : public Proc::IEffectStreamVideo {
public:
    /// The log has to live longer.
    explicit LoggedLane(FFmpegLog& log);

    /// See Host::VideoChain.
    void Append(SP<Proc::IOneInputEffectVideo> const& effect) { m_chain.Append(effect); }

    void Feed(SP<Proc::IDataVideo> const& frame) override;
    SP<Proc::IDataVideo> Take() override;
    void End() override;

private:
    FFmpegLog& m_log;
    Host::VideoChain m_chain;
};

} // namespace Tarsel::Tools
