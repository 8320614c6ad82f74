#include "Host/StepPlan.h"

#include "Conf/FormatCodecAudio.h"
#include "Conf/FormatCodecVideo.h"
#include "Host/Chain/IdleCure.h"
#include "Host/Chain/TimedAudio.h"
#include "Host/Chain/VideoStep.h"
#include "Host/FFmpegMessages.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IOwnWork.h"
#include "Proc/Settings/Settings.h"

#include <memory>

namespace Tarsel::Host {
namespace {

SP<Conf::IFormatCodecVideo> Copy(Conf::IFormatCodecVideo const& format) {
    SP<Conf::IFormatCodecVideo> copy =
        MakeSP<Conf::FormatCodecVideo>(format.GetPixelFormat(), format.GetFrameInfo());
    static_cast<Core::Property&>(*copy) = format; // the frame rate
    copy->SetColorSpace(format.GetColorSpace());
    if (format.ExistsDisplayMatrix())
        copy->SetDisplayMatrix(format.GetDisplayMatrix());
    return copy;
}

SP<Conf::IFormatCodecAudio> Copy(Conf::IFormatCodecAudio const& format) {
    return MakeSP<Conf::FormatCodecAudio>(format.GetSampleInfo());
}

template <class Effect, class Format, class Details>
std::string DescribeIdle(Effect& effect, Format const& format, Details const* details) {
    auto const isIdle = [&] {
        return details != nullptr ? details->Describe(format).empty() : effect.GetSettingsBase().IsEmpty();
    };
    if (!isIdle())
        return {};
    std::unique_ptr<Proc::Settings> const settings = effect.GetSettingsBase().Clone();
    std::string cure;
    try {
        FFmpegMessages::Trial const trial;
        cure = DescribeCure(*settings, [&](Proc::Settings const& others) {
            try {
                effect.SetSettings(others);
                return isIdle();
            } catch (Exception const&) {
                return true; // what is refused is no cure
            }
        });
    } catch (...) {
        effect.SetSettings(*settings);
        throw;
    }
    effect.SetSettings(*settings);
    return (settings->IsEmpty() ? "does nothing" : "does nothing to this input") + cure;
}

/// All but what is converted around the effect: `format` is what it gets.
template <class Details, class Effect, class Format>
StepPlan<Format> Plan(Effect& effect, Format const& format) {
    StepPlan<Format> plan;
    auto const* const details = dynamic_cast<Details const*>(&effect);
    if (details != nullptr)
        plan.description = details->Describe(format);
    plan.isFilterText = details != nullptr && dynamic_cast<Proc::IOwnWork const*>(&effect) == nullptr;
    plan.idle = DescribeIdle(effect, format, details);
    return plan;
}

/// The same with values that move as they end; they are taken to make the effect work.
template <class Details, class Effect, class Format>
StepPlan<Format> PlanAsItEnds(Effect& effect, Format const& format, StepTimes const& times) {
    if (times.moving.empty())
        return Plan<Details>(effect, format);
    auto const asSet = effect.GetSettingsBase().Clone();
    auto const asItEnds = asSet->Clone();
    WriteValuesAt(StepTimes::s_forever, times.moving, *asItEnds);
    effect.SetSettings(*asItEnds);
    StepPlan<Format> plan = Plan<Details>(effect, format);
    effect.SetSettings(*asSet);
    plan.idle.clear();
    return plan;
}

} // namespace

StepPlan<Conf::IFormatCodecVideo> PlanStep(SP<Proc::IOneInputEffectVideo> const& effect,
                                           Conf::IFormatCodecVideo const& input, StepTimes const& times) {
    VideoStep const step(effect, {}, times);
    Conf::FrameInfo const info = input.GetFrameInfo();
    SP<Conf::IFormatCodecVideo> inner;
    if (auto const adapter = step.MakeAdapter({input.GetPixelFormat(), info.width, info.height})) {
        PictureForm const& form = adapter->GetInner();
        inner = Copy(input);
        inner->SetPixelFormat(form.format);
        inner->InitByPixelAspect(form.width, form.height, info.aspectNum, info.aspectDen);
    }
    auto plan = PlanAsItEnds<Proc::IEffectDetailsVideo>(*effect, inner ? *inner : input, times);
    plan.inner = std::move(inner);
    plan.output = Copy(input);
    step.UpdateFormatCodec(plan.output);
    return plan;
}

StepPlan<Conf::IFormatCodecAudio> PlanStep(SP<Proc::IOneInputEffectAudio> const& effect,
                                           Conf::IFormatCodecAudio const& input, StepTimes const& times) {
    auto plan = PlanAsItEnds<Proc::IEffectDetailsAudio>(*effect, input, times);
    plan.output = Copy(input);
    if (times.IsLimited() || !times.moving.empty())
        TimedAudio(
            effect, {}, [&] { return effect; }, times)
            .UpdateFormatCodec(plan.output);
    else
        effect->UpdateFormatCodec(plan.output);
    return plan;
}

} // namespace Tarsel::Host
