#include "Media/Run/OpenedInput.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Container/StreamSelector.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/CutObstacle.h"
#include "Media/Read/SpanFinder.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

extern "C" {
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

/// What is wanted of the input has to be in it.
void CheckKinds(CheckedOptions const& checked, Demuxer const& demuxer) {
    auto const fail = [&](char const* kind) {
        Core::Throw<InputException>(fmt::format("{} has no {}", Quote(checked.options.input), kind));
    };
    Container const& container = checked.container;
    bool const hasAudio = demuxer.GetAudioIndex() >= 0;
    if (!demuxer.HasVideo() && (checked.NeedsVideo() || container.isStill))
        fail("video");
    if (container.isAudio && demuxer.HasVideo() && !demuxer.IsCover() && checked.NeedsVideo())
        ThrowHoldsNoVideo(checked);
    if (!hasAudio && (checked.NeedsAudio() || (container.isAudio && !demuxer.IsCover())))
        fail("audio");
}

/// A still picture out of a film wants to be told which.
void SelectStill(CheckedOptions const& checked, VideoSource& source) {
    RunOptions const& options = checked.options;
    if (!checked.container.isStill)
        return;
    Demuxer const& input = source.GetDemuxer();
    if (input.IsStill()) {
        if (options.at)
            Core::Throw<OptionsException>(Quote(options.input) + " is an image", TagSurplusOption("at"));
        return;
    }
    if (options.at)
        source.SelectFrame(std::llround(*options.at * 1e6));
    else if (input.GetVideo().nb_frames != 1)
        Core::Throw<OptionsException>(fmt::format("{} is an image: choose a frame of {} by its time",
                                                  Quote(options.output), Quote(options.input)),
                                      TagMissingOption("at SECONDS"));
}

} // namespace

OpenedInput OpenInput(CheckedOptions const& checked, std::stop_token stop) {
    OpenedInput input;
    input.demuxer = std::make_unique<Demuxer>(checked.options.input, stop);
    Choose(checked.options.streams, *input.demuxer);
    CheckAudioChoices(checked.options.audioWork, checked.options.streams, *input.demuxer);
    CheckKinds(checked, *input.demuxer);
    Span const span = FindSpan(checked.options.range, *input.demuxer, stop);
    input.streams = DescribeStreams(*input.demuxer, span, checked.options.streams);
    bool const goesWithoutVideo = checked.container.isAudio && !input.demuxer->IsCover();
    if (!input.demuxer->HasVideo() || goesWithoutVideo)
        return input;
    try {
        if (!input.demuxer->IsCover())
            input.cutObstacle = DescribeCutObstacle(*input.demuxer, span);
        input.source = std::make_unique<VideoSource>(std::move(input.demuxer), stop, span);
        if (!checked.container.isStill)
            input.source->FitFrames(checked.options.onResize == OnResize::Scale);
        SelectStill(checked, *input.source);
        input.video = input.source->GetInfo();
        if (checked.container.isStill)
            input.facts = input.source->ListFacts();
    } catch (InputException const&) {
        input.failure = std::current_exception();
        input.source.reset();
        input.demuxer = std::make_unique<Demuxer>(checked.options.input, stop);
        Choose(checked.options.streams, *input.demuxer);
    }
    return input;
}

} // namespace Tarsel::Media
