#pragma once

#include "Media/Container/InputStreams.h"
#include "Media/Read/PartFinder.h"
#include "Media/Read/VideoSource.h"
#include "Media/Run/CheckedOptions.h"
#include "Media/Run/PartJoiner.h"

#include <exception>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace Tarsel::Media {

/// An input that was opened and looked into: what a plan is made from.
struct OpenedInput {
    /// Reads from the start on; null while `source` has it.
    std::unique_ptr<Demuxer> demuxer;
    /// The pictures, the first of which is decoded; null where there are none, or `failure`.
    std::unique_ptr<VideoSource> source;
    /// Why pictures that are there cannot be decoded.
    std::exception_ptr failure;
    InputStreams streams;
    /// Of the source; without its copyObstacle.
    VideoStreamInfo video;
    /// Why the packets of the video cannot be copied to the range alone; "" when they can.
    std::string cutObstacle;
    /// Where a part is wanted. Of one without frames `source` is the whole.
    std::optional<PartSpan> part;
    /// The video, where it was encoded in parts.
    std::unique_ptr<PartJoiner> parts;
    /// Of what becomes an image.
    ImageFacts facts;

    Demuxer const& GetDemuxer() const noexcept { return source ? source->GetDemuxer() : *demuxer; }
};

/// Opens the input. What the options need has to be in it, a still picture out of a film and the range too.
/// InputException, OptionsException; Stopped.
OpenedInput OpenInput(CheckedOptions const& checked, std::stop_token stop);

} // namespace Tarsel::Media
