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

#include <filesystem>
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
    /// Has the function hear how far each pass is, the first being 0.
    using ShowPass = std::function<void(Media::RunProgress const&, int pass, int passes)>;
    void ReportTo(ShowPass const& show);
    /// Whether a step writes a file beside the output.
    bool WritesMotion() const;
    std::vector<VideoStep> const& GetPictureSteps() const noexcept { return m_pictureSteps; }
    /// Files beside the input that steps read.
    std::vector<std::filesystem::path> GetReferences() const { return m_references.GetPaths(); }
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
    Share m_share;
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
