#include "Host/CheckingEffect.h"

#include "Core/Throw.h"
#include "Host/Watch/DataDigest.h"
#include "Host/Watch/EffectWatch.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOwnWork.h"
#include "Proc/Interfaces/IResample.h"
#include "Proc/Interfaces/IResizeComplex.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>
#include <glog/logging.h>

#include <cstdlib>
#include <type_traits>
#include <utility>

namespace Tarsel::Host {
namespace {

template <class Effect>
using MediumOf =
    std::conditional_t<std::is_base_of_v<Proc::IOneInputEffectAudio, Effect>, AudioMedium, VideoMedium>;

/// What effects of all kinds have.
template <class Interface>
class Checking : public Core::RefCounted<Interface> {
public:
    using Medium = MediumOf<Interface>;
    using Data = typename Medium::Data;
    using Format = typename Medium::Format;

    Checking(SP<Interface> effect, MisuseListener listener)
        : m_effect(std::move(effect)), m_watch(*m_effect, std::move(listener)) {}

    Core::Property GetSettings() const override {
        return Get("GetSettings", [&] { return m_effect->GetSettings(); });
    }
    void SetSettings(Core::Property const& settings) override {
        m_watch.SetSettings(nullptr, [&] { m_effect->SetSettings(settings); });
    }
    Proc::Settings const& GetSettingsBase() const override {
        return *Get("GetSettingsBase", [&] { return &m_effect->GetSettingsBase(); });
    }
    void SetSettings(Proc::Settings const& settings) override {
        m_watch.SetSettings(&settings, [&] { m_effect->SetSettings(settings); });
    }
    void Reset() override {
        m_watch.Reset([&] { m_effect->Reset(); });
    }
    void SetProgressController(SP<Core::IProgressController> const& controller) override {
        m_watch.Do("SetProgressController", [&] { m_effect->SetProgressController(controller); });
    }
    Proc::TimeToProgress& GetProgress() override {
        return *Get("GetProgress", [&] { return &m_effect->GetProgress(); });
    }
    Proc::TimeToProgress const& GetProgress() const override {
        return *Get("GetProgress", [&] { return &std::as_const(*m_effect).GetProgress(); });
    }
    void SetProgress(Proc::TimeToProgress const& progress) override {
        m_watch.Do("SetProgress", [&] { m_effect->SetProgress(progress); });
    }
    std::int32_t GetInputFrameType() const override {
        return Get("GetInputFrameType", [&] { return m_effect->GetInputFrameType(); });
    }
    Core::Property GetStatistic() const override {
        return Get("GetStatistic", [&] { return m_effect->GetStatistic(); });
    }
    void UpdateFormatCodec(SP<Format>& format) override {
        m_watch.UpdateFormat(format, [&] { m_effect->UpdateFormatCodec(format); });
    }

protected:
    Interface& GetEffect() const noexcept { return *m_effect; }
    EffectWatch<Medium>& GetWatch() const noexcept { return m_watch; }

    /// What `call` returns.
    template <class Call>
    auto Get(char const* method, Call const& call) const {
        std::invoke_result_t<Call> result{};
        m_watch.Do(method, [&] { result = call(); });
        return result;
    }

    /// ProcessData with its inputs, of which the first may be of the medium.
    SP<Proc::IData> Forward(std::vector<SP<Proc::IData>> const& inputs, std::size_t due) {
        if (inputs.size() != due)
            m_watch.Do("ProcessData", [&] {
                m_watch.Report(Party::Host, "data-count",
                               fmt::format("{} inputs; the effect takes {}", inputs.size(), due));
            });
        SP<Proc::IData> result;
        Convert(inputs.empty() ? SP<Proc::IData>() : inputs[0], result,
                [&] { result = m_effect->ProcessData(inputs); });
        return result;
    }

    /// A call of ProcessData that makes `result` of `input`.
    void Convert(SP<Proc::IData> const& input, SP<Proc::IData>& result, std::function<void()> const& call) {
        SP<Data> data = boost::dynamic_pointer_cast<Data>(input);
        if (!data)
            return m_watch.Do("ProcessData", [&] {
                m_watch.Report(Party::Host, "data-of-the-medium",
                               input ? "data of another medium" : "no data to process");
                call();
            });
        m_watch.Process("ProcessData", data, [&] {
            call();
            data = boost::dynamic_pointer_cast<Data>(result);
            if (result && !data)
                m_watch.Report(Party::Effect, "data-of-the-medium", "it returns data of another medium");
        });
    }

private:
    SP<Interface> m_effect;
    mutable EffectWatch<Medium> m_watch;
};

template <class Interface>
class CheckingOneInput : public Checking<Interface> {
public:
    using typename Checking<Interface>::Data;
    using Checking<Interface>::Checking;

    SP<Proc::IData> ProcessData(std::vector<SP<Proc::IData>> const& inputs) override {
        return this->Forward(inputs, 1);
    }
    void ProcessData(SP<Proc::IData>& data) override {
        SP<Proc::IData> const input = data;
        this->Convert(input, data, [&] { this->GetEffect().ProcessData(data); });
    }
    void Process(SP<Data>& data) override {
        this->GetWatch().Process("Process", data, [&] { this->GetEffect().Process(data); });
    }
};

class CheckingTwoInput : public Checking<Proc::ITwoInputEffectVideo> {
public:
    using Checking::Checking;

    SP<Proc::IData> ProcessData(std::vector<SP<Proc::IData>> const& inputs) override {
        return Forward(inputs, 2);
    }
    void ProcessData(SP<Proc::IData>& data, SP<Proc::IData const> const& second) override {
        SP<Proc::IData> const input = data;
        Convert(input, data, [&] { GetEffect().ProcessData(data, second); });
    }
    void Process(SP<Proc::IDataVideo>& data, SP<Proc::IDataVideo const> const& second) override {
        std::uint64_t const before = second ? GetDigest(*second) : 0;
        GetWatch().Process("Process", data, [&] {
            GetEffect().Process(data, second);
            if (second && GetDigest(*second) != before)
                GetWatch().Report(Party::Effect, "input-unchanged", "the second frame has changed");
        });
    }
};

class CheckingResample : public CheckingOneInput<Proc::IResample> {
public:
    using CheckingOneInput::CheckingOneInput;

    void Init(Conf::SampleInfo const& output) override {
        GetWatch().SetSettings(nullptr, [&] { GetEffect().Init(output); });
    }
    void InitByFormat(SP<Conf::IFormatCodecAudio const> const& output) override {
        GetWatch().SetSettings(nullptr, [&] { GetEffect().InitByFormat(output); });
    }
};

// The optional interfaces, each on top of an effect that has it.

template <class Base>
class WithStream : public Base, public Proc::IEffectStream<typename Base::Data> {
public:
    using Base::Base;
    using typename Base::Data;

    void Feed(SP<Data> const& data) override {
        this->GetWatch().Feed(data, [&] { GetStream().Feed(data); });
    }
    SP<Data> Take() override {
        SP<Data> result;
        this->GetWatch().Take(result, [&] { result = GetStream().Take(); });
        return result;
    }
    void End() override {
        this->GetWatch().End([&] { GetStream().End(); });
    }

private:
    auto& GetStream() const { return dynamic_cast<Proc::IEffectStream<Data>&>(this->GetEffect()); }
};

template <class Base>
class WithDetails : public Base,
                    public std::conditional_t<std::is_same_v<typename Base::Medium, AudioMedium>,
                                              Proc::IEffectDetailsAudio, Proc::IEffectDetailsVideo> {
public:
    using Details = std::conditional_t<std::is_same_v<typename Base::Medium, AudioMedium>,
                                       Proc::IEffectDetailsAudio, Proc::IEffectDetailsVideo>;
    using Base::Base;

    Proc::EffectTraits const& GetTraits() const noexcept override { return m_details.GetTraits(); }
    std::string Describe(typename Base::Format const& format) const override {
        return this->Get("Describe", [&] { return m_details.Describe(format); });
    }

private:
    /// The effect itself.
    Details const& m_details = dynamic_cast<Details const&>(this->GetEffect());
};

template <class Base>
class WithOwnWork final : public Base, public Proc::IOwnWork {
public:
    using Base::Base;
};

template <class Effect, class Checker, class Interface>
SP<Effect> WrapDetails(SP<Interface> const& effect, MisuseListener const& listener) {
    using Details = typename WithDetails<Checker>::Details;
    if (dynamic_cast<Details const*>(effect.get()) == nullptr)
        return MakeSP<Checker>(effect, listener);
    if (dynamic_cast<Proc::IOwnWork const*>(effect.get()) == nullptr)
        return MakeSP<WithDetails<Checker>>(effect, listener);
    return MakeSP<WithOwnWork<WithDetails<Checker>>>(effect, listener);
}

template <class Effect, class Checker, class Interface>
SP<Effect> Wrap(SP<Interface> const& effect, MisuseListener const& listener) {
    using Stream = Proc::IEffectStream<typename Checker::Data>;
    if (dynamic_cast<Stream const*>(effect.get()) == nullptr)
        return WrapDetails<Effect, Checker>(effect, listener);
    return WrapDetails<Effect, WithStream<Checker>>(effect, listener);
}

template <class Effect>
void Require(SP<Effect> const& effect, MisuseListener const& listener) {
    if (!effect || !listener)
        Core::Throw<Proc::EffectException>(effect ? "Checks of an effect need a listener"
                                                  : "Checks need an effect");
}

} // namespace

std::string Describe(Misuse const& misuse) {
    return fmt::format("{}: {}: the {} breaks \"{}\": {}", misuse.classId, misuse.method,
                       misuse.party == Party::Host ? "host" : "effect", misuse.rule, misuse.text);
}

void LogMisuse(Misuse const& misuse) {
    LOG(WARNING) << Describe(misuse);
}

MisuseListener GetMisuseListener() {
    char const* const value = std::getenv("TARSEL_CHECK_EFFECTS");
    bool const isOn = value != nullptr && *value != '\0' && std::string_view(value) != "0";
    return isOn ? MisuseListener(LogMisuse) : MisuseListener();
}

SP<Proc::IOneInputEffectVideo> CheckEffect(SP<Proc::IOneInputEffectVideo> effect, MisuseListener listener) {
    Require(effect, listener);
    if (auto const resizer = boost::dynamic_pointer_cast<Proc::IResizeComplex>(effect))
        return Wrap<Proc::IOneInputEffectVideo, CheckingOneInput<Proc::IResizeComplex>>(resizer, listener);
    return Wrap<Proc::IOneInputEffectVideo, CheckingOneInput<Proc::IOneInputEffectVideo>>(effect, listener);
}

SP<Proc::IOneInputEffectAudio> CheckEffect(SP<Proc::IOneInputEffectAudio> effect, MisuseListener listener) {
    Require(effect, listener);
    if (auto const resampler = boost::dynamic_pointer_cast<Proc::IResample>(effect))
        return Wrap<Proc::IOneInputEffectAudio, CheckingResample>(resampler, listener);
    return Wrap<Proc::IOneInputEffectAudio, CheckingOneInput<Proc::IOneInputEffectAudio>>(effect, listener);
}

SP<Proc::ITwoInputEffectVideo> CheckEffect(SP<Proc::ITwoInputEffectVideo> effect, MisuseListener listener) {
    Require(effect, listener);
    return WrapDetails<Proc::ITwoInputEffectVideo, CheckingTwoInput>(effect, listener);
}

} // namespace Tarsel::Host
