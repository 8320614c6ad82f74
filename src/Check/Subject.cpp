#include "Check/Subject.h"

#include "Check/RandomSettings.h"
#include "Host/EffectSettings.h"
#include "Host/PairedEffect.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/SettingsText.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace Tarsel::Check {
namespace {

/// Of data to see whether settings do anything: enough for effects that look back.
constexpr int s_trialLength = 3;
constexpr int s_trials = 200;
/// Slow effects get fewer.
constexpr std::chrono::seconds s_trialTime(3);

SP<Proc::IOneInputEffectVideo> Create(Host::EffectFactory const& factory, Host::EffectEntry const& entry,
                                      Video) {
    if (entry.GetKind() != Host::EffectKind::TwoInputVideo)
        return factory.CreateVideoEffect(entry.classId, entry.implName, {});
    auto const seconds = [picture = SP<Proc::IDataVideo const>()](std::int64_t) mutable {
        if (!picture)
            picture = MakeDatum(Video::Form{}, 1000);
        return picture;
    };
    return Host::PairEffect(factory.CreateTwoInputVideoEffect(entry.classId, entry.implName, {}), seconds);
}

SP<Proc::IOneInputEffectAudio> Create(Host::EffectFactory const& factory, Host::EffectEntry const& entry,
                                      Audio) {
    return factory.CreateAudioEffect(entry.classId, entry.implName, {});
}

/// Each trial gets an empty folder: settings that need a file of an earlier trial must not count as working.
void EnterNewFolder() {
    static int s_count = 0;
    std::string const name = fmt::format("trial{}", ++s_count);
    std::filesystem::create_directory(name);
    std::filesystem::current_path(name);
}

/// Turns on the switch without which the effect does nothing.
void SwitchOn(Proc::Settings& settings) {
    if (Proc::Field const* const enabled = Proc::FindField(settings.GetFields(), "enabled");
        enabled != nullptr && enabled->kind == Proc::FieldKind::Flag)
        enabled->set(settings, true);
}

} // namespace

template <class M>
Subject<M>::Subject(SP<Host::EffectFactory const> factory, Host::EffectEntry const& entry,
                    Preparation preparation, std::uint32_t seed, int level)
    : m_factory(std::move(factory)), m_entry(entry), m_preparation(std::move(preparation)), m_random(seed),
      m_level(level) {}

template <class M>
SP<typename M::Effect> Subject<M>::MakePlain() const {
    SP<Effect> effect = Create(*m_factory, m_entry, Medium());
    Expect(effect != nullptr, "the creator returns no effect");
    return effect;
}

template <class M>
SP<typename M::Effect> Subject<M>::Make() const {
    SP<Effect> const effect = MakePlain();
    if (!m_preparation.settings.empty())
        Host::SetEffectSettings(*effect, *GetSettings());
    return effect;
}

template <class M>
SP<typename M::Effect> Subject<M>::MakeWith(Proc::Settings const& settings) const {
    SP<Effect> const effect = MakePlain();
    Host::SetEffectSettings(*effect, settings);
    return effect;
}

template <class M>
std::unique_ptr<Proc::Settings> Subject<M>::GetSettings() const {
    std::unique_ptr<Proc::Settings> settings = MakePlain()->GetSettingsBase().Clone();
    if (!m_preparation.settings.empty())
        settings->Deserialize(m_preparation.settings);
    return settings;
}

template <class M>
std::unique_ptr<Proc::Settings> Subject<M>::DrawSettings() {
    return RandomSettings(m_random).Draw(MakePlain()->GetSettingsBase());
}

template <class M>
std::vector<SP<typename M::Data>> Subject<M>::MakeData(int count) const {
    List data;
    for (int i = 0; i < count; ++i)
        data.push_back(MakeDatum(i));
    return data;
}

template <class M>
std::vector<std::string> Subject<M>::GetDue(int count) const {
    return GetAllOf(Run(*Make(), MakeData(count)));
}

template <class M>
bool Subject<M>::DoesSomething(Proc::Settings const& settings, Form const& form, bool sameAgain) const {
    auto const makeData = [&] {
        List data;
        for (int i = 0; i < s_trialLength; ++i)
            data.push_back(Check::MakeDatum(form, i));
        return data;
    };
    std::vector<std::string> const before = GetAllOf(makeData());
    std::vector<std::string> after = before;
    std::vector<std::string> again = before;
    EnterNewFolder();
    return !Refuses([&] {
        after = GetAllOf(Run(*MakeWith(settings), makeData()));
        again = GetAllOf(Run(*MakeWith(settings), makeData()));
    }) && after != before &&
           (!sameAgain || after == again);
}

template <class M>
Preparation Subject<M>::Prepare() {
    std::vector<Form> const forms = GetUsualForms(Medium());
    // Results of settings that involve chance cannot be compared: those come second.
    for (bool const sameAgain : {true, false}) {
        std::unique_ptr<Proc::Settings> settings = MakePlain()->GetSettingsBase().Clone();
        auto const end = std::chrono::steady_clock::now() + s_trialTime;
        for (int trial = 0; trial < s_trials && std::chrono::steady_clock::now() < end; ++trial) {
            for (std::size_t form = 0; form < forms.size(); ++form)
                if (DoesSomething(*settings, forms[form], sameAgain))
                    return {settings->GetFields().empty() ? "" : Proc::Serialize(*settings), form, false};
            if (settings->GetFields().empty())
                break;
            settings = RandomSettings(m_random, RandomReach::Near).Draw(MakePlain()->GetSettingsBase());
            SwitchOn(*settings);
        }
    }
    // It changes nothing visible, so any form will do that it does not refuse, at work where it can be.
    std::unique_ptr<Proc::Settings> const atWork = MakePlain()->GetSettingsBase().Clone();
    SwitchOn(*atWork);
    std::string const switchedOn = atWork->GetFields().empty() ? "" : Proc::Serialize(*atWork);
    for (std::string const& settings : {switchedOn, std::string()})
        for (std::size_t form = 0; form < forms.size(); ++form) {
            m_preparation = {settings, form, true};
            if (!Refuses([&] { Run(*Make(), MakeData(1)); }))
                return m_preparation;
        }
    return {"", 0, true};
}

void ExpectSame(std::vector<std::string> const& got, std::vector<std::string> const& due,
                std::string_view where) {
    std::string const prefix = where.empty() ? "" : fmt::format("{}: ", where);
    Expect(got.size() == due.size(), "{}{} came instead of {}", prefix, got.size(), due.size());
    auto const [a, b] = std::ranges::mismatch(got, due);
    if (a == got.end())
        return;
    // The form and the times, which come before the content, are short enough to be shown.
    auto const head = [](std::string const& text) { return text.substr(0, text.find(' ', text.find('+'))); };
    throw Finding(fmt::format("{}number {} is \"{}\" instead of \"{}\"{}", prefix, a - got.begin(), head(*a),
                              head(*b), head(*a) == head(*b) ? ", with other content" : ""));
}

template class Subject<Video>;
template class Subject<Audio>;

} // namespace Tarsel::Check
