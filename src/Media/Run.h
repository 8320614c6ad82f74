#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/DisplayMatrix.h"
#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Core/Ratio.h"
#include "Media/Api.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Media {

/// The picture stream that is about to be worked on.
struct VideoStreamInfo {
    Conf::FrameInfo frame;
    Conf::PixFmt format = Conf::PixFmt::None;
    Conf::ColorSpace space;
    /// Nominal frames a second; 0/1 when unknown.
    Ratio frameRate;
    /// Seconds a tick of the stream's time stamps.
    Ratio timeBase;
    /// The stream's orientation tag; DisplayMatrix::s_default without one.
    Conf::DisplayMatrix orientation;
    /// FFmpeg's name of the codec.
    std::string codec;
    /// Why the stream cannot be copied as it is, "\"out.webm\" cannot hold h264"; "" when a null lane copies
    /// it.
    std::string copyObstacle;
};

/// Makes the work on the picture, once the stream is known. With a null result the picture stream is copied
/// untouched where that can be (VideoStreamInfo::copyObstacle is empty); elsewhere it is encoded anew, and
/// its orientation tag is lost, with a note: a lane that turns the pictures keeps them upright.
using MakeVideoLane = std::function<std::unique_ptr<Proc::IEffectStreamVideo>(VideoStreamInfo const&)>;

struct RunProgress {
    /// 0 to 1, by time; negative when the length is not known.
    double done = -1;
    std::int64_t frames = 0;
    double framesPerSecond = 0;
    /// Negative when not known.
    double secondsLeft = -1;
};

struct RunOptions {
    std::filesystem::path input;
    std::filesystem::path output;
    /// An existing output may be replaced.
    bool overwrite = false;
    /// FFmpeg's encoder name; empty: the usual one of the container.
    std::string videoEncoder;
    /// Private options of the encoder, key and value, in FFmpeg's words ("crf", "18").
    std::vector<std::pair<std::string, std::string>> videoEncoderOptions;
    /// For a still picture out of a film: the time of the frame to take, in seconds.
    std::optional<double> at;
    MakeVideoLane makeVideoLane;
    /// Called about ten times a second on the thread that calls Run; may be empty.
    std::function<void(RunProgress const&)> onProgress;
};

struct RunResult {
    std::int64_t framesIn = 0;
    std::int64_t framesOut = 0;
    double seconds = 0;
    /// What the user should know, one sentence each: streams the container could not take, conversions for
    /// the encoder.
    std::vector<std::string> notes;
    /// Empty when the picture stream was copied.
    std::string videoEncoder;
};

/// What Run would refuse before it opens the input: paths, container, encoder and its options. For programs
/// that have long work to do before. OptionsException, InputException, OutputException.
TARSEL_MEDIA_API void CheckRun(RunOptions const& options);

/// Reads the input, passes its picture through the lane, writes the output: every other stream (sound,
/// subtitles, attachments, data), chapters, metadata and dispositions are copied. The output appears under
/// its name only when it is complete; after any failure nothing is left behind. Memory does not grow with the
/// length of the film, whatever the lane holds back. InputException, OutputException, OptionsException,
/// InterruptedException; exceptions of the lane pass unchanged. Blocks until done; several runs may go on at
/// once. Reading, lane and writing have a thread each, and decoder and encoder up to
/// Core::ThreadBudget::Get() threads; with a budget of 1 the calling thread does it all. The lane is called
/// by one thread.
TARSEL_MEDIA_API RunResult Run(RunOptions const& options, std::stop_token stop = {});

} // namespace Tarsel::Media
