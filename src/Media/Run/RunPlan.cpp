#include "Media/Run/RunPlan.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Codec/AudioEncoderChoice.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

extern "C" {
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

constexpr char const* s_file = "Media/Run/RunPlan";

void CheckTime(RunPlan const& plan) {
    RunOptions const& options = plan.options;
    if (!options.at)
        return;
    auto const fail = [](std::string const& description) {
        Core::Throw<OptionsException>({s_file, "void Tarsel::Media::CheckTime(const RunPlan &)"},
                                      description);
    };
    if (!plan.container.isStill)
        fail(fmt::format("A time ({} s) picks one picture, but {} is {}", *options.at, Quote(options.output),
                         plan.container.isAudio ? "sound" : "a film"));
    if (!(*options.at >= 0 && *options.at < 1e9))
        fail(fmt::format("{} s is no time in a film; legal: 0 to its end", *options.at));
}

AVCodec const* PlanVideoEncoder(RunPlan const& plan) {
    RunOptions const& options = plan.options;
    bool const hasUsual = plan.container.isStill || plan.container.format->video_codec != AV_CODEC_ID_NONE;
    if (!hasUsual && options.videoEncoder.empty()) {
        if (plan.NeedsVideo())
            ThrowHoldsNoVideo(plan);
        return nullptr;
    }
    AVCodec const& encoder = ChooseEncoder(plan.container, options.output, options.videoEncoder);
    // Another may yet be chosen for the input's codec.
    if (options.quality && !plan.MayKeepCodec())
        CheckQuality(encoder, *options.quality);
    CheckEncoderOptions(encoder, options.videoEncoderOptions, plan.GetQuality());
    return &encoder;
}

AVCodec const* PlanAudioEncoder(RunPlan const& plan) {
    RunOptions const& options = plan.options;
    if (!plan.NeedsAudio())
        return nullptr;
    if (!options.audioEncoder.empty()) {
        AVCodec const& encoder =
            ChooseNamedAudioEncoder(plan.container, options.output, options.audioEncoder);
        CheckEncoderOptions(encoder, options.audioEncoderOptions, plan.GetQuality());
        return &encoder;
    }
    AVCodec const* const usual =
        FindUsualAudioEncoder(plan.container, options.output, Conf::SampleFormats::S16, 16);
    if (usual == nullptr)
        Core::Throw<OptionsException>(
            {s_file, "const AVCodec *Tarsel::Media::PlanAudioEncoder(const RunPlan &)"},
            fmt::format("Cannot write {}: {} holds no sound", Quote(options.output),
                        plan.container.isStill ? std::string("a picture")
                                               : fmt::format("\"{}\"", plan.container.format->name)));
    CheckEncoderOptions(*usual, options.audioEncoderOptions, plan.GetQuality());
    return nullptr;
}

} // namespace

Quality RunPlan::GetQuality() const noexcept {
    return options.quality.value_or(Quality::VisuallyLossless);
}

bool RunPlan::MayKeepCodec() const noexcept {
    return options.videoEncoder.empty() && options.videoEncoderOptions.empty() && !container.isStill;
}

bool RunPlan::WantsVideoEncoder() const noexcept {
    return !options.videoEncoder.empty() || !options.videoEncoderOptions.empty() || options.at ||
           options.quality;
}

bool RunPlan::WantsAudioEncoder() const noexcept {
    return !options.audioEncoder.empty() || !options.audioEncoderOptions.empty();
}

bool RunPlan::NeedsVideo() const noexcept {
    return !options.videoEncoder.empty() || !options.videoEncoderOptions.empty() || options.at ||
           (options.makeVideoEffects && !options.mayLackVideo);
}

bool RunPlan::NeedsAudio() const noexcept {
    return WantsAudioEncoder() || (options.makeAudioEffects && !options.mayLackAudio);
}

RunPlan PlanEncoders(RunOptions const& options) {
    CheckOutputPath(options.output, options.input, true);
    RunPlan plan{options, ChooseContainer(options.output)};
    plan.videoEncoder = PlanVideoEncoder(plan);
    plan.soundEncoder = PlanAudioEncoder(plan);
    CheckTime(plan);
    return plan;
}

RunPlan MakeRunPlan(RunOptions const& options) {
    RunPlan plan = PlanEncoders(options);
    // Last, so that whoever then asks for overwriting meets no other refusal.
    CheckInputPath(options.input);
    CheckOutputPath(options.output, options.input, options.overwrite);
    return plan;
}

void ThrowHoldsNoVideo(RunPlan const& plan) {
    Core::Throw<OptionsException>({s_file, "void Tarsel::Media::ThrowHoldsNoVideo(const RunPlan &)"},
                                  fmt::format("Cannot write {}: \"{}\" holds no pictures",
                                              Quote(plan.options.output), plan.container.format->name));
}

} // namespace Tarsel::Media
