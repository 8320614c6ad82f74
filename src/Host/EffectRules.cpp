#include "Host/EffectRules.h"

#include "Conf/AVFormats.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Host {
namespace {

using Conf::PixFmtDescription;
using Proc::Keeps;

std::string GetPictureText(Conf::PixFmt format, Conf::FrameInfo const& info) {
    char const* const name = av_get_pix_fmt_name(Conf::ToAVPixelFormat(format));
    return fmt::format("{} {}x{}", name == nullptr ? std::to_string(static_cast<std::int32_t>(format)) : name,
                       info.width, info.height);
}

} // namespace

std::string GetFormText(Proc::IDataVideo const& frame) {
    return GetPictureText(frame.GetPixelFormat(), frame.GetFrameInfo());
}

std::string GetFormText(Conf::IFormatCodecVideo const& format) {
    return GetPictureText(format.GetPixelFormat(), format.GetFrameInfo());
}

std::string GetFormText(Proc::IDataAudio const& block) {
    return Proc::AudioText(block.GetSampleInfo());
}

std::string GetFormText(Conf::IFormatCodecAudio const& format) {
    return Proc::AudioText(format.GetSampleInfo());
}

std::string FindFault(Proc::IDataVideo const& frame) {
    AVFrame const* const memory = frame.GetAVFrame();
    if (memory == nullptr)
        return "a frame without an AVFrame";
    Conf::FrameInfo const info = frame.GetFrameInfo();
    auto const format = static_cast<std::int32_t>(frame.GetPixelFormat());
    bool const isKnown = av_get_pix_fmt_name(Conf::ToAVPixelFormat(format)) != nullptr;
    if (memory->data[0] != nullptr && isKnown && memory->format == format && info.width > 0 &&
        info.height > 0 && std::cmp_greater_equal(memory->width, info.width) &&
        std::cmp_greater_equal(memory->height, info.height))
        return {};
    return fmt::format("a frame said to be {}x{} in pixel format {}, whose AVFrame is {}x{} in {}",
                       info.width, info.height, format, memory->width, memory->height, memory->format);
}

std::string FindFault(Proc::IDataAudio const& block) {
    AVFrame const* const memory = block.GetAVFrame();
    if (memory == nullptr)
        return "a block without an AVFrame";
    Conf::SampleInfo const said = block.GetSampleInfo();
    std::int64_t const count = block.GetSampleCount();
    Conf::SampleInfo const held = Proc::GetFrameSampleInfo(*memory);
    bool const hasSamples = Proc::HasSamples(*memory);
    if (Conf::IsKnown(said) && said == held && count == memory->nb_samples && hasSamples)
        return {};
    return fmt::format("a block said to be of {} samples of {}, whose AVFrame has {} of {}", count,
                       Proc::AudioText(said), hasSamples ? memory->nb_samples : 0, Proc::AudioText(held));
}

std::string FindFault(Proc::EffectTraits const& traits) {
    if (traits.summary.empty() || traits.summary.find('\n') != std::string_view::npos)
        return fmt::format("the summary is \"{}\"", traits.summary);
    if (traits.delayFrames < 0 || traits.delayTime < 0)
        return fmt::format("the delay is {} frames, {} us", traits.delayFrames, traits.delayTime);
    if (traits.framesPerFrame < 1)
        return fmt::format("{} frames per frame", traits.framesPerFrame);
    if (traits.looksBack < 0 || traits.looksAhead < 0)
        return fmt::format("it looks {} frames back, {} ahead", traits.looksBack, traits.looksAhead);
    return {};
}

std::string FindFault(Proc::Settings const& settings) {
    std::unique_ptr<Proc::Settings> const copy = settings.Clone();
    if (!copy->IsEqualTo(settings))
        return "a copy differs";
    if (settings.GetFields().empty())
        return {};
    std::string const text = Proc::Serialize(settings);
    try {
        copy->Deserialize(text);
        if (!copy->IsEqualTo(settings))
            return fmt::format("the text \"{}\" is read as \"{}\"", text, Proc::Serialize(*copy));
        Proc::WriteFieldsFromProperty(*copy, Proc::Settings2Property(settings));
        if (!copy->IsEqualTo(settings))
            return fmt::format("the property tree of \"{}\" is read as \"{}\"", text, Proc::Serialize(*copy));
    } catch (std::exception const& refusal) {
        return fmt::format("\"{}\" cannot be read again: {}", text, refusal.what());
    }
    return {};
}

std::string FindLoss(Proc::EffectTraits const& traits, Proc::IDataVideo const& input,
                     Proc::IDataVideo const& result) {
    auto const& in = PixFmtDescription::Find(input.GetPixelFormat());
    auto const& out = PixFmtDescription::Find(result.GetPixelFormat());
    bool const isPalette = in.GetFormat() == Conf::PixFmt::PAL8 || out.GetFormat() == Conf::PixFmt::PAL8;
    std::string_view lost;
    // No format says whether a palette has transparent colors.
    if (traits.alpha == Keeps::Always && in.HasAlpha() && !out.HasAlpha() && !isPalette)
        lost = "alpha";
    else if (traits.depth == Keeps::Always && in.GetDepth() > 8 &&
             out.GetDepth() < std::min(in.GetDepth(), 16))
        lost = "bit depth";
    else if (traits.range == Keeps::Always && in.GetName().starts_with("yuvj") &&
             !out.IsFullRange(result.GetColorSpace()))
        lost = "full range";
    else if (traits.size == Keeps::Always && (input.GetFrameInfo().width != result.GetFrameInfo().width ||
                                              input.GetFrameInfo().height != result.GetFrameInfo().height))
        lost = "size";
    return lost.empty()
               ? ""
               : fmt::format("{} becomes {}, though the traits state that the effect always keeps {}",
                             GetFormText(input), GetFormText(result), lost);
}

} // namespace Tarsel::Host
