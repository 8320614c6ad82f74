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
        Core::Throw<InputException>(
            fmt::format("{} has no {}", Quote(checked.options.input.GetName()), kind));
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
    if (!checked.IsOneImage())
        return;
    Demuxer const& input = source.GetDemuxer();
    if (input.IsStill()) {
        if (options.at)
            Core::Throw<OptionsException>(Quote(options.input.GetName()) + " is an image",
                                          TagSurplusOption("at"));
        return;
    }
    if (options.at)
        source.SelectFrame(std::llround(*options.at * 1e6));
    else if (input.GetVideo().nb_frames != 1)
        Core::Throw<OptionsException>(fmt::format("{} is an image: choose a frame of {} by its time",
                                                  Quote(options.output), Quote(options.input.GetName())),
                                      TagMissingOption("at SECONDS"));
}

/// A part of the video holds nothing else.
void LeaveVideoAlone(InputStreams& streams) {
    for (unsigned i = 0; i < streams.context->nb_streams; ++i)
        if (static_cast<int>(i) != streams.video)
            streams.context->streams[i]->discard = AVDISCARD_ALL;
    CutDescription(*streams.context, {0, 0, true}); // no chapters
}

/// What the whole video begins with holds for all of its parts.
std::optional<VideoStreamInfo> FitToWhole(OpenedInput& input, std::stop_token stop) {
    if (!input.part || input.part->read.from == INT64_MIN)
        return std::nullopt;
    VideoSource whole(input.source->GetDemuxer().Reopen(), std::move(stop));
    VideoStreamInfo info = whole.GetInfo();
    input.source->FitTo(*whole.Next()->data->GetAVFrame());
    return info;
}

} // namespace

OpenedInput OpenInput(CheckedOptions const& checked, std::stop_token stop) {
    OpenedInput input;
    Input const file = ForOneCall(checked.options.input);
    input.demuxer = std::make_unique<Demuxer>(file, stop, checked.options.imageRate);
    Choose(checked.options.streams, *input.demuxer);
    CheckAudioChoices(checked.options.audioWork, checked.options.streams, *input.demuxer);
    CheckKinds(checked, *input.demuxer);
    Span const span = FindSpan(checked.options.range, *input.demuxer, stop);
    input.streams = DescribeStreams(*input.demuxer, span, checked.options.streams);
    if (!checked.options.parts.empty())
        input.parts = std::make_unique<PartJoiner>(checked.options.parts, stop);
    if (checked.options.part) {
        input.part = FindPart(*checked.options.part, *input.demuxer, stop);
        LeaveVideoAlone(input.streams);
    }
    bool const goesWithoutVideo = checked.container.isAudio && !input.demuxer->IsCover();
    if (!input.demuxer->HasVideo() || goesWithoutVideo)
        return input;
    try {
        if (!input.demuxer->IsCover())
            input.cutObstacle = DescribeCutObstacle(*input.demuxer, span);
        input.source = std::make_unique<VideoSource>(std::move(input.demuxer), stop,
                                                     input.part ? input.part->read : span);
        if (!checked.IsOneImage())
            input.source->FitFrames(checked.options.onResize == OnResize::Scale);
        SelectStill(checked, *input.source);
        auto const whole = FitToWhole(input, stop);
        input.video = input.source->GetInfo();
        if (whole)
            input.video = *whole;
        if (checked.container.isStill)
            input.facts = input.source->ListFacts();
    } catch (InputException const&) {
        input.failure = std::current_exception();
        input.source.reset();
        input.demuxer = std::make_unique<Demuxer>(file, stop, checked.options.imageRate);
        Choose(checked.options.streams, *input.demuxer);
    }
    return input;
}

} // namespace Tarsel::Media
