#include "Host/Chain/VideoStep.h"

#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Stopwatch.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Core/TimeText.h"
#include "Host/Chain/FrameBlend.h"
#include "Host/EffectRules.h"
#include "Host/EffectSettings.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/Settings.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Host {
namespace {

using Conf::PixFmtDescription;

[[noreturn]] void ThrowChangesSize(PictureForm const& from, std::uint32_t width, std::uint32_t height) {
    Core::Throw<Proc::EffectException>(fmt::format(
        "It changes the size of frames from {}x{} to {}x{}: it cannot work on a part of the video",
        from.width, from.height, width, height));
}

} // namespace

VideoStep::VideoStep(SP<Proc::IOneInputEffectVideo> effect, std::string label, StepTimes times)
    : ChainStep(std::move(effect), std::move(label)),
      m_details(dynamic_cast<Proc::IEffectDetailsVideo const*>(&GetEffect())), m_times(std::move(times)) {
    Labeled([&] { CheckTimes(); });
}

void VideoStep::CheckTimes() const {
    bool const isIndependent = m_details != nullptr && m_details->GetTraits().frameIndependent &&
                               HoldsNothing(m_details->GetTraits());
    bool const wantsIndependent = m_times.fade > 0 || !m_times.moving.empty();
    if (wantsIndependent && !isIndependent)
        Core::Throw<Proc::SettingsException>(
            fmt::format("{} depends on neighboring frames: {}", GetEffect().GetSettingsBase().GetClassId(),
                        m_times.fade > 0 ? "it cannot fade" : "its values cannot move"));
    CheckMovingValues(m_times.moving, GetEffect().GetSettingsBase());
}

template <class Convert>
SP<Proc::IDataVideo> VideoStep::Timed(Convert const& convert) {
    Core::Stopwatch const watch(GetTime().conversion);
    ++GetTime().converted;
    return convert();
}

void VideoStep::Feed(SP<Proc::IDataVideo> const& frame) {
    Labeled([&] {
        if (!m_times.Covers(frame->GetTime())) {
            LeaveRange();
            m_ready.push_back(frame);
            return;
        }
        m_isInside = true;
        if (m_times.IsLimited())
            m_untouched = frame;
        MoveValues(frame->GetTime());
        PictureForm const form = GetForm(*frame);
        if (form != m_input || !m_fitted || !m_fitted->IsEqualTo(GetEffect().GetSettingsBase()))
            FitTo(form);
        AVFrame const* const picture = frame->GetAVFrame(); // without one the effect refuses it
        m_isInterlaced =
            picture != nullptr && Proc::GetFrameFieldOrder(*picture) != Proc::FieldOrder::Progressive;
        FeedEffect(m_adapter ? Timed([&] { return m_adapter->Adapt(*frame); }) : frame);
    });
}

SP<Proc::IDataVideo> VideoStep::Take() {
    return Labeled([&]() -> SP<Proc::IDataVideo> {
        if (!m_ready.empty()) {
            SP<Proc::IDataVideo> result = std::move(m_ready.front());
            m_ready.pop_front();
            return result;
        }
        return TakeRestored();
    });
}

void VideoStep::End() {
    Labeled([&] { EndEffect(); });
    m_isInside = false;
}

/// None for an effect that would pass such frames untouched.
std::optional<FrameAdapter> VideoStep::MakeAdapter(PictureForm const& form) const {
    std::optional<FrameAdapter> adapter;
    if (m_details != nullptr)
        adapter = FrameAdapter::Make(m_details->GetTraits(), form);
    if (adapter &&
        m_details->Describe(Conf::FormatCodecVideo(form.format, {form.width, form.height, 0, 1})).empty())
        adapter.reset();
    return adapter;
}

void VideoStep::MoveValues(std::int64_t time) {
    if (HasValuesAt(time, m_times.moving, GetEffect().GetSettingsBase()))
        return;
    auto const settings = GetEffect().GetSettingsBase().Clone();
    WriteValuesAt(time, m_times.moving, *settings);
    SetEffectSettings(GetEffect(), *settings);
}

/// What the effect holds back belongs before the frame that it does not see.
void VideoStep::LeaveRange() {
    if (!std::exchange(m_isInside, false))
        return;
    EndEffect();
    while (SP<Proc::IDataVideo> rest = TakeRestored())
        m_ready.push_back(std::move(rest));
}

/// Between frames that pass untouched: in their form, and laid over its own.
SP<Proc::IDataVideo> VideoStep::FitIntoRange(SP<Proc::IDataVideo> result) {
    PictureForm const form = GetForm(*result);
    if (form.width != m_input.width || form.height != m_input.height)
        ThrowChangesSize(m_input, form.width, form.height);
    if (form.format != m_input.format)
        result = Timed([&]() -> SP<Proc::IDataVideo> {
            return ConvertPixels(*result, m_input.format, m_untouched->GetColorSpace(), m_back);
        });
    std::uint32_t const weight = m_times.GetWeight(result->GetTime());
    if (weight == s_fullWeight)
        return result;
    if (!CanBlend(m_input.format))
        Core::Throw<Proc::EffectException>(
            fmt::format("Convert to another pixel format before it: frames of {} cannot fade",
                        PixFmtDescription::Find(m_input.format).GetName()));
    if (result->GetAVFrame()->data[0] == m_untouched->GetAVFrame()->data[0])
        return result; // passed as it is
    Blend(*m_untouched, *result, weight);
    return result;
}

/// What frames of the old form still hold back comes out in the old form.
void VideoStep::FitTo(PictureForm const& form) {
    std::optional<FrameAdapter> adapter = MakeAdapter(form);
    if (m_adapter || adapter) {
        EndEffect();
        while (SP<Proc::IDataVideo> rest = TakeRestored())
            m_ready.push_back(std::move(rest));
    }
    m_adapter = std::move(adapter);
    m_fitted = GetEffect().GetSettingsBase().Clone();
    m_input = form;
    m_output = Conf::PixFmt::None;
    if (m_adapter && !m_adapter->Describe().empty())
        Note(fmt::format("{} works on frames of {}", GetLabel(), m_adapter->Describe()));
}

SP<Proc::IDataVideo> VideoStep::TakeRestored() {
    SP<Proc::IDataVideo> result = TakeFromEffect();
    if (!result) {
        if (!m_isInside)
            m_untouched.reset();
        return result;
    }
    if (std::string const fault = FindFault(*result); !fault.empty())
        ThrowMisbehavior("it returned " + fault);
    NoteLosses(*result);
    NoteMixedFields(*result);
    NoteRounding(*result);
    if (m_adapter)
        result = Timed([&] { return m_adapter->Restore(result); });
    return m_times.IsLimited() ? FitIntoRange(std::move(result)) : result;
}

void VideoStep::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) const {
    Labeled([&] {
        Conf::FrameInfo const info = format->GetFrameInfo();
        PictureForm const form{format->GetPixelFormat(), info.width, info.height};
        Conf::ColorSpace const space = format->GetColorSpace();
        AskEffect(format);
        if (!m_times.IsLimited())
            return;
        if (Conf::FrameInfo const now = format->GetFrameInfo();
            now.width != form.width || now.height != form.height)
            ThrowChangesSize(form, now.width, now.height);
        format->SetPixelFormat(form.format);
        format->SetColorSpace(space);
    });
}

void VideoStep::AskEffect(SP<Conf::IFormatCodecVideo>& format) const {
    Conf::FrameInfo const info = format->GetFrameInfo();
    std::optional<FrameAdapter> const adapter =
        MakeAdapter({format->GetPixelFormat(), info.width, info.height});
    if (!adapter) {
        GetEffect().UpdateFormatCodec(format);
        return;
    }
    // The effect is asked about what it gets, by the same object: it may look at the frame rate.
    auto const ask = [&](PictureForm const& form) {
        format->SetPixelFormat(form.format);
        format->InitByPixelAspect(form.width, form.height, info.aspectNum, info.aspectDen);
    };
    ask(adapter->GetInner());
    try {
        GetEffect().UpdateFormatCodec(format);
    } catch (...) {
        ask(adapter->GetOuter());
        throw;
    }
    adapter->Restore(*format);
}

/// Whether frames do not pass untouched, and the effect says that no alpha comes out as it went in.
bool VideoStep::ChangesAlpha() const {
    Conf::FormatCodecVideo const format(m_input.format, {m_input.width, m_input.height, 0, 1});
    return m_details != nullptr && m_details->GetTraits().alpha == Proc::Keeps::Never &&
           !m_details->Describe(format).empty();
}

void VideoStep::NoteLosses(Proc::IDataVideo const& result) {
    if (result.GetPixelFormat() == m_output)
        return;
    m_output = result.GetPixelFormat();
    auto const& in = PixFmtDescription::Find(m_input.format);
    auto const& out = PixFmtDescription::Find(m_output);
    // To FFmpeg palettes have alpha; effects make opaque ones.
    bool const keepsAlpha = m_details != nullptr && m_details->GetTraits().alpha == Proc::Keeps::Always;
    bool const isOpaque =
        !out.HasAlpha() || (m_output == Conf::PixFmt::PAL8 && m_input.format != m_output && !keepsAlpha);
    if (in.HasAlpha() && isOpaque)
        Note(fmt::format("{} drops alpha: {} becomes {}", GetLabel(), in.GetName(), out.GetName()));
    else if (in.HasAlpha() && ChangesAlpha())
        Note(fmt::format("{} changes alpha", GetLabel()));
    if (in.GetDepth() > out.GetDepth())
        Note(fmt::format("{} reduces the bit depth from {} to {}: {} becomes {}", GetLabel(), in.GetDepth(),
                         out.GetDepth(), in.GetName(), out.GetName()));
}

/// Another size, and the rows of a frame are no longer those of two fields.
void VideoStep::NoteMixedFields(Proc::IDataVideo const& result) {
    PictureForm const form = GetForm(result);
    bool const isResized = form.width != m_input.width || form.height != m_input.height;
    if (!m_isInterlaced || m_mixesFields || !isResized ||
        Proc::GetFrameFieldOrder(*result.GetAVFrame()) != Proc::FieldOrder::Progressive)
        return;
    m_mixesFields = true;
    Note(fmt::format("{} mixes the fields of interlaced video; add deinterlace before it", GetLabel()));
}

/// A size that was given, and is not met because chroma samples are whole.
void VideoStep::NoteRounding(Proc::IDataVideo const& result) {
    constexpr std::int64_t widestSample = 4;
    Proc::Settings const& settings = GetEffect().GetSettingsBase();
    PictureForm const form = GetForm(result);
    auto const& made = PixFmtDescription::Find(form.format);
    auto const isMissed = [&](std::string_view key, std::int64_t size) {
        Proc::Field const* const field = Proc::FindField(settings.GetFields(), key);
        auto const wanted =
            field != nullptr ? Core::TextToInt64(ReadFieldText(settings, *field)) : std::nullopt;
        return wanted && *wanted > 0 && *wanted != size && std::abs(*wanted - size) < widestSample;
    };
    bool const isHalved = made.GetChromaShiftX() + made.GetChromaShiftY() > 0;
    if (isHalved && (isMissed("width", form.width) || isMissed("height", form.height)))
        Note(fmt::format(
            "{} rounded the size to {}x{}, whole chroma samples of {}: convert to yuv444p before it "
            "to keep the size",
            GetLabel(), form.width, form.height, made.GetName()));
}

} // namespace Tarsel::Host
