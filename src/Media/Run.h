#pragma once

#include "Conf/PixFmt.h"
#include "Core/Ratio.h"
#include "Media/Api.h"
#include "Media/FrameFacts.h"
#include "Media/Input.h"
#include "Media/Parts.h"
#include "Media/Progress.h"
#include "Media/RunPlan.h"
#include "Media/RunTimes.h"
#include "Media/StreamChoice.h"
#include "Media/StreamInfo.h"
#include "Media/TimeRange.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarsel::Media {

/// How much of pictures and audio encoders may lose, from small files to none at all.
enum class Quality : std::uint8_t { Low, Medium, High, VisuallyLossless, Lossless };
constexpr Quality s_everyQuality[] = {Quality::Low, Quality::Medium, Quality::High, Quality::VisuallyLossless,
                                      Quality::Lossless};
/// Where none is asked for.
constexpr Quality s_usualQuality = Quality::VisuallyLossless;
/// "visually-lossless". Any thread.
TARSEL_MEDIA_API std::string_view GetQualityName(Quality quality) noexcept;

/// What becomes of frames that are not of the first one's size and pixel format.
enum class OnResize : std::uint8_t { Scale, Fail };

struct RunOptions {
    /// Either may be a sequence of images, "shots/%04d.png", where no file has that very name: "%d" stands
    /// for numbers, "%04d" for such of at least four digits. An input starts with the least number that there
    /// is and has no gaps; an output is one by its extension only.
    Input input;
    /// "-" is standard output; a FIFO, socket or character device ("/dev/stdout") is a pipe too. A pipe is
    /// written from front to end, also where the run fails later on. A program that writes into pipes ignores
    /// SIGPIPE.
    std::filesystem::path output;
    /// The container, by an extension ("mkv") or FFmpeg's name of the writer ("matroska"); empty: by the
    /// extension of the output.
    std::string container;
    /// Images a second of an input that is a sequence; 0/1: 25, with a note.
    Ratio imageRate{};
    /// Of an output that is a sequence; the first image has it.
    std::int64_t firstNumber = 1;
    /// An existing output may be replaced; what goes into a pipe never is.
    bool overwrite = false;
    /// FFmpeg's encoder name; empty, and without options: one for the codec that the pictures had, where
    /// films are made of it and the container takes it; else the usual one of the container.
    std::string videoEncoder;
    /// Options of the encoder, key and value, in FFmpeg's words ("crf", "18").
    std::vector<std::pair<std::string, std::string>> videoEncoderOptions;
    /// The same for audio ("b", "192k"), all streams of which are re-encoded then. With neither, audio that
    /// is worked on is encoded in the codec it had where the container takes that, so without loss where it
    /// was; elsewhere by the container's usual encoder, at a quality that loses nothing to the ear.
    std::string audioEncoder;
    std::vector<std::pair<std::string, std::string>> audioEncoderOptions;
    /// Of what is re-encoded, where the options do not tell it: pictures are re-encoded when it is given.
    /// Of the pictures, or of the audio where the output holds nothing else; other streams are encoded with
    /// it where they are encoded at all, covers never. Nothing: s_usualQuality.
    std::optional<Quality> quality;
    /// The chain's pictures have a format that was asked for: they are written in it, or what the encoder has
    /// next to it. Otherwise RGB that came of YUV becomes YUV again where the encoder wants that.
    bool keepsEffectFormat = false;
    /// Of the input; other streams are left out without a word, and those are numbered on as in the file.
    StreamSelection streams;
    /// Streams that work on audio is meant for: OptionsException for one that there is not.
    std::vector<StreamChoice> audioWork;
    /// The part of the input; the output begins at time 0 with it. Streams are cut alike: subtitles and
    /// chapters to the part that lies in the range. Effects get the frames and samples of the range alone,
    /// the same as if all before had been read. A stream is copied where the cuts leave its packets whole,
    /// else re-encoded, with a note. With an image, or `at`: OptionsException.
    TimeRange range;
    /// Writes this part of the video alone, with the times that it has in the whole; what is said of other
    /// streams counts where the parts are joined. A part without frames becomes an empty file, with a note.
    /// OptionsException with a range, with `at`, for containers that do not hold parts, and where the video
    /// would be copied.
    std::optional<Part> part;
    /// All parts of the input's video, in their order: their packets follow one another in the output, and
    /// nothing else becomes of the video. InputException where they do not fit together.
    std::vector<EncodedPart> parts;
    /// Of the input's video; effects get frames of one size. Scaling is told in a note, failing is an
    /// InputException.
    OnResize onResize = OnResize::Scale;
    /// For a still picture out of a film: the time of the frame to take, in seconds.
    std::optional<double> at;
    /// Work on pictures, and on audio: empty where none is wanted, and streams are copied where that can be.
    /// With a maker, or options for encoding, input and output have to be of that kind: InputException "...
    /// has no pictures", "... has no audio", OptionsException "... holds no audio".
    MakeVideoEffects makeVideoEffects;
    MakeAudioEffects makeAudioEffects;
    /// With the maker set: it is not called where there is nothing for it, and that is no error.
    bool mayLackVideo = false;
    bool mayLackAudio = false;
    /// Called about ten times a second on the thread that calls Run; may be empty.
    std::function<void(RunProgress const&)> onProgress;
    /// Hears of all that goes to encoders; may be empty.
    TellFrameFacts onFrame;
};

struct RunResult {
    std::int64_t framesIn = 0;
    std::int64_t framesOut = 0;
    double seconds = 0;
    /// Of audio that was written; where there are several streams, of the longest.
    double audioSeconds = 0;
    /// Of the output.
    std::int64_t bytes = 0;
    /// What became of each stream.
    RunPlan plan;
    /// What the user should know, one sentence each: the plan's notes, then what came up.
    std::vector<std::string> notes;
    /// Empty when the picture stream was copied, and where there is none.
    std::string videoEncoder;
    /// Where a part was asked for.
    std::optional<PartFacts> part;
    /// One for each audio stream of the input that is wanted; empty for those that were copied or left out.
    std::vector<std::string> audioEncoders;
    RunTimes times;
};

/// Pixel formats that the encoder of the output's pictures takes; empty: any, or there is no such encoder.
/// Throws as CheckRun, but whether input and output exist is not looked at. Any thread.
TARSEL_MEDIA_API std::vector<Conf::PixFmt> FindVideoFormats(RunOptions const& options);

/// Whether the encoder of the output's pictures keeps a color of their palettes clear. Throws as
/// FindVideoFormats. Any thread.
TARSEL_MEDIA_API bool KeepsClearColors(RunOptions const& options);

/// What Run would refuse before it opens the input: paths, container, encoder and its options. For programs
/// that have long work to do before. OptionsException, InputException, OutputException.
TARSEL_MEDIA_API void CheckRun(RunOptions const& options);

/// What Run would do with these options, without a word to `onProgress` and `onFrame`: opens the input,
/// calls the makers, and passes frames through the video's chain until the first comes out. Nothing is
/// written. Throws as Run does up to there. Blocks; any thread.
TARSEL_MEDIA_API RunPlan Plan(RunOptions const& options, std::stop_token stop = {});

/// Reads the input, passes its picture and its audio through their chains, writes the output: every other
/// stream (subtitles, attachments, data), chapters, metadata and dispositions are copied. Audio keeps its
/// place beside the pictures to the sample, as far as the container can say it. Audio that the container
/// cannot hold as it is is re-encoded, with a note. Into a container for audio (wav, mp3, m4a, ...) films
/// go without their pictures, with a note; covers are kept where it takes them. The output appears under its
/// name only when it is complete; after any failure nothing is left behind, but for what a pipe has passed
/// on and for whole images of a sequence. Memory does not grow with the length of the film, whatever the
/// chains hold back. InputException, OutputException, ClosedPipeException, OptionsException,
/// InterruptedException; exceptions of the chains pass unchanged. Blocks until done; several runs may go on
/// at once. Reading, picture chain and writing have a thread each, and decoder and encoder of pictures up to
/// Core::ThreadBudget::Get() threads; each audio stream that is re-encoded has one more. With a budget of 1
/// the calling thread does it all. Each chain is called by one thread at a time: that of the video by the
/// calling thread until its first result.
TARSEL_MEDIA_API RunResult Run(RunOptions const& options, std::stop_token stop = {});

/// Whether the name stands for numbered images that are read as a video, or written for one: see RunOptions.
/// Any thread.
TARSEL_MEDIA_API bool IsSequence(std::filesystem::path const& name);

/// What a file holds.
enum class OutputKind : std::uint8_t { Video, Image, Audio };
/// By the name's extension. OptionsException for files that no run writes. Any thread.
TARSEL_MEDIA_API OutputKind FindOutputKind(std::filesystem::path const& output);

/// The extensions of files that runs write, "mp4", in alphabetical order. Any thread.
TARSEL_MEDIA_API std::vector<std::string> ListExtensions();

/// FFmpeg's names of the encoders that runs take, for audio or for video. Any thread.
TARSEL_MEDIA_API std::vector<std::string> ListEncoders(bool isAudio);

} // namespace Tarsel::Media
