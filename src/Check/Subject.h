#pragma once

#include "Check/Data.h"
#include "Check/Finding.h"
#include "Host/EffectFactory.h"
#include "Host/EffectRules.h"
#include "Proc/Settings/Settings.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Tarsel::Check {

/// What is found out about an effect before its checks: texts, since every check has a process of its own.
struct Preparation {
    /// Settings with which the effect changes the data, the same each time where it can be, as
    /// Settings::Deserialize reads them.
    std::string settings;
    /// Which of GetUsualForms it takes.
    std::size_t form = 0;
    /// No settings were found with which it changes any.
    bool isIdle = false;
};

/// What checks of an effect look at: how to make one, and data for it. One thread.
template <class M>
class Subject {
public:
    using Medium = M;
    using Effect = typename Medium::Effect;
    using Data = typename Medium::Data;
    using Format = typename Medium::Format;
    using Form = typename Medium::Form;
    using List = std::vector<SP<Data>>;

    /// Shares the factory and looks at the entry, which is of an effect of the medium (or of two video
    /// inputs, which gets the same second one again and again).
    Subject(SP<Host::EffectFactory const> factory, Host::EffectEntry const& entry, Preparation preparation,
            std::uint32_t seed, int level);

    /// Tries settings and forms until the effect does something.
    Preparation Prepare();

    Host::EffectEntry const& GetEntry() const noexcept { return m_entry; }
    int GetLevel() const noexcept { return m_level; }
    std::mt19937& GetRandom() noexcept { return m_random; }

    /// A new effect as its creator makes it.
    SP<Effect> MakePlain() const;
    /// One with settings by which it does something, where there are any.
    SP<Effect> Make() const;
    SP<Effect> MakeWith(Proc::Settings const& settings) const;
    std::unique_ptr<Proc::Settings> GetSettings() const;
    /// Legal settings drawn at random; of a few the effect may still refuse a frame.
    std::unique_ptr<Proc::Settings> DrawSettings();

    /// A form that the effect takes.
    Form GetForm() const { return GetUsualForms(Medium())[m_preparation.form]; }
    SP<Data> MakeDatum(int index) const { return Check::MakeDatum(GetForm(), index); }
    List MakeData(int count) const;
    /// What a new effect makes of them.
    std::vector<std::string> GetDue(int count) const;

private:
    bool DoesSomething(Proc::Settings const& settings, Form const& form, bool sameAgain) const;

    SP<Host::EffectFactory const> m_factory;
    Host::EffectEntry const& m_entry;
    Preparation m_preparation;
    std::mt19937 m_random;
    int m_level;
};

template <class Effect>
using MediumOf = std::conditional_t<std::is_same_v<Effect, Video::Effect>, Video, Audio>;

/// The effect as a stream; Skipped where it is none.
template <class Effect>
auto& AsStream(Effect& effect) {
    auto* const stream = dynamic_cast<typename MediumOf<Effect>::Stream*>(&effect);
    Require(stream != nullptr, "the effect is no stream");
    return *stream;
}

/// What the effect says of itself; Skipped where it says nothing.
template <class Effect>
Proc::EffectTraits const& TraitsOf(Effect const& effect) {
    auto const* const details = dynamic_cast<Proc::IEffectDetails const*>(&effect);
    Require(details != nullptr, "the effect has no details");
    return details->GetTraits();
}

/// All that is ready.
template <class Data>
std::vector<SP<Data>> TakeAll(Proc::IEffectStream<Data>& stream) {
    std::vector<SP<Data>> results;
    while (SP<Data> datum = stream.Take())
        results.push_back(std::move(datum));
    return results;
}

/// What comes of the data and of the end after them; of an effect that is no stream by Process.
template <class Effect, class Data = typename MediumOf<Effect>::Data>
std::vector<SP<Data>> Run(Effect& effect, std::type_identity_t<std::vector<SP<Data>>> const& data) {
    std::vector<SP<Data>> results;
    auto* const stream = dynamic_cast<Proc::IEffectStream<Data>*>(&effect);
    for (SP<Data> datum : data) {
        if (stream != nullptr) {
            stream->Feed(datum);
            for (SP<Data>& result : TakeAll(*stream))
                results.push_back(std::move(result));
        } else if (effect.Process(datum); datum != nullptr) {
            results.push_back(std::move(datum));
        }
    }
    if (stream != nullptr) {
        stream->End();
        for (SP<Data>& result : TakeAll(*stream))
            results.push_back(std::move(result));
    }
    return results;
}

/// Throws a Finding that says where two lists differ first, with `where` before it, for what was got and what
/// was due.
void ExpectSame(std::vector<std::string> const& got, std::vector<std::string> const& due,
                std::string_view where = {});
template <class Data>
void ExpectSame(std::vector<SP<Data>> const& got, std::vector<std::string> const& due,
                std::string_view where = {}) {
    ExpectSame(GetAllOf(got), due, where);
}

/// What a check does while a stream runs.
template <class Data>
struct StreamHooks {
    /// After each datum, before its results are taken.
    std::function<void()> fed = [] {};
    /// With each result, once its text is noted.
    std::function<void(Data&)> taken = [](Data&) {};
    /// Makes each call of the effect.
    std::function<void(std::function<void()> const&)> call = [](auto const& work) { work(); };
};

/// An effect driven as a stream, step by step. It looks at the effect; Skipped where that is no stream.
template <class Effect>
class StreamDriver {
public:
    using Data = typename MediumOf<Effect>::Data;

    explicit StreamDriver(Effect& effect, StreamHooks<Data> hooks = {})
        : m_stream(AsStream(effect)), m_hooks(std::move(hooks)) {}

    /// Feeds one datum and takes what is ready.
    void Feed(SP<Data> const& datum) {
        m_hooks.call([&] { m_stream.Feed(datum); });
        m_hooks.fed();
        Take();
    }
    /// Ends the stream and takes the rest: the texts of all results (see GetAll).
    std::vector<std::string> End() {
        m_hooks.call([&] { m_stream.End(); });
        Take();
        return std::move(m_texts);
    }
    /// Feeds all data, and ends.
    std::vector<std::string> Run(std::vector<SP<Data>> const& data) {
        for (SP<Data> const& datum : data)
            Feed(datum);
        return End();
    }

private:
    void Take() {
        m_hooks.call([&] {
            while (SP<Data> const result = m_stream.Take()) {
                m_texts.push_back(GetAll(*result));
                m_hooks.taken(*result);
            }
        });
    }

    Proc::IEffectStream<Data>& m_stream;
    StreamHooks<Data> m_hooks;
    std::vector<std::string> m_texts;
};

extern template class Subject<Video>;
extern template class Subject<Audio>;

} // namespace Tarsel::Check
