#include "Media/Run/CheckedOptions.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Codec/AudioEncoderChoice.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Container/SequenceFiles.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/SpanFinder.h"

#include <fmt/format.h>

#include <utility>

extern "C" {
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

/// What is left out is not what the run is about.
void CheckSelection(CheckedOptions const& checked) {
    RunOptions const& options = checked.options;
    using By = StreamChoice::By;
    auto const refuse = [](std::string const& reason, char const* option) {
        Core::Throw<OptionsException>(reason, TagSurplusOption(option));
    };
    bool const hasVideo = options.streams.video.by != By::None;
    bool const hasAudio = options.streams.audio.by != By::None;
    if (!hasVideo && (checked.NeedsVideo() || checked.container.isStill))
        refuse("the video is to be worked on", "no-video");
    if (!hasAudio && checked.NeedsAudio())
        refuse("the audio is to be worked on", "no-audio");
    if (!hasAudio && (checked.container.isAudio || !hasVideo))
        refuse("neither video nor audio would be left", "no-audio");
}

/// An image is chosen by its time alone.
void CheckNoRange(RunOptions const& options) {
    for (auto const& [time, name] : {std::pair(options.range.from, "from"),
                                     {options.range.to, "to"},
                                     {options.range.duration, "duration"}})
        if (time)
            Core::Throw<OptionsException>(Quote(options.output) + " is an image", TagSurplusOption(name));
}

void CheckTime(CheckedOptions const& checked) {
    RunOptions const& options = checked.options;
    if (checked.IsOneImage())
        CheckNoRange(options);
    CheckRange(options.range);
    if (!options.at)
        return;
    auto const fail = [](std::string const& description) { Core::Throw<OptionsException>(description); };
    if (!checked.IsOneImage())
        Core::Throw<OptionsException>(fmt::format("{} is {}, not an image", Quote(options.output),
                                                  checked.sequence            ? "a sequence of images"
                                                  : checked.container.isAudio ? "an audio file"
                                                                              : "a video"),
                                      TagSurplusOption("at"));
    if (!(*options.at >= 0 && *options.at < 1e9))
        fail(fmt::format("Give a time from 0 to the end of the video, not {} s", *options.at));
}

void CheckPart(CheckedOptions const& checked) {
    RunOptions const& options = checked.options;
    if (!options.part && options.parts.empty())
        return;
    if (options.part && checked.container.isPiped)
        Core::Throw<OptionsException>("Write the part into a file: a pipe holds none");
    if (!GetTraits(*checked.container.format).holdsParts)
        Core::Throw<OptionsException>(fmt::format("Choose another container, such as .mkv or .mp4: {} files "
                                                  "hold no parts of a video",
                                                  options.output.extension().string()));
    for (auto const& [time, name] : {std::pair(options.range.from, "from"),
                                     {options.range.to, "to"},
                                     {options.range.duration, "duration"}})
        if (time)
            Core::Throw<OptionsException>("parts are those of the whole video", TagSurplusOption(name));
    if (options.part && (options.part->number < 1 || options.part->number > options.part->count))
        Core::Throw<OptionsException>(
            fmt::format("Give a part from 1 to {}, not {}", options.part->count, options.part->number));
}

AVCodec const* PlanVideoEncoder(CheckedOptions const& checked) {
    RunOptions const& options = checked.options;
    bool const hasUsual =
        checked.container.isStill || checked.container.format->video_codec != AV_CODEC_ID_NONE;
    if (!hasUsual && options.videoEncoder.empty()) {
        if (checked.NeedsVideo())
            ThrowHoldsNoVideo(checked);
        return nullptr;
    }
    AVCodec const& encoder = ChooseEncoder(checked.container, options.videoEncoder);
    // Another may yet be chosen for the input's codec.
    if (options.quality && !checked.MayKeepCodec() && !checked.container.isAudio)
        CheckQuality(encoder, *options.quality);
    CheckEncoderOptions(encoder, options.videoEncoderOptions, checked.GetQuality());
    return &encoder;
}

AVCodec const* PlanAudioEncoder(CheckedOptions const& checked) {
    RunOptions const& options = checked.options;
    if (!checked.NeedsAudio())
        return nullptr;
    if (!options.audioEncoder.empty()) {
        AVCodec const& encoder = ChooseNamedAudioEncoder(checked.container, options.audioEncoder);
        CheckEncoderOptions(encoder, options.audioEncoderOptions, checked.GetQuality());
        return &encoder;
    }
    AVCodec const* const usual = FindUsualAudioEncoder(checked.container, Conf::SampleFormats::S16, 16);
    if (usual == nullptr)
        Core::Throw<OptionsException>(fmt::format(
            "Cannot write {}: {} no audio", Quote(options.output),
            checked.container.isStill ? "an image holds"
                                      : checked.container.file.extension().string() + " files hold"));
    CheckEncoderOptions(*usual, options.audioEncoderOptions, checked.GetQuality());
    return nullptr;
}

} // namespace

Quality CheckedOptions::GetQuality() const noexcept {
    return options.quality.value_or(s_usualQuality);
}

bool CheckedOptions::MayKeepCodec() const noexcept {
    return options.videoEncoder.empty() && options.videoEncoderOptions.empty() && !container.isStill;
}

bool CheckedOptions::WantsVideoEncoder() const noexcept {
    return !options.videoEncoder.empty() || !options.videoEncoderOptions.empty() || options.at;
}

bool CheckedOptions::WantsAudioEncoder() const noexcept {
    return !options.audioEncoder.empty() || !options.audioEncoderOptions.empty();
}

bool CheckedOptions::AsksAudioQuality() const noexcept {
    return options.quality && container.isAudio;
}

bool CheckedOptions::NeedsVideo() const noexcept {
    return WantsVideoEncoder() || !options.parts.empty() ||
           (options.makeVideoEffects && !options.mayLackVideo);
}

bool CheckedOptions::NeedsAudio() const noexcept {
    return WantsAudioEncoder() || (options.makeAudioEffects && !options.mayLackAudio);
}

CheckedOptions CheckEncoders(RunOptions const& options) {
    CheckOutputPath(options.output, options.input.GetName(), true);
    CheckedOptions checked{options, ChooseContainer(options.output, options.container)};
    if (checked.container.isStill)
        checked.sequence = FindSequence(options.output);
    checked.videoEncoder = PlanVideoEncoder(checked);
    checked.audioEncoder = PlanAudioEncoder(checked);
    CheckTime(checked);
    CheckPart(checked);
    CheckSelection(checked);
    return checked;
}

CheckedOptions CheckOptions(RunOptions const& options) {
    CheckedOptions checked = CheckEncoders(options);
    // Last, so that whoever then asks for overwriting meets no other refusal.
    CheckInputPath(options.input.GetName());
    if (options.imageRate.numerator > 0 && !FindSequence(options.input.GetName()))
        Core::Throw<OptionsException>(Quote(options.input.GetName()) + " is not a sequence of images",
                                      TagSurplusOption("rate"));
    CheckOutputPath(options.output, options.input.GetName(), options.overwrite);
    if (checked.sequence)
        CheckSequenceFiles(*checked.sequence, options.firstNumber, options.input.GetName(),
                           options.overwrite);
    return checked;
}

void ThrowHoldsNoVideo(CheckedOptions const& checked) {
    Core::Throw<OptionsException>(fmt::format("Cannot write {}: {} files hold no video",
                                              Quote(checked.options.output),
                                              checked.container.file.extension().string()));
}

} // namespace Tarsel::Media
