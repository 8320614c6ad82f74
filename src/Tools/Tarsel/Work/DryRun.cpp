#include "Tools/Tarsel/Work/DryRun.h"

#include "Tools/Tarsel/Chain/FrameText.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Work/RunWork.h"

#include <optional>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// The index of the stream that the video's steps, or those of the audio stream of the number, work on.
std::size_t FindWorked(Media::RunPlan const& plan, std::optional<int> audio) {
    std::size_t i = 0;
    for (; i + 1 < plan.streams.size(); ++i) {
        Media::StreamPlan const& stream = plan.streams[i];
        bool const isAudio = stream.kind == Media::StreamKind::Audio;
        bool const isMeant =
            audio ? isAudio && stream.number == *audio : !isAudio && stream.fate == Media::Fate::Encode;
        if (isMeant)
            break;
    }
    return i;
}

} // namespace

DryRun PlanRun(RunArguments const& arguments, Context const& context) {
    std::optional<Explanations> video;
    std::map<int, Explanations> audio;
    RunWork work(arguments, context,
                 {[&](Media::VideoStreamInfo const& stream, std::vector<VideoStep> const& steps) {
                      video = Explain(steps, MakeFormat(stream));
                  },
                  [&](Media::AudioStreamInfo const& stream, std::vector<AudioStep> const& steps) {
                      audio[stream.number] = Explain(steps, MakeFormat(stream));
                  }});
    DryRun dry{Media::Plan(work.GetOptions(), context.stop), {}, {}, {}};
    if (video)
        dry.steps[FindWorked(dry.plan, {})] = std::move(*video);
    for (auto& [number, steps] : audio)
        dry.steps[FindWorked(dry.plan, number)] = std::move(steps);
    for (std::vector<std::string> const& notes : {dry.plan.ListNotes(), work.GetNotes()})
        for (std::string const& note : notes)
            dry.notes.push_back(MakeSentence(note));
    dry.command = arguments.normalize.empty() ? MakeFFmpegCommand(work.GetOptions(), dry.plan, dry.steps)
                                              : FFmpegCommand{{}, "--normalize measures the audio first"};
    return dry;
}

} // namespace Tarsel::Tools
