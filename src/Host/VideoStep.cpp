#include "Host/VideoStep.h"

#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Host {
namespace {

using Conf::PixFmtDescription;

/// Frames for each one fed, at the end of a stream, from which on an effect is taken for one that answers
/// for ever.
constexpr std::size_t s_mostHeldBack = 64;

/// Does `work`; an exception that can carry facts leaves with the step's label. It is the thrown object that
/// is marked and goes on: no type is lost.
template <class Work>
decltype(auto) Labelled(std::string const& label, Work const& work) {
    try {
        return work();
    } catch (boost::exception& exception) {
        exception << TagStep(label);
        throw;
    }
}

[[noreturn]] void ThrowMisbehaviour(std::string const& text) {
    Core::Throw<Proc::EffectException>(
        {"Host/VideoStep", "virtual SP<IDataVideo> Tarsel::Host::VideoStep::Take()"},
        "The effect breaks its contract: " + text);
}

/// A frame that holds less than it says would be read past its end by whoever comes next.
void CheckGiven(Proc::IDataVideo const& result) {
    AVFrame const* const frame = result.GetAVFrame();
    if (frame == nullptr)
        ThrowMisbehaviour("it gave a frame without AVFrame");
    PictureForm const said = GetForm(result);
    if (frame->data[0] == nullptr || frame->format != static_cast<int>(said.format) || said.width == 0 ||
        said.height == 0 || std::cmp_less(frame->width, said.width) ||
        std::cmp_less(frame->height, said.height))
        ThrowMisbehaviour(fmt::format("it gave a frame said to be {}x{} in pixel format {}, whose AVFrame is "
                                      "{}x{} in {}",
                                      said.width, said.height, static_cast<std::int32_t>(said.format),
                                      frame->width, frame->height, frame->format));
}

} // namespace

VideoStep::VideoStep(SP<Proc::IOneInputEffectVideo> effect, std::string label)
    : m_effect(std::move(effect)), m_stream(dynamic_cast<Proc::IEffectStreamVideo*>(m_effect.get())),
      m_details(dynamic_cast<Proc::IEffectDetailsVideo const*>(m_effect.get())), m_label(std::move(label)) {}

void VideoStep::Feed(SP<Proc::IDataVideo> const& frame) {
    Labelled(m_label, [&] {
        PictureForm const form = GetForm(*frame);
        if (form != m_input)
            FitTo(form);
        FeedEffect(m_fit ? m_fit->Fit(*frame) : frame);
    });
}

SP<Proc::IDataVideo> VideoStep::Take() {
    return Labelled(m_label, [&]() -> SP<Proc::IDataVideo> {
        if (!m_ready.empty()) {
            SP<Proc::IDataVideo> result = std::move(m_ready.front());
            m_ready.pop_front();
            return result;
        }
        return TakeFromEffect();
    });
}

void VideoStep::End() {
    Labelled(m_label, [&] { EndEffect(); });
}

/// None for an effect that would pass such frames untouched.
std::optional<FrameFit> VideoStep::MakeFit(PictureForm const& form) const {
    std::optional<FrameFit> fit;
    if (m_details != nullptr)
        fit = FrameFit::Make(m_details->GetTraits(), form);
    if (fit &&
        m_details->Describe(Conf::FormatCodecVideo(form.format, {form.width, form.height, 0, 1})).empty())
        fit.reset();
    return fit;
}

/// What frames of the old form still hold back comes out in the old form.
void VideoStep::FitTo(PictureForm const& form) {
    std::optional<FrameFit> fit = MakeFit(form);
    if (m_fit || fit) {
        EndEffect();
        while (SP<Proc::IDataVideo> rest = TakeFromEffect())
            m_ready.push_back(std::move(rest));
    }
    m_fit = fit;
    m_input = form;
    m_output = Conf::PixFmt::None;
    if (m_fit)
        Note(fmt::format("{} works on frames of {}", m_label, m_fit->Describe()));
}

void VideoStep::FeedEffect(SP<Proc::IDataVideo> const& frame) {
    if (m_stream != nullptr) {
        m_stream->Feed(frame);
        return;
    }
    if (m_isEnding) { // what is left of a stream that failed on its way out
        m_isEnding = false;
        m_effect->Reset();
        m_fed = 0;
    }
    SP<Proc::IDataVideo> data = frame;
    ++m_fed;
    m_effect->Process(data);
    m_given = std::move(data);
}

SP<Proc::IDataVideo> VideoStep::TakeFromEffect() {
    SP<Proc::IDataVideo> result;
    if (m_stream != nullptr) {
        result = m_stream->Take();
    } else if (!m_isEnding) {
        result = std::move(m_given);
    } else {
        m_isEnding = false; // also after a failure
        m_effect->Process(result);
        if (result && ++m_takenAtEnd > s_mostHeldBack * m_fed)
            ThrowMisbehaviour(fmt::format("it was fed {} frames, and after them asked {} times for what it "
                                          "still holds, and gave a frame each time",
                                          m_fed, m_takenAtEnd));
        m_isEnding = result != nullptr;
        if (!result) {
            m_effect->Reset();
            m_fed = 0;
        }
    }
    if (!result)
        return result;
    CheckGiven(*result);
    NoteLosses(*result);
    return m_fit ? m_fit->Restore(result) : result;
}

void VideoStep::EndEffect() {
    if (m_stream != nullptr) {
        m_stream->End();
        return;
    }
    m_isEnding = m_fed > 0;
    m_takenAtEnd = 0;
}

void VideoStep::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) const {
    Labelled(m_label, [&] {
        Conf::FrameInfo info = format->GetFrameInfo();
        std::optional<FrameFit> const fit = MakeFit({format->GetPixelFormat(), info.width, info.height});
        if (!fit) {
            m_effect->UpdateFormatCodec(format);
            return;
        }
        // What comes out has the form of what goes in; the effect may still refuse.
        info.width = fit->GetInner().width;
        info.height = fit->GetInner().height;
        SP<Conf::IFormatCodecVideo> inner = MakeSP<Conf::FormatCodecVideo>(fit->GetInner().format, info);
        m_effect->UpdateFormatCodec(inner);
    });
}

Core::Property VideoStep::GetStatistic() const {
    return Labelled(m_label, [&] { return m_effect->GetStatistic(); });
}

void VideoStep::Note(std::string const& text) {
    if (std::ranges::find(m_notes, text) == m_notes.end())
        m_notes.push_back(text);
}

void VideoStep::NoteLosses(Proc::IDataVideo const& result) {
    if (result.GetPixelFormat() == m_output)
        return;
    m_output = result.GetPixelFormat();
    auto const& in = PixFmtDescription::Find(m_input.format);
    auto const& out = PixFmtDescription::Find(m_output);
    if (in.HasAlpha() && !out.HasAlpha())
        Note(fmt::format("{} drops alpha: {} becomes {}", m_label, in.GetName(), out.GetName()));
    if (in.GetDepth() > out.GetDepth())
        Note(fmt::format("{} drops depth, {} bits to {}: {} becomes {}", m_label, in.GetDepth(),
                         out.GetDepth(), in.GetName(), out.GetName()));
}

} // namespace Tarsel::Host
