#include "Check/Check.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"

#include <array>
#include <typeinfo>

namespace Tarsel::Check {
namespace {

using Proc::Settings;

/// Settings of no effect.
class OtherSettings final : public Settings {
public:
    std::string const& GetClassId() const override { return s_classId; }
    std::unique_ptr<Settings> Clone() const override { return std::make_unique<OtherSettings>(); }
    bool IsEqualTo(Settings const& other) const override {
        return dynamic_cast<OtherSettings const&>(other).s_classId == s_classId;
    }
    bool IsEmpty() const override { return true; }
    void Deserialize(std::string const&) override {}
    Proc::SettingsTable const& GetClassTable() const override { return s_table; }

private:
    inline static std::string const s_classId = "no-such-effect";
    static constexpr Proc::SettingsTable s_table{"no-such-effect", {}};
};

/// The settings drawn for a level.
int GetDraws(int level) {
    return 4 * level;
}

void RequireFields(Settings const& settings) {
    Require(!settings.GetFields().empty(), "the settings have no fields");
}

/// The text that the table's range of the field ends in, and the next one beyond it.
std::string GetBeyond(Proc::Field const& field, bool isAbove) {
    double const bound = isAbove ? field.maximum : field.minimum;
    return fmt::format("{:.17g}", bound + (isAbove ? 1 : -1) * std::max(1.0, std::abs(bound) / 2));
}

constexpr std::array s_settingsChecks{
    ForEffects(
        "settings-copies", Group::Settings, "A copy equals its original and goes its own way.",
        "A host that keeps settings for undo changes the running effect, or never finds its own again.", 1,
        [](auto& subject) {
            auto const effect = subject.Make();
            auto const copy = effect->GetSettingsBase().Clone();
            Expect(copy->IsEqualTo(effect->GetSettingsBase()), "a copy is not equal");
            auto const other = subject.DrawSettings();
            effect->SetSettings(*other);
            Expect(effect->GetSettingsBase().IsEqualTo(*other), "the effect has not what it was given");
            Expect(copy->IsEqualTo(*subject.GetSettings()), "the copy has changed with the effect");
        }),
    ForEffects("settings-kept", Group::Settings,
               "An effect has the settings that it was given last, whatever becomes of the caller's object.",
               "Sliders of a host show something else than the effect does.", 1,
               [](auto& subject) {
                   auto const effect = subject.MakePlain();
                   for (int i = 0; i < GetDraws(subject.GetLevel()); ++i) {
                       auto settings = subject.DrawSettings();
                       auto const copy = settings->Clone();
                       effect->SetSettings(*settings);
                       settings.reset();
                       Expect(effect->GetSettingsBase().IsEqualTo(*copy), "other settings came back than {}",
                              Proc::Serialize(*copy));
                   }
               }),
    ForEffects(
        "settings-text", Group::Settings, "Settings become text and are equal when they are read again.",
        "A saved chain does something else when it is opened again.", 1,
        [](auto& subject) {
            for (int i = 0; i < GetDraws(subject.GetLevel()); ++i) {
                auto const settings = subject.DrawSettings();
                RequireFields(*settings);
                std::string const text = Proc::Serialize(*settings);
                auto const read = subject.MakePlain()->GetSettingsBase().Clone();
                read->Deserialize(text);
                Expect(read->IsEqualTo(*settings), "\"{}\" is read as \"{}\"", text, Proc::Serialize(*read));
            }
        }),
    ForEffects("settings-tree", Group::Settings,
               "Settings become a property tree and are equal when they are read again.",
               "A host that keeps its document as a tree loses what the user chose.", 1,
               [](auto& subject) {
                   for (int i = 0; i < GetDraws(subject.GetLevel()); ++i) {
                       auto const settings = subject.DrawSettings();
                       RequireFields(*settings);
                       auto const read = subject.MakePlain()->GetSettingsBase().Clone();
                       Proc::WriteFieldsFromProperty(*read, Proc::Settings2Property(*settings));
                       Expect(read->IsEqualTo(*settings), "\"{}\" is read as \"{}\"",
                              Proc::Serialize(*settings), Proc::Serialize(*read));
                   }
               }),
    ForEffects("settings-bounds", Group::Settings, "Both ends of each field's range are legal by themselves.",
               "A slider at its end is refused.", 2,
               [](auto& subject) {
                   auto const initial = subject.MakePlain()->GetSettingsBase().Clone();
                   RequireFields(*initial);
                   for (Proc::Field const& field : initial->GetFields()) {
                       if (field.kind != Proc::FieldKind::Integer && field.kind != Proc::FieldKind::Real)
                           continue;
                       for (double const bound : {field.minimum, field.maximum}) {
                           auto const settings = initial->Clone();
                           std::string const text = fmt::format("{:.17g}", bound);
                           Proc::WriteFieldText(*settings, field, text);
                           Expect(!Refuses([&] { Proc::WriteFieldText(*settings, field, text); }),
                                  "\"{}\" refuses {}", field.key, text);
                       }
                   }
               }),
    ForEffects("settings-beyond-bounds", Group::Settings,
               "A number beyond a field's range is refused with class, key and value, and nothing changes.",
               "A typing error becomes a silent other value, or FFmpeg fails in the middle of a film.", 2,
               [](auto& subject) {
                   auto const initial = subject.GetSettings();
                   RequireFields(*initial);
                   for (Proc::Field const& field : initial->GetFields()) {
                       if ((field.kind != Proc::FieldKind::Integer && field.kind != Proc::FieldKind::Real) ||
                           field.maximum > 1e300)
                           continue;
                       for (bool const isAbove : {false, true}) {
                           auto const settings = initial->Clone();
                           std::string const value = GetBeyond(field, isAbove);
                           std::string said;
                           try {
                               settings->Deserialize(fmt::format("{}={}", field.key, value));
                           } catch (Proc::SettingsException const& refusal) {
                               said = refusal.what();
                           }
                           Expect(!said.empty(), "\"{}\" takes {}", field.key, value);
                           Expect(settings->IsEqualTo(*initial), "\"{}\" has changed though {} was refused",
                                  field.key, value);
                       }
                   }
               }),
    ForEffects(
        "settings-nonsense", Group::Settings,
        "A text with an unknown key, without a value or of random bytes is refused, and nothing changes.",
        "What the user wrote is ignored without a word, or crashes the host.", 2,
        [](auto& subject) {
            auto const initial = subject.GetSettings();
            RequireFields(*initial);
            std::vector<std::string> texts{"no-such-key=1", "=", "=1", ":", "no-such-key", "\\"};
            for (int i = 0; i < GetDraws(subject.GetLevel()); ++i) {
                std::string& text = texts.emplace_back();
                for (int k = 0; k <= i % 40; ++k)
                    text += static_cast<char>(1 + subject.GetRandom()() % 255);
            }
            for (std::string const& text : texts) {
                auto const settings = initial->Clone();
                if (Refuses([&] { settings->Deserialize(text); }))
                    Expect(settings->IsEqualTo(*initial), "\"{}\" was refused and changes something", text);
                else
                    Expect(text.find("no-such-key") == std::string::npos, "\"{}\" is taken", text);
            }
        }),
    ForEffects("settings-of-others", Group::Settings,
               "Settings of another class are refused with std::bad_cast, and the effect keeps its own.",
               "A host that mixes up two effects crashes instead of being told.", 2,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   bool isTold = false;
                   try {
                       effect->SetSettings(OtherSettings());
                   } catch (std::bad_cast const&) {
                       isTold = true;
                   }
                   Expect(isTold, "they are taken");
                   Expect(effect->GetSettingsBase().IsEqualTo(*subject.GetSettings()),
                          "its own have changed");
               }),
    ForEffects("settings-any-tree", Group::Settings,
               "SetSettings takes any property tree without harm: it reads it, ignores it or refuses it.",
               "A document of a later release, or a damaged one, crashes the host.", 3,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   Core::Property deep("a");
                   for (int i = 0; i < 100; ++i) {
                       Core::Property outer("b");
                       outer.AddChild(deep);
                       deep = outer;
                   }
                   Core::Property wrong("settings");
                   for (Proc::Field const& field : effect->GetSettingsBase().GetFields())
                       wrong.CreateChildT(std::string(field.key), std::string("no such value"));
                   for (Core::Property const& tree : {Core::Property(), Core::Property("x"), deep, wrong})
                       (void)Refuses([&] { effect->SetSettings(tree); });
                   (void)Refuses([&] { effect->GetSettings(); });
                   (void)Refuses([&] { Run(*effect, subject.MakeData(2)); });
               }),
    ForEffects("settings-neutral", Group::Settings,
               "Settings that say they do nothing (IsEmpty) leave every datum as it is.",
               "Hosts leave such a step out, and the result is another one with it than without.", 2,
               [](auto& subject) {
                   int found = 0;
                   for (int i = 0; i < 10 * GetDraws(subject.GetLevel()) && found < 3; ++i) {
                       auto const settings =
                           i == 0 ? subject.MakePlain()->GetSettingsBase().Clone() : subject.DrawSettings();
                       if (!settings->IsEmpty())
                           continue;
                       ++found;
                       auto const data = subject.MakeData(3);
                       auto const due = GetAllOf(data);
                       std::string const difference =
                           FindDifference(GetAllOf(Run(*subject.MakeWith(*settings), data)), due);
                       Expect(difference.empty(), "with \"{}\" {}", Proc::Serialize(*settings), difference);
                   }
                   Require(found > 0, "no settings are neutral");
               }),
};

} // namespace

std::span<CheckInfo const> GetSettingsChecks() {
    return s_settingsChecks;
}

} // namespace Tarsel::Check
