#include "Check/Subject.h"
#include "Core/ThreadBudget.h"
#include "Faults/Trial.h"
#include "Support/LibraryEffects.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tarsel::Test {
namespace {

template <class Medium>
using Subject = Check::Subject<Medium>;

/// Every public operation of an effect that does something, each on a new one.
template <class Medium>
class Operations {
public:
    using Effect = typename Medium::Effect;
    using Data = typename Medium::Data;
    using Format = typename Medium::Format;

    /// What an operation works with, and makes.
    struct State {
        SP<Effect> effect;
        typename Subject<Medium>::List data;
        SP<Format> format;
        std::string result;
    };

    Operations(std::shared_ptr<Subject<Medium> const> subject, std::string name)
        : m_subject(std::move(subject)), m_name(std::move(name)) {
        Add("create", [subject = m_subject](State& state) { state.effect = subject->Make(); });
        Add("process", [](State& state) {
            for (SP<Data>& datum : state.data)
                state.effect->Process(datum);
        });
        Add("stream", [](State& state) { state.data = Check::Run(*state.effect, state.data); });
        Add("format", [](State& state) { state.effect->UpdateFormatCodec(state.format); });
        Add("describe", [](State& state) {
            if (auto const* const details = dynamic_cast<typename Medium::Details const*>(state.effect.get()))
                state.result = details->Describe(*state.format);
        });
        Add("settings", [](State& state) {
            std::unique_ptr<Proc::Settings> const settings = state.effect->GetSettingsBase().Clone();
            state.effect->SetSettings(*FindSettings(*settings).Create());
            state.effect->SetSettings(*settings);
        });
        Add("statistics", [](State& state) { (void)state.effect->GetStatistic(); });
        Add("property", [](State& state) {
            try {
                (void)state.effect->GetSettings();
            } catch (std::logic_error const&) { // some have none
            }
        });
        Add("reset", [](State& state) {
            state.effect->Reset();
            state.effect->SetProgressController({});
        });
    }

    std::vector<Operation> const& Get() const noexcept { return m_operations; }

private:
    static SettingsClass const& FindSettings(Proc::Settings const& settings) {
        return FindSettingsClass(settings.GetClassTable().classId);
    }

    /// Afterwards the effect does its work.
    void Add(std::string const& name, std::function<void(State&)> work) {
        // A stream that failed goes on with what is left of it, and some effects remember earlier frames.
        SP<Effect> const effect = m_subject->Make();
        auto const* const details = dynamic_cast<Proc::IEffectDetails const*>(effect.get());
        bool const resets = name == "stream" || details == nullptr || !details->GetTraits().frameIndependent;
        m_operations.push_back({m_name + ": " + name, [subject = m_subject, work, resets] {
                                    auto const state = std::make_shared<State>();
                                    state->effect = subject->Make();
                                    return Round{[state, subject, resets] {
                                                     if (resets)
                                                         state->effect->Reset();
                                                     state->data = subject->MakeData(3);
                                                     state->format = Check::MakeFormat(subject->GetForm());
                                                 },
                                                 [state, work] { work(*state); },
                                                 [state] {
                                                     std::string text =
                                                         state->result +
                                                         Check::GetText(Check::GetForm(*state->format));
                                                     for (SP<Data> const& datum : state->data)
                                                         text += datum ? Check::GetAll(*datum) : "null";
                                                     return text;
                                                 }};
                                }});
    }

    std::shared_ptr<Subject<Medium> const> m_subject;
    std::string m_name;
    std::vector<Operation> m_operations;
};

class EffectFaults : public testing::TestWithParam<Host::EffectEntry> {
protected:
    EffectFaults() { Core::ThreadBudget::Set(1); }
    ~EffectFaults() override { std::filesystem::current_path(m_before); }

    template <class Medium>
    std::vector<Operation> MakeOperations(Host::EffectEntry const& entry) {
        std::filesystem::current_path(m_folder.GetPath());
        Check::Preparation const found = Subject<Medium>(GetFactory(), entry, {}, 1, 1).Prepare();
        auto const subject = std::make_shared<Subject<Medium>>(GetFactory(), entry, found, 1, 1);
        return Operations<Medium>(subject, entry.classId).Get();
    }

    std::filesystem::path m_before = std::filesystem::current_path();
    TempFolder m_folder;
};

TEST_P(EffectFaults, SurvivesThem) {
    Host::EffectEntry const& entry = GetParam();
    TryEverywhere(entry.GetKind() == Host::EffectKind::Audio ? MakeOperations<Check::Audio>(entry)
                                                             : MakeOperations<Check::Video>(entry));
}

INSTANTIATE_TEST_SUITE_P(Registered, EffectFaults,
                         testing::ValuesIn(GetFactory()->GetRegistry().GetEntries()), [](auto const& each) {
                             std::string name = each.param.classId + '_' + each.param.implName;
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

} // namespace
} // namespace Tarsel::Test
