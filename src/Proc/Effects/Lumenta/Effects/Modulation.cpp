#include "Proc/Settings/Modulation.h"
#include "Core/Saturate.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/DelayMemory.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>

/// Audio overdriven, and audio whose pitch or color wavers.
namespace Tarsel::Proc {
namespace {

// What the filters take; all else they refuse themselves.
constexpr float s_slowestVibrato = 0.1F;
constexpr float s_slowestFlanger = 0.1F;
constexpr float s_fastestFlanger = 10;
constexpr float s_longestFlangerDelay = 30;
constexpr float s_longestFlangerDepth = 10;

/// The share of the way to full scale that a knob at `x` (0 to 99, and a bit) stands for.
float GetCurve(float x) {
    return std::sin(x / 101.0F * 1.5707964F);
}

// The additions of 0 keep a negative zero out of the text.

std::string GetSoftClipText(SettingsAudioDistortion const& settings) {
    float const s = GetCurve(settings.amount * 99.0F + 0.0F + 1.0F);
    float const k = 2.0F * s / (1.0F - s);
    float const g = settings.gain * 99.0F + 0.0F;
    float const t = GetCurve(settings.tone * 99.0F + 0.0F);
    auto const f = Core::Saturate<std::int32_t>(std::fma(t, 19000.0F, 1000.0F));
    std::ostringstream text = MakeClassicStream();
    text << "aeval=(1 + " << k << ") * " << g << " * val(ch) / (1 + " << k << " * abs(" << g
         << " * val(ch))):c=same, lowpass=f=" << f;
    return text.str();
}

} // namespace

template <>
struct EffectActionsAudio<SettingsAudioDistortion> {
    using SettingsType = SettingsAudioDistortion;
    // The low-pass of the soft clipper looks back.
    static constexpr EffectTraits s_traits{.summary = "overdrives audio", .frameIndependent = false};

    /// "" for a mode there is not.
    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
        float const a = settings.amount;
        std::ostringstream text = MakeClassicStream();
        switch (settings.mode) {
        case SettingsType::Mode::Tanh:
            text << "aeval=tanh(" << a * a * a * 160.0F + 40.0F << " * val(ch)):c=same";
            break;
        case SettingsType::Mode::Wrap:
            text << "aeval=mod(" << a * 2.97F + 0.03F << " * val(ch)\\, 2)-1:c=same";
            break;
        case SettingsType::Mode::Cube:
            text << "aeval=pow(" << a * a * 45.0F + 5.0F << " * val(ch)\\, 3):c=same";
            break;
        case SettingsType::Mode::Sine:
            text << "aeval=sin(" << a * a * 49.5F + 0.5F << " * val(ch)):c=same";
            break;
        case SettingsType::Mode::SoftClip:
            return GetSoftClipText(settings);
        }
        return text.str();
    }
};

template <>
struct EffectActionsAudio<SettingsAudioFlanger> {
    using SettingsType = SettingsAudioFlanger;
    static constexpr EffectTraits s_traits{.summary = "mixes audio with itself at a sweeping delay",
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "flanger=delay=" << settings.delay << ":depth=" << settings.depth
             << ":regen=" << settings.regen << ":width=" << settings.width * 100.0F
             << ":speed=" << settings.speed << ":phase=" << settings.phase << ":shape=" << settings.shape
             << ":interp=" << settings.interp;
        return text.str();
    }

    /// The filter divides by the length of a sweep in whole samples.
    static void CheckFormat(SettingsType const& settings, Conf::SampleFormats, Conf::SampleInfo const& info) {
        Core::Site const site = Core::Site::Here();
        bool const isTaken = settings.speed >= s_slowestFlanger && settings.speed <= s_fastestFlanger &&
                             settings.delay <= s_longestFlangerDelay &&
                             settings.depth <= s_longestFlangerDepth;
        if (!isTaken)
            return;
        if (info.rate > 0 && static_cast<double>(info.rate) < settings.speed)
            Core::Throw<EffectException>(
                site, fmt::format("{} at {} Hz needs audio of at least that sample rate, not {}",
                                  SettingsType::CLASS_ID, settings.speed, info.rate));
        Conf::SampleInfo inside = info;
        inside.format = Conf::SampleFormats::DoublePlanar;
        RequireDelayMemory(GetDelayLineBytes(inside, double{settings.delay} + settings.depth) +
                               GetWaveTableBytes(info, settings.speed, sizeof(float)),
                           SettingsType::CLASS_ID, site);
    }
};

template <>
struct EffectActionsAudio<SettingsAudioVibrato> {
    using SettingsType = SettingsAudioVibrato;
    static constexpr EffectTraits s_traits{.summary = "modulates the pitch", .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "vibrato=f=" << settings.frequency << ":d=" << settings.depth;
        return text.str();
    }

    static void CheckFormat(SettingsType const& settings, Conf::SampleFormats, Conf::SampleInfo const& info) {
        if (settings.frequency >= s_slowestVibrato)
            RequireDelayMemory(GetWaveTableBytes(info, settings.frequency, sizeof(double)),
                               SettingsType::CLASS_ID, Core::Site::Here());
    }

    /// The filter plays whatever memory its delay line got: as many whole swings of silence as fill the line,
    /// after which the next swing begins.
    static std::int64_t GetWarmUp(SettingsType const& settings, Conf::SampleInfo const& info) {
        std::ostringstream text = MakeClassicStream();
        text << settings.frequency;
        double const frequency = Core::TextToDouble(text.str()).value_or(0); // the filter's
        // Lengths as the filter rounds them; a line holds 5 ms.
        std::int64_t const line = std::llrint(info.rate * 0.005 + 0.5);
        std::int64_t const swing = std::llrint(info.rate / frequency + 0.5);
        constexpr std::int64_t longestSwing = 1 << 22; // so long a one hardly moves while the line fills
        if (swing > longestSwing)
            return line;
        return (line + swing - 1) / swing * swing;
    }
};

template EffectCreator GetCreator<SettingsAudioDistortion>();
template EffectCreator GetCreator<SettingsAudioFlanger>();
template EffectCreator GetCreator<SettingsAudioVibrato>();

} // namespace Tarsel::Proc
