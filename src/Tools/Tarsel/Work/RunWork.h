#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Arguments/RunArguments.h"
#include "Tools/Tarsel/Chain/ChainMaker.h"
#include "Tools/Tarsel/Chain/Normalizer.h"
#include "Tools/Tarsel/Chain/References.h"
#include "Tools/Tarsel/Chain/Steps.h"
#include "Tools/Tarsel/Work/Context.h"
#include "Tools/Tarsel/Work/MediaWork.h"
#include "Tools/Tarsel/Work/TimeReport.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Hears of the steps that are to work on a stream, before they do.
struct StepListener {
    std::function<void(Media::VideoStreamInfo const&, std::vector<VideoStep> const&)> onVideo;
    std::function<void(Media::AudioStreamInfo const&, std::vector<AudioStep> const&)> onAudio;
};

/// What the user of "run" wants done, as options of a run. One run; one thread at a time.
class RunWork {
public:
    /// Everything that can be wrong with the arguments alone throws here, before any file is opened. The
    /// context has to live longer. With a listener nothing is to be run: steps that write files are told, and
    /// left out of the chain.
    RunWork(RunArguments const& arguments, Context const& context, StepListener listener = {});
    RunWork(RunWork const&) = delete;
    RunWork& operator=(RunWork const&) = delete;

    /// They call this object.
    Media::RunOptions const& GetOptions() const noexcept { return m_options; }
    void ReportTo(MediaWork& media);
    /// Once the run, or its planning, is over.
    std::vector<std::string> GetNotes() const;
    TimeReport MakeTimeReport(Media::RunResult const& result) const;

private:
    ChainMaker& GetMaker();
    void CheckFiles(MediaArguments const& media) const;
    std::unique_ptr<Proc::IEffectStreamVideo> MakeChain(Media::VideoStreamInfo const& stream);
    Media::AudioEffects MakeAudio(Media::AudioStreamInfo const& stream);

    Context const& m_context;
    StepListener m_listener;
    Media::RunOptions m_options;
    /// Only where there is something to do: copying takes no plug-in.
    std::optional<ChainMaker> m_maker;
    References m_references;
    /// Whether the options alone want the picture encoded. Otherwise it is copied as it is where that can be,
    /// unless a step does something.
    bool m_encodesPicture = false;
    bool m_makesPalettes = false;
    std::vector<VideoStep> m_pictureSteps;
    std::vector<AskedStep> m_audioSteps;
    std::optional<Normalizer> m_normalizer;
};

} // namespace Tarsel::Tools
