#include "Host/PairedEffect.h"

#include "Conf/Color.h"
#include "Core/Throw.h"
#include "Host/Chain/FrameConversion.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <deque>
#include <utility>

namespace Tarsel::Host {
namespace {

using Conf::PixFmt;
using Proc::IDataVideo;

/// Second frames as first ones want them. Keeps the last one that was converted: a still picture, or one of a
/// film with fewer frames, is asked for again and again.
class SecondAdapter {
public:
    SP<IDataVideo const> Adapt(SP<IDataVideo const> const& second, IDataVideo const& first) {
        Conf::ColorSpace const space = first.GetColorSpace();
        if (second != m_source || m_fitted->GetPixelFormat() != first.GetPixelFormat() ||
            m_fitted->GetColorSpace() != space) {
            m_source = nullptr; // should it fail
            m_fitted = Convert(*second, first.GetPixelFormat(), space);
            m_source = second;
        }
        SP<IDataVideo> stamped = m_fitted->Copy();
        stamped->SetTime(first.GetTime());
        stamped->SetDuration(first.GetDuration());
        return stamped;
    }

private:
    SP<IDataVideo> Convert(IDataVideo const& frame, PixFmt format, Conf::ColorSpace const& space) {
        Conf::ColorSpace const own = frame.GetColorSpace();
        bool const isAlike =
            frame.GetPixelFormat() == format && own.matrix == space.matrix && own.range == space.range;
        SP<IDataVideo> fitted =
            isAlike ? frame.Copy() : SP<IDataVideo>(ConvertPixels(frame, format, space, m_scaler));
        // Primaries make no difference to the values: they are taken for the first frame's.
        Proc::SetFrameColorSpace(*fitted->GetAVFrame(), space);
        return fitted;
    }

    Proc::KeptScaler m_scaler;
    SP<IDataVideo const> m_source;
    SP<IDataVideo> m_fitted;
};

class PairedEffect : public Core::RefCounted<Proc::IOneInputEffectVideo>, public Proc::IEffectStreamVideo {
public:
    PairedEffect(SP<Proc::ITwoInputEffectVideo> effect, SecondFrames seconds)
        : m_effect(std::move(effect)), m_seconds(std::move(seconds)) {}

    Core::Property GetSettings() const override { return m_effect->GetSettings(); }
    void SetSettings(Core::Property const& settings) override { m_effect->SetSettings(settings); }
    Proc::Settings const& GetSettingsBase() const override { return m_effect->GetSettingsBase(); }
    void SetSettings(Proc::Settings const& settings) override { m_effect->SetSettings(settings); }
    void SetProgressController(SP<Core::IProgressController> const& controller) override {
        m_effect->SetProgressController(controller);
    }
    Proc::TimeToProgress& GetProgress() override { return m_effect->GetProgress(); }
    Proc::TimeToProgress const& GetProgress() const override {
        return std::as_const(*m_effect).GetProgress();
    }
    void SetProgress(Proc::TimeToProgress const& progress) override { m_effect->SetProgress(progress); }
    std::int32_t GetInputFrameType() const override { return m_effect->GetInputFrameType(); }
    Core::Property GetStatistic() const override { return m_effect->GetStatistic(); }

    void Reset() override {
        m_ready.clear();
        m_effect->Reset();
    }

    void Process(SP<IDataVideo>& data) override {
        if (!data)
            return;
        SP<IDataVideo const> const second = m_seconds(data->GetTime());
        if (!second)
            return;
        PixFmt const format = Conf::Color::WithoutPalette(data->GetPixelFormat());
        SP<IDataVideo> first = data;
        if (format != data->GetPixelFormat())
            first = ConvertPixels(*data, format, data->GetColorSpace(), m_unpaletted);
        m_effect->Process(first, m_adapter.Adapt(second, *first));
        data = std::move(first);
    }

    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override {
        format->SetPixelFormat(Conf::Color::WithoutPalette(format->GetPixelFormat()));
        m_effect->UpdateFormatCodec(format);
    }

    void Feed(SP<IDataVideo> const& data) override {
        SP<IDataVideo> result = data;
        Process(result);
        if (result)
            m_ready.push_back(std::move(result));
    }

    SP<IDataVideo> Take() override {
        if (m_ready.empty())
            return {};
        SP<IDataVideo> result = std::move(m_ready.front());
        m_ready.pop_front();
        return result;
    }

    /// The next stream begins at any time.
    void End() override { m_effect->Reset(); }

protected:
    Proc::ITwoInputEffectVideo const& GetEffect() const noexcept { return *m_effect; }

private:
    SP<Proc::ITwoInputEffectVideo> m_effect;
    SecondFrames m_seconds;
    SecondAdapter m_adapter;
    /// Makes RGB of palettes.
    Proc::KeptScaler m_unpaletted;
    std::deque<SP<IDataVideo>> m_ready;
};

/// The same with an effect that tells about itself.
class PairedEffectWithDetails final : public PairedEffect, public Proc::IEffectDetailsVideo {
public:
    PairedEffectWithDetails(SP<Proc::ITwoInputEffectVideo> effect, SecondFrames seconds)
        : PairedEffect(std::move(effect), std::move(seconds)),
          m_details(dynamic_cast<Proc::IEffectDetailsVideo const&>(GetEffect())) {}

    Proc::EffectTraits const& GetTraits() const noexcept override { return m_details.GetTraits(); }
    std::string Describe(Conf::IFormatCodecVideo const& format) const override {
        return m_details.Describe(format);
    }

private:
    /// The effect itself.
    Proc::IEffectDetailsVideo const& m_details;
};

} // namespace

SP<Proc::IOneInputEffectVideo> PairEffect(SP<Proc::ITwoInputEffectVideo> effect, SecondFrames seconds) {
    if (!effect || !seconds)
        Core::Throw<Proc::EffectException>(effect ? "A paired effect needs second frames"
                                                  : "A paired effect needs an effect");
    if (dynamic_cast<Proc::IEffectDetailsVideo const*>(effect.get()) != nullptr)
        return MakeSP<PairedEffectWithDetails>(std::move(effect), std::move(seconds));
    return MakeSP<PairedEffect>(std::move(effect), std::move(seconds));
}

} // namespace Tarsel::Host
