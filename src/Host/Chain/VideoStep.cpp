#include "Host/Chain/VideoStep.h"

#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Stopwatch.h"
#include "Core/Text.h"
#include "Host/EffectRules.h"
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

} // namespace

VideoStep::VideoStep(SP<Proc::IOneInputEffectVideo> effect, std::string label)
    : ChainStep(std::move(effect), std::move(label)),
      m_details(dynamic_cast<Proc::IEffectDetailsVideo const*>(&GetEffect())) {}

template <class Convert>
SP<Proc::IDataVideo> VideoStep::Timed(Convert const& convert) {
    Core::Stopwatch const watch(GetTime().conversion);
    ++GetTime().converted;
    return convert();
}

void VideoStep::Feed(SP<Proc::IDataVideo> const& frame) {
    Labeled([&] {
        PictureForm const form = GetForm(*frame);
        if (form != m_input)
            FitTo(form);
        m_isInterlaced = Proc::GetFrameFieldOrder(*frame->GetAVFrame()) != Proc::FieldOrder::Progressive;
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

/// What frames of the old form still hold back comes out in the old form.
void VideoStep::FitTo(PictureForm const& form) {
    std::optional<FrameAdapter> adapter = MakeAdapter(form);
    if (m_adapter || adapter) {
        EndEffect();
        while (SP<Proc::IDataVideo> rest = TakeRestored())
            m_ready.push_back(std::move(rest));
    }
    m_adapter = std::move(adapter);
    m_input = form;
    m_output = Conf::PixFmt::None;
    if (m_adapter && !m_adapter->Describe().empty())
        Note(fmt::format("{} works on frames of {}", GetLabel(), m_adapter->Describe()));
}

SP<Proc::IDataVideo> VideoStep::TakeRestored() {
    SP<Proc::IDataVideo> result = TakeFromEffect();
    if (!result)
        return result;
    if (std::string const fault = FindFault(*result); !fault.empty())
        ThrowMisbehavior("it returned " + fault);
    NoteLosses(*result);
    NoteMixedFields(*result);
    NoteRounding(*result);
    return m_adapter ? Timed([&] { return m_adapter->Restore(result); }) : result;
}

void VideoStep::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) const {
    Labeled([&] {
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
    });
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
